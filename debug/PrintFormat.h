#pragma once
#include "debug/VariableListBuilder.h"
#include <QChar>
#include <QString>

class DebugExpressionParser;
class SymbolicDebuggerInterface;
struct ExpressionValue;

// How far a printed value is walked: nesting levels and array elements.
struct PrintLimits {
    int depth = 8;
    int elements = 100;
};

// The formats of the debugger's print command, one letter each.
constexpr const char printFormatLetters[] = "bcdefgiopsux";

// One line for a value in a radix, as the watch and globals views show it.
[[nodiscard]] QString valueText(DebugExpressionParser &parser, const ExpressionValue &value,
                                Radix radix, PrintLimits limits);

// A value in one of the print formats: b binary, c character, d decimal, e scientific, f fixed,
// g either, i signed, o octal, p pointer, s string, u unsigned, x hexadecimal. Throws
// ParserException for a letter outside the set or a number format on a non-number.
[[nodiscard]] QString formattedValue(DebugExpressionParser &parser,
                                     SymbolicDebuggerInterface &engine,
                                     const ExpressionValue &value, QChar letter,
                                     PrintLimits limits);
