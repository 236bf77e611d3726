#pragma once
#include "foundation/PropertyClass.h"
#include <QString>
#include <QStringList>
#include <array>
#include <memory>
#include <vector>

class GenericPropertyClass;
class XMLElement;
class ProjectElement;
class StandardProjectSystem;

// The tools a generic options file can give options to.
enum class GenericTool : int { Assembler = 0, Compiler, CCompiler, CppCompiler, Linker, Count };

// A tool chain's generic options file: property rows that turn into options of the tools that
// list them. The file is read again only when the project names another one; the rows live
// here, beside the project system's catalogue, and are looked up through findClass().
//
// The file: a root element holding `property` elements, optionally inside `group name="..."`.
// A property has `name`, `tool` (";"-separated words from toolWords), and optionally `title`,
// `type` ("boolean", "text", "list", "directory", "enumeration" or the row number), `default`,
// `prefix` (each part of the value becomes "-<prefix><part>"), `condition` and `description`.
// An enumeration lists `choice` children with `value` and `option` (";"-separated options).
class GenericOptions {
public:
    explicit GenericOptions(StandardProjectSystem &system);
    ~GenericOptions();

    // Loads the file `element`'s project names, unless it is the one loaded last; a new file
    // also backs up the project's additional options. An empty name drops the rows. False
    // (with `error`) if the file can't be read; the rows are dropped then too.
    [[nodiscard]] bool load(ProjectElement *element, const QString &configuration,
                            QString *error = nullptr);
    [[nodiscard]] bool loadFile(const QString &path, QString *error = nullptr);
    [[nodiscard]] const QString &loadedFile() const { return m_loadedFile; }

    [[nodiscard]] const PropertyClass *findClass(const QString &name) const;
    [[nodiscard]] const std::vector<const GenericPropertyClass *> &rows(GenericTool tool) const
    {
        return m_byTool[size_t(tool)];
    }

    // Appends the options of `tools`' rows, in file order per tool. A row with a condition
    // other than `condition` is skipped.
    void addOptions(std::initializer_list<GenericTool> tools, const ProjectElement *element,
                    const QString &configuration, QStringList &arguments,
                    const QString &condition = {}) const;

    // Copies the project's own values of the five additional-options properties into their
    // "_backup" rows, and back, so that a change of tool chain can restore them.
    static void backUpAdditionalOptions(StandardProjectSystem &system, ProjectElement *project);
    static void restoreAdditionalOptions(StandardProjectSystem &system, ProjectElement *project);

private:
    void clear();
    // The row a `property` element describes; null when it names no tool or has no name.
    [[nodiscard]] static std::unique_ptr<GenericPropertyClass> readRow(const XMLElement *property);
    void keep(std::unique_ptr<GenericPropertyClass> row);

    StandardProjectSystem &m_system;
    std::unique_ptr<PropertyClassList> m_rows;
    std::array<std::vector<const GenericPropertyClass *>, size_t(GenericTool::Count)> m_byTool;
    QString m_loadedFile;
};

// The `tool` words, by GenericTool.
constexpr std::array<const char *, size_t(GenericTool::Count)> genericToolWords = {
    "assembler", "compiler", "c_compiler", "cpp_compiler", "linker"};
