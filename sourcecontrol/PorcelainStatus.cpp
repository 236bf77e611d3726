#include "sourcecontrol/PorcelainStatus.h"

namespace {

// How each byte below 0x80 is written inside a quoted path: 0 as it is, 1 as an octal escape,
// else the letter behind a backslash.
constexpr char escapeOf(unsigned char c)
{
    switch (c) {
    case '\a':
        return 'a';
    case '\b':
        return 'b';
    case '\t':
        return 't';
    case '\n':
        return 'n';
    case '\v':
        return 'v';
    case '\f':
        return 'f';
    case '\r':
        return 'r';
    case '"':
        return '"';
    case '\\':
        return '\\';
    default:
        return c < 0x20 || c == 0x7f ? 1 : 0;
    }
}

bool mustQuote(unsigned char c, bool quoteNonAscii)
{
    return c >= 0x80 ? quoteNonAscii : escapeOf(c) != 0;
}

}   // namespace

QByteArray quotedPath(const QByteArray &path, bool quoteNonAscii, bool quoteSpaces)
{
    bool quote = false;
    for (const char c : path)
        quote = quote || mustQuote(static_cast<unsigned char>(c), quoteNonAscii);
    if (!quote)
        return quoteSpaces && path.contains(' ') ? '"' + path + '"' : path;
    QByteArray out;
    out.reserve(path.size() + 8);
    out += '"';
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (!mustQuote(byte, quoteNonAscii)) {
            out += c;
            continue;
        }
        out += '\\';
        const char escape = byte >= 0x80 ? 1 : escapeOf(byte);
        if (escape != 1) {
            out += escape;
            continue;
        }
        out += char('0' + ((byte >> 6) & 7));
        out += char('0' + ((byte >> 3) & 7));
        out += char('0' + (byte & 7));
    }
    out += '"';
    return out;
}

QByteArray porcelainLine(const SourceControlFileStatus &file, bool quoteNonAscii)
{
    QByteArray line;
    line += file.index;
    line += file.workTree;
    line += ' ';
    if (!file.originalPath.isEmpty())
        line += quotedPath(file.originalPath, quoteNonAscii, true) + " -> ";
    line += quotedPath(file.path, quoteNonAscii, true);
    return line;
}
