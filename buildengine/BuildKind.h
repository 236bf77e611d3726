#pragma once
#include <QString>

class ProjectElement;
class PropertyValues;

// What an element is to the build walker. 6 is not used and must stay unused.
enum class BuildKind : quint8 {
    NoBuild = 0,
    Excluded = 1,
    CCompile = 2,
    CppCompile = 3,
    Assemble = 4,
    ExternalStep = 5,
    Link = 7,
    Archive = 8,
    Stage = 9,
    Combine = 10,
};

[[nodiscard]] constexpr bool isCompileKind(BuildKind kind)
{
    return kind == BuildKind::CCompile || kind == BuildKind::CppCompile
        || kind == BuildKind::Assemble;
}

// The code type of a file: its file_type, or by its extension; "C" turns into "C++" when
// c_files_are_cpp is "Yes". Empty for files no tool takes.
[[nodiscard]] QString codeType(const PropertyValues &values, const ProjectElement *file,
                               const QString &configuration);
// True when some file under the project is C++ and takes part in the build.
[[nodiscard]] bool projectHasCpp(const PropertyValues &values,
                                 const ProjectElement *project, const QString &configuration);
[[nodiscard]] bool isExternallyBuilt(const PropertyValues &values,
                                     const ProjectElement *project, const QString &configuration);
[[nodiscard]] BuildKind buildKind(const PropertyValues &values,
                                  const ProjectElement *element, const QString &configuration);
// A folder whose files are compiled through one generated file that includes them all.
[[nodiscard]] bool isUnityFolder(const PropertyValues &values,
                                 const ProjectElement *element, const QString &configuration,
                                 bool disableUnity);
// "Yes" in a yes/no property.
[[nodiscard]] inline bool isYes(const QString &value)
{
    return value == QLatin1String("Yes");
}
