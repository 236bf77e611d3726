// Parses and evaluates arbitrary text with SimpleExpressionParser, and checks on the way that
// the lexer's fast scanner agrees with its rule table and that a copied tree prints the same.
#include "foundation/ExpressionParser.h"
#include <cstdint>
#include <cstdlib>

namespace {

void checkLexer(const QString &text)
{
    CStyleLexer fast;
    CStyleLexer table;
    fast.setText(text);
    table.setText(text);
    for (;;) {
        const LexerToken a = fast.next();
        const LexerToken b = table.nextFromRules();
        if (a.number != b.number || a.text != b.text || a.priority != b.priority)
            abort();
        if (a.is(CToken::Eof))
            return;
    }
}

void checkTree(SimpleExpressionParser &parser, const QString &text)
{
    try {
        const std::unique_ptr<Expression> tree = parser.parse(text);
        const std::unique_ptr<Expression> copy = tree->clone();
        if (copy->text() != tree->text() || copy->depth() != tree->depth())
            abort();
    } catch (const ParserException &) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    checkLexer(text);
    SimpleExpressionParser parser;
    bool ok = false;
    (void)parser.toBoolean(text, &ok);
    (void)parser.toInteger(text, &ok);
    checkTree(parser, text);
    return 0;
}
