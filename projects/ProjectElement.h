#pragma once
#include "foundation/Path.h"
#include "foundation/XMLDocument.h"
#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QString>
#include <QStringList>
#include <memory>
#include <utility>
#include <vector>

// What source control last reported for the file an element stands for.
struct SourceControlState {
    QByteArray path;    // the file as the working copy names it, from its root
    QString status;     // the provider's words ("Modified")
    QString author;     // of the last change, once asked for
    QString revision;   // of the last change, once asked for
    char index = ' ';   // the two porcelain letters, "  " when clean
    char workTree = ' ';
};

// One node of the solution tree, and an element of the parsed solution file at the same time:
// the attributes of the XML element are the element's property values for "Common", and its
// `configuration` children hold the values for the other configurations.
//
// The project system wires a loaded tree up (parents, children, configuration holders); after
// changing the XML structure by hand, wire it again (StandardProjectSystem::wireTree).
class ProjectElement : public XMLElement {
public:
    enum class Kind : quint8 {
        Solution = 0,
        Configuration = 1,
        Project = 2,
        Folder = 3,
        File = 4,
        Other = 5,   // the file's root, an `import`, or a tag the tree does not know
    };

    explicit ProjectElement(char *name);   // takes ownership of name
    ~ProjectElement() override;

    // Kept in step with the property map.
    void setName(char *name) override;
    void setAttribute(char *name, char *value) override;
    void removeAttribute(const char *name) override;

    [[nodiscard]] Kind kind() const { return m_kind; }
    [[nodiscard]] static Kind kindOfTag(const char *tag);
    [[nodiscard]] static const char *tagOfKind(Kind kind);
    [[nodiscard]] bool isNode() const { return m_kind != Kind::Other && m_kind != Kind::Configuration; }

    // The name the tree knows the element by: `Name`, or for a file without one the file name
    // part of `file_name`.
    [[nodiscard]] const QString &elementName() const { return m_elementName; }

    // The tree of nodes (solutions, projects, folders, files), as wired.
    [[nodiscard]] ProjectElement *parentElement() const { return m_parentElement; }
    // The nearest project or solution at or above this element, null when there is none (a
    // solution has no project; an element outside the tree has neither).
    [[nodiscard]] ProjectElement *project() const;
    [[nodiscard]] ProjectElement *solution() const;
    [[nodiscard]] const std::vector<ProjectElement *> &children() const { return m_children; }

    // This holder's own values, by property name. On a `configuration` element its `Name` (and
    // the private-declaration mark `hidden`) are not values.
    // An element holds a handful of values: a scan of a short vector beats hashing the name.
    using PropertyList = std::vector<std::pair<QString, QString>>;
    using HolderList = std::vector<std::pair<QString, ProjectElement *>>;

    [[nodiscard]] const PropertyList &properties() const { return m_properties; }
    [[nodiscard]] const QString *findProperty(const QString &name) const;
    void setProperty(const QString &name, const QString &value);
    void removeProperty(const QString &name);

    // The holder of this element's values for a configuration; "Common" is the element itself.
    // A `configuration` child named "Common" is consulted after the element's own attributes.
    [[nodiscard]] const HolderList &configurations() const { return m_configurations; }
    [[nodiscard]] ProjectElement *holder(const QString &configuration) const;
    // The value this element holds for a configuration, without looking anywhere else.
    [[nodiscard]] const QString *findValue(const QString &configuration,
                                           const QString &property) const;
    // Configuration name to the names it inherits, as declared on this element.
    using InheritanceList = std::vector<std::pair<QString, QStringList>>;
    [[nodiscard]] const InheritanceList &inheritedConfigurations() const
    {
        return m_inheritedConfigurations;
    }
    // The names `configuration` inherits as declared here; null when this element declares none.
    [[nodiscard]] const QStringList *declaredInheritance(const QString &configuration) const;

    // The file the element came from, or for a file element the file it stands for.
    [[nodiscard]] const Path &filePath() const { return m_filePath; }
    void setFilePath(const Path &path) { m_filePath = path; }
    [[nodiscard]] const QDateTime &lastModified() const { return m_lastModified; }
    void setLastModified(const QDateTime &time) { m_lastModified = time; }

    // For the top of an imported part: the `file_name` of the `import` it replaced, as written.
    [[nodiscard]] const QString &importFileName() const { return m_importFileName; }
    void setImportFileName(const QString &fileName) { m_importFileName = fileName; }
    [[nodiscard]] bool isImported() const { return !m_importFileName.isNull(); }
    // Made by scanning a dynamic folder's directory rather than read from a file.
    [[nodiscard]] bool isDynamic() const { return m_dynamic; }
    void setDynamic(bool dynamic) { m_dynamic = dynamic; }

    // Null until source control reported on the element's file, and again when its file is
    // outside every working copy. Set on the main thread only.
    [[nodiscard]] const SourceControlState *sourceControlState() const { return m_sourceControl.get(); }
    void setSourceControlState(const SourceControlState &state);
    void clearSourceControlState() { m_sourceControl.reset(); }

private:
    friend class ProjectTreeWiring;

    [[nodiscard]] bool isValueAttribute(const QString &name) const;
    void updateElementName();

    Kind m_kind;
    bool m_dynamic = false;
    ProjectElement *m_parentElement = nullptr;
    ProjectElement *m_commonChild = nullptr;   // a `configuration` child named "Common"
    std::vector<ProjectElement *> m_children;   // observers; the XML tree owns
    PropertyList m_properties;
    HolderList m_configurations;
    InheritanceList m_inheritedConfigurations;
    Path m_filePath;
    QString m_elementName;
    QDateTime m_lastModified;
    QString m_importFileName;
    std::unique_ptr<SourceControlState> m_sourceControl;   // most elements never get one
};

// The element as a ProjectElement, or null for any other node.
[[nodiscard]] ProjectElement *asProjectElement(XMLNode *node);
[[nodiscard]] const ProjectElement *asProjectElement(const XMLNode *node);
