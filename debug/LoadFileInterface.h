#pragma once
#include "debug/LoadFileSection.h"
#include <QString>

class LoadFileLineReader;
class LoadFileSectionBuilder;

// A program image read from disk, as sections in file order and an optional entry point.
// Failures raise HException.
class LoadFileInterface {
public:
    virtual ~LoadFileInterface();
    [[nodiscard]] virtual quint32 entryPoint() = 0;
    virtual void setEntryPoint(quint32 address) = 0;
    [[nodiscard]] virtual bool hasEntryPoint() = 0;
    // True for the text formats, whose records say where each byte goes.
    [[nodiscard]] virtual bool isEditable() const = 0;
    // Where a binary image goes; the text formats carry their addresses and ignore it.
    virtual void setLoadAddress(quint32 address) = 0;
    virtual void relocate(quint32 address) = 0;
    // Reads the file again. On failure the sections read before stay.
    virtual void reload() = 0;
    [[nodiscard]] virtual int sectionCount() = 0;
    // Null outside 0..sectionCount()-1.
    [[nodiscard]] virtual LoadFileSectionInterface *section(int index) = 0;
    // Makes the sections; false when they cannot be made.
    virtual bool readSections() = 0;
};

// The common load file. The text readers decode the whole file in their constructor, by
// `readText`; a binary file makes its section on first need (see `guard`).
class StandardLoadFile : public LoadFileInterface {
public:
    ~StandardLoadFile() override;

    quint32 entryPoint() override;
    void setEntryPoint(quint32 address) override;
    bool hasEntryPoint() override;
    bool isEditable() const override { return true; }
    void setLoadAddress(quint32) override {}
    void relocate(quint32) override {}
    void reload() override;
    int sectionCount() override;
    LoadFileSectionInterface *section(int index) override;
    bool readSections() override { return true; }

    const QString &path() const { return m_path; }

protected:
    explicit StandardLoadFile(QString path);
    // If the file is readable and its sections are not made yet, makes them; raises
    // "cannot read sections from load file" when that fails.
    void guard();
    // Reads the text file at `m_path` by `parseText`, with lines of at most `lineLimit`
    // characters, and takes its sections and entry point only when the whole file read.
    void readText(int lineLimit);
    // One text format's records: bytes go to `sections`, an entry point to `setEntryPoint`.
    virtual void parseText(LoadFileLineReader &lines, LoadFileSectionBuilder &sections);

    QString m_path;
    LoadFileSections m_sections;
    quint32 m_entryPoint = 0;
    bool m_hasEntryPoint = false;
    bool m_loaded = false;
    bool m_readable = false;

private:
    int m_lineLimit = 0;   // 0 for a file that is not text
};
