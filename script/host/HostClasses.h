#pragma once
#include "script/host/HostClass.h"
#include "script/host/HostServices.h"
#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

// File and process services: "TMSys".
class TMSysESClass : public HostClass {
public:
    explicit TMSysESClass(const HostServices &services);

protected:
    bool callHost(int id, ESNativeCall &call) override;

private:
    ESValue run(ESNativeCall &call);
    HostServices m_services;
    QString m_runStdout;
    QString m_runStderr;
};

// "WScript": Echo to the output terminal.
class WScriptESClass : public HostClass {
public:
    explicit WScriptESClass(const HostServices &services);

protected:
    bool callHost(int id, ESNativeCall &call) override;

private:
    HostServices m_services;
};

// "Script": Echo to the output window. It serves id 1 only; any other is a bad signature.
class BuiltinScript : public HostClass {
public:
    explicit BuiltinScript(const HostServices &services);

protected:
    bool callHost(int id, ESNativeCall &call) override;

private:
    HostServices m_services;
};

// "Varnel": Delay and SetError.
class VarnelESClass : public HostClass {
public:
    explicit VarnelESClass(const HostServices &services);

protected:
    bool callHost(int id, ESNativeCall &call) override;

private:
    HostServices m_services;
};

// "BinaryFile": one byte image held by the class, loaded, patched and saved by scripts.
class BinaryFileESClass : public HostClass {
public:
    // The largest image: a script's number never sizes an allocation beyond it.
    static constexpr qint64 maxImageSize = qint64(256) << 20;
    BinaryFileESClass();
    const QByteArray &image() const { return m_image; }

protected:
    bool callHost(int id, ESNativeCall &call) override;

private:
    // The byte offset of argument `index`, with `size` bytes after it inside the image.
    qsizetype offset(ESNativeCall &call, int index, qint64 size, const char *function) const;
    void load(ESNativeCall &call, bool append);
    void save(ESNativeCall &call, bool range);
    QByteArray m_image;
};

// "ESQObject": reads and writes the Qt properties of an object by name; enumerations by the
// key's text, booleans from the text "true".
class ESQObject : public QObject, public HostClass {
    Q_OBJECT
public:
    // `target` is the object whose properties scripts see (null: this one).
    explicit ESQObject(QObject *target = nullptr, QObject *parent = nullptr);

protected:
    bool callHost(int id, ESNativeCall &call) override;

private:
    QObject *m_target;
};

// Host-side helpers shared by the classes that read and write user files.
namespace HostFiles {
// The file's bytes, at most `limit` of them; raises Error "FUNCTION: PATH: reason" otherwise.
[[nodiscard]] QByteArray read(ESNativeCall &call, const QString &path, qint64 limit,
                              const char *function);
// Writes through a temporary file and a rename; an empty text on success, else the reason.
[[nodiscard]] QString write(const QString &path, const QByteArray &bytes);
} // namespace HostFiles
