#include "editor/CodeEditSyntax.h"
#include "editor/CodeEditBuffer.h"
#include "editor/CodeEditLanguages.h"
#include "editor/CodeEditStandardLanguages.h"
#include <QFileInfo>

CodeEditSyntaxRegistry::CodeEditSyntaxRegistry() = default;
CodeEditSyntaxRegistry::~CodeEditSyntaxRegistry() = default;

void CodeEditSyntaxRegistry::registerSyntax(const QStringList &extensions, const QString &name,
                                            const QString &title, std::unique_ptr<CodeEditParser> parser)
{
    CodeEditParser *const observer = parser.get();
    m_parsers.push_back(std::move(parser));
    const int index = int(m_syntaxes.size());
    m_syntaxes.push_back({name, title, extensions, observer});
    for (const QString &extension : extensions) {
        const QString key = extension.toLower();
        const auto found = std::find_if(m_extensions.begin(), m_extensions.end(),
                                        [&](const auto &entry) { return entry.first == key; });
        if (found != m_extensions.end())
            found->second = index;
        else
            m_extensions.emplace_back(key, index);
    }
}

const CodeEditSyntax *CodeEditSyntaxRegistry::byName(const QString &name) const
{
    for (const CodeEditSyntax &syntax : m_syntaxes) {
        if (syntax.name == name)
            return &syntax;
    }
    return nullptr;
}

const CodeEditSyntax *CodeEditSyntaxRegistry::byExtension(const QString &extension) const
{
    const QString key = extension.toLower();
    for (const auto &[known, index] : m_extensions) {
        if (known == key)
            return &m_syntaxes[size_t(index)];
    }
    return nullptr;
}

const CodeEditSyntax *CodeEditSyntaxRegistry::forFileName(const QString &path) const
{
    const QString name = QFileInfo(path).fileName();
    if (const CodeEditSyntax *whole = byExtension(name))
        return whole;
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot < 0)
        return nullptr;
    return byExtension(name.mid(dot + 1));
}

const CodeEditSyntax *CodeEditSyntaxRegistry::byNumber(int number) const
{
    if (number < 0 || size_t(number) >= m_syntaxes.size())
        return nullptr;
    return &m_syntaxes[size_t(number)];
}

void CodeEditSyntaxRegistry::setSyntaxHighlight(CodeEditBuffer &buffer, int number) const
{
    const CodeEditSyntax *syntax = byNumber(number);
    buffer.setParser(syntax ? syntax->parser : nullptr);
}

void registerStandardSyntaxes(CodeEditSyntaxRegistry &registry)
{
    const auto list = [](const char *extensions) {
        return QString::fromLatin1(extensions).split(u' ', Qt::SkipEmptyParts);
    };
    const auto add = [&](const char *extensions, const char *name, const char *title, auto parser) {
        registry.registerSyntax(list(extensions), QString::fromLatin1(name), QString::fromUtf8(title),
                                std::move(parser));
    };
    add("c cpp cxx cc h hxx hpp hh pph ppc pc", "c", "&C/C++", std::make_unique<CodeEditCParser>());
    add("java", "java", "&Java", std::make_unique<CodeEditJavaParser>());
    add("js jse", "javascript", "JavaScri&pt", std::make_unique<CodeEditJavaScriptParser>());
    add("icf ld", "linkscript", "Link script", std::make_unique<CodeEditIARLinkScriptParser>());
    add("xc", "xc", "XC", std::make_unique<CodeEditXCParser>());
    add("", "md", "Module Description", std::make_unique<CodeEditMDParser>());
    add("", "stapl", "STAPL", std::make_unique<CodeEditSTAPLParser>());
    add("bat", "batch", "&Batch File", std::make_unique<CodeEditBatchParser>());
    add("s S asm inc", "asm", "&Assembly Language", std::make_unique<CodeEditAssemblyParser>());
    add("py", "python", "Python", std::make_unique<CodeEditPythonParser>());
    add("fs fth", "forth", "&Forth", std::make_unique<CodeEditForthParser>());
    add("cmake CMakeLists.txt", "cmake", "CMake File", std::make_unique<CodeEditCMakeParser>());
    add("dts dtsi overlay dts_compiled", "dts", "Device Tree", std::make_unique<CodeEditDTSParser>());
    add("xml htm html xsl fo qvProject qvSession", "xml", "&XML and HTML",
        std::make_unique<CodeEditXMLParser>());
    add("vhd vhdl bsd bsdl", "vhdl", "&VHDL", std::make_unique<CodeEditVHDLParser>());
    add("yaml", "yaml", "YAML", std::make_unique<CodeEditYAMLParser>());
    add("", "svf", "SVF", std::make_unique<CodeEditSVFParser>());
    add("bas", "tessbasic", "TessBasic", std::make_unique<CodeEditTessBasicParser>());
    add("md", "markdown", "Markdown", std::make_unique<CodeEditMarkdownParser>());
    add("dg", "docgen", "&DocGen", std::make_unique<CodeEditDocGenParser>());
    add("qvDoc", "qvdoc", "&qvDoc", std::make_unique<CodeEditQvDocParser>());
    add("", "disassembly", "Disassembly", std::make_unique<DisassemblyCodeEditParser>());
}
