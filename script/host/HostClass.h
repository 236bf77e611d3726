#pragma once
#include "script/es/ESClass.h"
#include "script/es/ESNativeClass.h"
#include <QString>
#include <span>

// One function of a host object: its builtin id, name, length, the full name its function
// object carries (null: "<object>.<name>") and its help text (null: none).
struct HostFunctionRow {
    int id;
    const char *name;
    int length;
    const char *fullName;
    const char *help;
};

// Base of the host classes: `installGlobal` makes the object under the class's name in the
// global object with one function per row, and `call` is the switch on the function's builtin
// id. An id the class does not serve falls to the default call, which gives undefined.
class HostClass : public ESClass {
public:
    HostClass(QString name, std::span<const HostFunctionRow> rows);
    ESObject *installGlobal(ESContext &context) override;
    void call(ESContext &context, ESObject *function, ESValue thisValue, int argumentCount,
              ESValue *arguments) override;

    std::span<const HostFunctionRow> rows() const { return m_rows; }

protected:
    // Runs function `id`; false when the class has no such function.
    virtual bool callHost(int id, ESNativeCall &call) = 0;

private:
    std::span<const HostFunctionRow> m_rows;
};

// Argument helpers shared by the host classes. Each raises the engine's TypeError or RangeError
// with a message that names the function and quotes the culprit.
namespace HostArguments {
// The longest byte array a script hands over or gets back: each element is a property.
constexpr qint64 maxByteArrayLength = qint64(64) << 20;
// The argument as text; undefined and null are refused.
[[nodiscard]] QString text(ESNativeCall &call, int index, const char *function);
// The argument as a whole number in [minimum, maximum].
[[nodiscard]] qint64 integer(ESNativeCall &call, int index, const char *function, qint64 minimum,
                             qint64 maximum);
// The argument as a truth value; undefined gives `fallback`.
[[nodiscard]] bool flag(ESNativeCall &call, int index, bool fallback);
// An array of numbers as bytes (each taken modulo 256); anything else is refused.
[[nodiscard]] QByteArray bytes(ESNativeCall &call, int index, const char *function);
// A text value of the context.
[[nodiscard]] ESValue string(ESContext &context, const QString &text);
} // namespace HostArguments
