#include "editor/FileType.h"
#include <QFileInfo>

namespace {

QStringList split(const char *extensions)
{
    return QString::fromLatin1(extensions).split(u' ', Qt::SkipEmptyParts);
}

} // namespace

FileTypeHandler::~FileTypeHandler() = default;

FileType::FileType(QString title, QString icon, QStringList extensions)
    : m_title(std::move(title)), m_icon(std::move(icon)), m_extensions(std::move(extensions))
{
}

FileType::~FileType() = default;

bool FileType::matches(const Path &path) const
{
    const QString name = QFileInfo(path.text()).fileName();
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot < 0)
        return false;
    const QString extension = name.mid(dot + 1).toLower();
    for (const QString &own : m_extensions) {
        if (own.toLower() == extension)
            return true;
    }
    return false;
}

bool FileType::open(const Path &path)
{
    return m_handler && m_handler->open(path);
}

bool FileType::build(const Path &path)
{
    return m_handler && m_handler->build(path);
}

bool FileType::checkSyntax(CodeEdit &edit)
{
    return m_handler && m_handler->checkSyntax(edit);
}

CFileType::CFileType() : FileType(QStringLiteral("C Source File"), QStringLiteral("file-c"), split("c")) {}
CppFileType::CppFileType()
    : FileType(QStringLiteral("C++ Source File"), QStringLiteral("file-cpp"), split("cpp cxx cc"))
{
}
HFileType::HFileType() : FileType(QStringLiteral("Header File"), QStringLiteral("file-h"), split("h hpp hxx hh")) {}
AsmFileType::AsmFileType()
    : FileType(QStringLiteral("Assembly Source File"), QStringLiteral("file-asm"), split("s asm"))
{
}
IncFileType::IncFileType()
    : FileType(QStringLiteral("Assembly Include File"), QStringLiteral("file-inc"), split("inc"))
{
}
ProjectFileType::ProjectFileType()
    : FileType(QStringLiteral("Project File"), QStringLiteral("file-project"), split("qvProject qvSession"))
{
}
HtmlFileType::HtmlFileType() : FileType(QStringLiteral("HTML File"), QStringLiteral("file-html"), split("htm html")) {}
JavaScriptFileType::JavaScriptFileType()
    : FileType(QStringLiteral("JavaScript File"), QStringLiteral("file-js"), split("js jse"))
{
}
BinaryFileType::BinaryFileType()
    : FileType(QStringLiteral("Binary File"), QStringLiteral("file-binary"), split("bin hex srec s19 elf out"))
{
}
PackageFileType::PackageFileType()
    : FileType(QStringLiteral("Package"), QStringLiteral("file-package"), split("qvPackage qvArchive"))
{
}
PythonFileType::PythonFileType() : FileType(QStringLiteral("Python Script"), QStringLiteral("file-py"), split("py")) {}

std::vector<std::unique_ptr<FileType>> standardFileTypes()
{
    std::vector<std::unique_ptr<FileType>> types;
    types.push_back(std::make_unique<CFileType>());
    types.push_back(std::make_unique<CppFileType>());
    types.push_back(std::make_unique<HFileType>());
    types.push_back(std::make_unique<AsmFileType>());
    types.push_back(std::make_unique<IncFileType>());
    types.push_back(std::make_unique<ProjectFileType>());
    types.push_back(std::make_unique<HtmlFileType>());
    types.push_back(std::make_unique<JavaScriptFileType>());
    types.push_back(std::make_unique<BinaryFileType>());
    types.push_back(std::make_unique<PackageFileType>());
    types.push_back(std::make_unique<PythonFileType>());
    return types;
}

FileType *fileTypeOf(const std::vector<std::unique_ptr<FileType>> &types, const Path &path)
{
    for (const std::unique_ptr<FileType> &type : types) {
        if (type->matches(path))
            return type.get();
    }
    return nullptr;
}
