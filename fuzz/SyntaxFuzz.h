#pragma once
// Shared by the syntax fuzz targets: the first byte picks a syntax of the family, the next two
// an edit, the rest is the text. Each line is parsed into an output of exactly the size the
// parsers promise (4 times the input plus 10), so a write past it is caught; then the text is
// coloured in a buffer, edited, rescanned, and compared with a fresh colouring of the result.
#include "editor/CodeEditBuffer.h"
#include "editor/CodeEditParser.h"
#include "editor/CodeEditSyntax.h"
#include <QByteArray>
#include <QString>
#include <span>
#include <string>
#include <vector>

namespace SyntaxFuzz {

inline const CodeEditSyntaxRegistry &registry()
{
    static CodeEditSyntaxRegistry syntaxes;
    if (syntaxes.syntaxes().empty())
        registerStandardSyntaxes(syntaxes);
    return syntaxes;
}

inline std::u16string marked(const char16_t *line)
{
    std::u16string text;
    for (const char16_t *p = line; p && *p; ++p) {
        text += *p;
        if (*p == markSwitch)
            text += *++p;
    }
    return text;
}

inline std::vector<std::u16string> colourAll(CodeEditBuffer &buffer)
{
    std::vector<std::u16string> lines;
    for (int i = 0; i < buffer.lineCount(); ++i)
        lines.push_back(marked(buffer.markedLine(i, 4, (i & 1) != 0)));
    return lines;
}

// False when the incremental colouring and the fresh one differ.
inline bool colourConsistently(const QByteArray &data, std::span<const char *const> names)
{
    if (data.size() < 3)
        return true;
    const CodeEditSyntax *syntax = registry().byName(QLatin1String(names[size_t(uchar(data[0])) % names.size()]));
    if (!syntax)
        return false;
    CodeEditParser &parser = *syntax->parser;
    const QString text = QString::fromUtf8(data.mid(3));
    for (const QStringView line : QStringView(text).tokenize(u'\n')) {
        std::u16string input(reinterpret_cast<const char16_t *>(line.utf16()), size_t(line.size()));
        for (char16_t &c : input) {
            if (c == 0 || c == markSwitch)
                c = u'?';
        }
        std::vector<char16_t> output(input.size() * 4 + 10);
        int delta = 0;
        parser.parse(input.c_str(), output.data(), &delta);
    }
    CodeEditBuffer buffer;
    buffer.setText(text);
    buffer.setParser(&parser);
    colourAll(buffer);
    const int line = uchar(data[1]) % buffer.lineCount();
    const int column = std::min(int(uchar(data[2]) >> 1), buffer.lineLength(line));
    if (uchar(data[2]) & 1)
        buffer.remove({line, column}, {line + 1, 0});
    else
        buffer.insert({line, column}, QStringLiteral("/*\"\n*/"));
    const std::vector<std::u16string> incremental = colourAll(buffer);
    CodeEditBuffer fresh;
    fresh.setText(buffer.toText());
    fresh.setParser(&parser);
    return colourAll(fresh) == incremental;
}

} // namespace SyntaxFuzz
