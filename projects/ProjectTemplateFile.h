#pragma once
#include "foundation/XMLPP2.h"
#include <QString>

// One file of project templates, read with its directives resolved. A template is a `project`
// child of the file's root, named by `name`, shown by `title`, described by `description`:
//
//     <Project_Templates>
//       <project name="StaticLibrary" title="Static library" description="...">
//         <configuration name="Debug"/>
//         <property name="project_type" value="Library"/>
//         <folder name="Source Files" filter="c;h">
//           <file name="$(ProjectName).c" source="library/library.c" action="open"/>
//         </folder>
//       </project>
//     </Project_Templates>
//
// Directive messages go to the warning channel; a file with odd directives still loads.
class ProjectTemplateFile : public XMLPP2 {
public:
    ProjectTemplateFile() : XMLPP2(0) {}

    void error(const QString &message) override;

    // Loads `path`; 0 when it cannot be read or parsed (errorText() tells why).
    using XMLPP2::load;
    [[nodiscard]] int load(const QString &path);
    [[nodiscard]] const QString &path() const { return m_path; }

private:
    QString m_path;
};
