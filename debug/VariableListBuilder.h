#pragma once
#include "foundation/ExpressionValue.h"
#include <QString>

class BaseType;
class DebugExpressionParser;
class DebugLocation;

// The display format of a value.
enum class Radix : int {
    Character = 1,
    Binary = 2,
    Octal = 8,
    Decimal = 10,
    UnsignedDecimal = 11, // decimal with the unsigned flag: never a minus sign
    Hexadecimal = 16,
};

// The target of the one walk over a value and its type that feeds every view: the watch,
// locals and globals windows, tooltips and the script's printing. Subclasses make the output
// form; the walk decides what is read, and reads nothing beyond the limits below.
class VariableListBuilder {
public:
    virtual ~VariableListBuilder();

    // A scalar. `location` may be null (a value computed, not read).
    virtual void addValue(const QString &name, Radix radix, const ExpressionValue &value,
                          const DebugLocation *location, int width) = 0;
    virtual void beginStruct(const QString &name, const ExpressionValue &value,
                             const DebugLocation *location) = 0;
    virtual void endStruct() = 0;
    virtual void beginArray(const QString &name, const ExpressionValue &value,
                            const DebugLocation *location) = 0;
    virtual void endArray() = 0;
    virtual void beginPointer(const QString &name, const ExpressionValue &value,
                              const DebugLocation *location) = 0;
    virtual void endPointer() = 0;
    // What was left out: the members past the depth limit, the elements past the element limit.
    virtual void addEllipsis() = 0;
    // A member or element that could not be read; the walk goes on with the next one.
    virtual void addFailure(const QString &name, const QString &message) = 0;
    // The walk of one value is over.
    virtual void finish() = 0;

    // Nesting levels shown; a struct or array that stands deeper shows only an ellipsis. 0 cuts
    // the value itself.
    int depthLimit() const { return m_depthLimit; }
    void setDepthLimit(int limit) { m_depthLimit = limit; }
    // Elements of an array shown; the rest is an ellipsis.
    int elementLimit() const { return m_elementLimit; }
    void setElementLimit(int limit) { m_elementLimit = limit; }

    // Walks `value` into this builder: members in the order of the type, elements up to the
    // element limit, pointers in hexadecimal without following them. Unreadable members are
    // reported in place through addFailure.
    void walk(DebugExpressionParser &parser, const QString &name, const ExpressionValue &value,
              Radix radix);

    // The one value formatter of every view. Booleans print "true" or "false"; with
    // `showCharacter` a code from 32 to 126 prints as 'x' and any other as "\u%04x" of its low
    // 16 bits; integers in radix 10 print signed for a signed kind unless `isUnsigned`, in the
    // other radixes as their bit pattern padded to the digits that `width` bytes take ("0x",
    // "0b" and "0" before hexadecimal, binary and octal); floats print with "%g".
    [[nodiscard]] static QString format(const ExpressionValue &value, int radix, bool isUnsigned,
                                        bool showCharacter, int width);
    // `format` by a Radix: 11 is radix 10 unsigned, 1 the character form.
    [[nodiscard]] static QString format(const ExpressionValue &value, Radix radix, int width);
    // Non-printing characters as \a \b \t \n \v \f \r for codes 7 to 13 and "\%03o" otherwise;
    // in double quotes when `quotes`.
    [[nodiscard]] static QString escape(const QString &text, bool quotes);

private:
    void walkValue(DebugExpressionParser &parser, const QString &name, const ExpressionValue &value,
                   Radix radix, int depth);
    void walkStruct(DebugExpressionParser &parser, const BaseType &type, const ExpressionValue &value,
                    Radix radix, int depth);
    void walkArray(DebugExpressionParser &parser, const BaseType &type, const ExpressionValue &value,
                   Radix radix, int depth);

    int m_depthLimit = 8;
    int m_elementLimit = 100;
};
