#pragma once
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>

// The environment's settings: values under path keys such as "Environment/Build/Building
// Threads", kept in one XML file with the root Tessmark_Settings_File. Saving goes through a
// temporary file and a rename, so a failed save leaves the previous file as it was. A file that
// cannot be read, or is not a settings file, leaves the defaults in force; a broken file is kept
// beside the new one as "<name>.bad" when the settings are next saved.
class SettingsFile : public QObject {
    Q_OBJECT
public:
    static constexpr const char *rootName = "Tessmark_Settings_File";

    explicit SettingsFile(QObject *parent = nullptr);

    // Reads `path`, which is also where save() writes. A missing file is no error (a first run).
    // False, with the reason in `message`, when the file exists but could not be used.
    bool load(const QString &path, QString *message);
    // False, with the reason in `message`, when the file could not be written; the file on disk
    // is then the one from before.
    bool save(QString *message);
    [[nodiscard]] QString path() const { return m_path; }
    [[nodiscard]] bool isModified() const { return m_modified; }

    [[nodiscard]] QString value(const QString &key, const QString &fallback = {}) const;
    [[nodiscard]] bool contains(const QString &key) const { return m_values.contains(key); }
    void setValue(const QString &key, const QString &value);
    void remove(const QString &key);
    // Yes/no settings hold "Yes" and "No".
    [[nodiscard]] bool isYes(const QString &key, bool fallback = false) const;
    void setYes(const QString &key, bool yes);
    // A list is stored as its items under one key, in order.
    [[nodiscard]] QStringList list(const QString &key) const { return m_lists.value(key); }
    void setList(const QString &key, const QStringList &items);
    // Forgets every value whose key starts with `prefix` (all of them for an empty prefix).
    void clear(const QString &prefix = {});

    [[nodiscard]] QStringList keys() const;

signals:
    void changed(const QString &key);

private:
    QString m_path;
    QMap<QString, QString> m_values;
    QMap<QString, QStringList> m_lists;
    bool m_modified = false;
    bool m_keepBrokenFile = false;
};
