#pragma once
#include "debug/SymbolInformation.h"
#include "foundation/ExpressionValue.h"
#include <QList>
#include <QStringList>
#include <memory>
#include <optional>
#include <vector>

class BaseType;

// What a name found by the engine stands for.
struct DebugSymbol {
    SymbolKind kind = SymbolKind::Variable;
    QString name;
    quint64 address = 0;            // of a variable or function
    const BaseType *type = nullptr; // observed; owned by the engine
    qint64 value = 0;               // of a constant (an enumerator)
};

// The debug engine as the front end reaches it: symbols and types by name, target memory and
// registers, the lists of the loaded image, line addresses and calls. Failures of memory raise
// MemoryAccessException; the others raise ParserException with the text to show.
class SymbolicDebuggerInterface {
public:
    virtual ~SymbolicDebuggerInterface();

    // A symbol by name. `scope` empty: the current scope, then file statics and globals; a scope
    // whose only part is empty: from the root, globals first; else a function (its statics) or a
    // source file (its file statics) by name.
    [[nodiscard]] virtual std::optional<DebugSymbol> findSymbol(const QStringList &scope,
                                                                const QString &name) = 0;
    // A type by its C name: "int", "unsigned long", "u8" (a typedef), "struct point". Null when
    // the engine knows no such type.
    [[nodiscard]] virtual const BaseType *findType(const QString &name) = 0;
    [[nodiscard]] virtual bool isTypeName(const QString &word) = 0;

    // `count` units of `width` bytes at `address`, as the target's bus transfers them, bytes in
    // target order.
    virtual void readMemory(quint64 address, int width, qint64 count, char *destination) = 0;
    virtual void writeMemory(quint64 address, int width, qint64 count, const char *source) = 0;

    [[nodiscard]] virtual ExpressionValue readRegister(const QString &name) = 0;
    virtual void writeRegister(const QString &name, const ExpressionValue &value) = 0;

    [[nodiscard]] virtual std::vector<std::unique_ptr<SegmentInformation>> segments() = 0;
    [[nodiscard]] virtual std::vector<std::unique_ptr<SectionInformation>> sections() = 0;
    [[nodiscard]] virtual std::vector<std::unique_ptr<SymbolInformation>> symbols() = 0;
    [[nodiscard]] virtual std::vector<std::unique_ptr<SymbolInformation>> locals() = 0;
    // Variables at file level: globals and file statics, in the order of the units.
    [[nodiscard]] virtual std::vector<std::unique_ptr<SymbolInformation>> globals() = 0;

    // The first code address of a line; `file` is a path or a base name.
    [[nodiscard]] virtual quint64 addressOfLine(const QString &file, int line) = 0;
    [[nodiscard]] virtual ExpressionValue callFunction(quint64 address,
                                                       const QList<ExpressionValue> &arguments) = 0;

    [[nodiscard]] virtual bool bigEndian() const = 0;
    [[nodiscard]] virtual int addressWidth() const = 0;
};
