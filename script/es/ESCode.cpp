#include "script/es/ESCode.h"
#include "script/es/ESAtom.h"
#include "script/es/ESContext.h"
#include <cmath>
#include <cstdio>

using O = ESOperand;

const ESOpInfo esOpInfo[esOpCount] = {
    {"NUM", O::Number, true}, {"NUM_0", O::None, true}, {"NUM_1", O::None, true},
    {"NUM_2", O::None, true}, {"NUM_3", O::None, true}, {"NUM_4", O::None, true},
    {"NUM_M1", O::None, true}, {"NULL", O::None, true}, {"TRUE", O::None, true},
    {"FALSE", O::None, true}, {"UNDEFINED", O::None, true}, {"THIS", O::None, true},
    {"STR", O::Atom, true}, {"NEW", O::None, true}, {"NEWA", O::Count, true},
    {"DROP", O::None, true}, {"DUP", O::None, true}, {"VOID", O::None, true},
    {"TYPEOF", O::None, true}, {"ENUM", O::None, true}, {"NEXT", O::Address, true},
    {"CLOSURE", O::Count, true}, {"MKARRAY", O::Count, true}, {"NEWOBJ", O::None, true},
    {"WITH", O::None, true}, {"ENDWITH", O::None, true}, {"INITF", O::Atom, true},
    {"CALLW", O::AtomCall, true}, {"CALLF", O::AtomCall, true}, {"CALLG", O::GlobalCall, true},
    {"CALLA", O::ArgumentCall, true}, {"CALLAM", O::ArgumentCall, true},
    {"CALLL", O::LocalCall, true}, {"CALLLM", O::LocalCall, true}, {"CALLX", O::Count, true},
    {"GETW", O::Atom, true}, {"GETF", O::Atom, true}, {"GETG", O::Global, true},
    {"GETA", O::Argument, true}, {"GETL", O::Local, true}, {"GETAM", O::Argument, true},
    {"GETLM", O::Local, true}, {"GETX", O::None, true}, {"PUTW", O::Atom, true},
    {"PUTF", O::Atom, true}, {"PUTG", O::Global, true}, {"PUTA", O::Argument, true},
    {"PUTL", O::Local, true}, {"PUTAM", O::Argument, true}, {"PUTLM", O::Local, true},
    {"PUTX", O::None, true}, {"ADD", O::None, true}, {"ADDX", O::None, true},
    {"SUB", O::None, true}, {"SUBX", O::None, true}, {"MUL", O::None, true},
    {"MULX", O::None, true}, {"DIV", O::None, true}, {"DIVX", O::None, true},
    {"MOD", O::None, true}, {"MODX", O::None, true}, {"BITAND", O::None, true},
    {"BITANDX", O::None, true}, {"BITOR", O::None, true}, {"BITORX", O::None, true},
    {"BITXOR", O::None, true}, {"BITXORX", O::None, true}, {"SHL", O::None, true},
    {"SHLX", O::None, false}, {"SHR", O::None, true}, {"SHRX", O::None, false},
    {"USHR", O::None, true}, {"USHRX", O::None, false}, {"INC", O::None, false},
    {"INCG", O::Global, true}, {"INCA", O::Argument, true}, {"INCL", O::Local, true},
    {"INCM", O::Argument, false}, {"INCLM", O::Local, false}, {"DEC", O::None, false},
    {"DECG", O::Global, true}, {"DECA", O::Argument, true}, {"DECL", O::Local, true},
    {"DECAM", O::Argument, false}, {"DECLM", O::Local, false}, {"PREINCX", O::None, true},
    {"POSTINCX", O::None, true}, {"PREDECX", O::None, true}, {"POSTDECX", O::None, true},
    {"DELETEW", O::Atom, true}, {"DELETEX", O::None, true}, {"LT", O::None, true},
    {"LE", O::None, true}, {"EQ", O::None, true}, {"NE", O::None, true},
    {"IDENTITY", O::None, true}, {"", O::None, true}, {"LOGNOT", O::None, true},
    {"BITNOT", O::None, true}, {"POS", O::None, true}, {"NEG", O::None, true},
    {"LOGAND", O::Address, true}, {"LOGOR", O::Address, true}, {"J", O::Address, true},
    {"JT", O::Address, true}, {"JF", O::Address, true}, {"JT_DROP", O::Address, true},
    {"JLT", O::Address, true}, {"RET", O::None, true}, {"RETU", O::None, true},
};
static_assert(std::size(esOpInfo) == esOpCount);

int esOperandSize(ESOperand operand)
{
    switch (operand) {
    case O::None:
        return 0;
    case O::AtomCall:
    case O::GlobalCall:
    case O::ArgumentCall:
    case O::LocalCall:
        return 4;
    default:
        return 2;
    }
}

ESCode::ESCode()
{
    bytes.reserve(200);
    lineTable.reserve(200);
}

int ESCode::addNumber(double value)
{
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] == value && std::signbit(numbers[i]) == std::signbit(value))
            return int(i);
    }
    numbers.push_back(value);
    return int(numbers.size() - 1);
}

namespace {

QString slotName(const ESProperty *property)
{
    return property && property->key ? property->key->text : QStringLiteral("(null)");
}

const ESProperty *variableAt(const std::vector<ESProperty> &variables, std::size_t index)
{
    return index < variables.size() ? &variables[index] : nullptr;
}

} // namespace

QString ESCode::listInstruction(const ESContext &context, int offset, int *next) const
{
    const unsigned code = bytes[offset];
    QString text = QString::asprintf("%04x:  ", offset);
    if (code >= unsigned(esOpCount)) {
        text += QString::asprintf("token<%u>", code);
        if (next)
            *next = offset + 1;
        return text;
    }
    const ESOpInfo &info = esOpInfo[code];
    const int size = esOperandSize(info.operand);
    if (next)
        *next = offset + 1 + size;
    if (offset + 1 + size > length())
        return text + QString::fromLatin1(info.name.data(), qsizetype(info.name.size()));
    const unsigned a = size ? operandAt(offset + 1) : 0;
    const unsigned n = size == 4 ? operandAt(offset + 3) : 0;
    const QString name = QString::fromLatin1(info.name.data(), qsizetype(info.name.size()));
    const std::vector<ESProperty> &globals = context.globalObject->properties;
    ESAtomTable &atoms = ESAtomTable::instance();
    const auto atomText = [&] {
        return int(a) < atoms.size() ? atoms.atomAt(int(a))->text : QStringLiteral("(null)");
    };
    switch (info.operand) {
    case O::None:
        return text + name;
    case O::Number: {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, "%g", a < numbers.size() ? numbers[a] : 0.0);
        return text + name + QLatin1Char('\t') + QLatin1String(buffer);
    }
    case O::Count:
        return text + name + QStringLiteral("\t#%1").arg(a);
    case O::Address:
        return text + name + QString::asprintf("\t%04x", a);
    case O::Atom:
        return text + name + QLatin1Char('\t') + atomText();
    case O::AtomCall:
        return text + name + QLatin1Char('\t') + atomText() + QStringLiteral(", #%1").arg(n);
    case O::Global:
    case O::GlobalCall:
        text += name + QStringLiteral("\t%1 [idx=%2]").arg(slotName(variableAt(globals, a))).arg(a);
        break;
    case O::Argument:
    case O::ArgumentCall:
        text += name + QStringLiteral("\t%1 [idx=%2]").arg(slotName(variableAt(variables, a))).arg(a);
        break;
    case O::Local:
    case O::LocalCall:
        text += name + QStringLiteral("\t%1 [idx=%2]")
                           .arg(slotName(variableAt(variables, std::size_t(parameterCount) + a)))
                           .arg(a);
        break;
    }
    if (size == 4)
        text += QStringLiteral(", #%1").arg(n);
    return text;
}

QString ESCode::listing(const ESContext &context) const
{
    QString text;
    int offset = 0;
    while (offset < length()) {
        int next = offset + 1;
        text += listInstruction(context, offset, &next);
        text += QLatin1Char('\n');
        offset = next;
    }
    return text;
}

void ESCode::verify() const
{
    std::vector<bool> starts(bytes.size() + 1, false);
    int offset = 0;
    ESOp last = ESOp::NUM;
    while (offset < length()) {
        starts[std::size_t(offset)] = true;
        last = ESOp(bytes[std::size_t(offset)]);
        const int size = int(bytes[std::size_t(offset)]) < esOpCount
                             ? 1 + esOperandSize(esOpInfo[bytes[std::size_t(offset)]].operand)
                             : 1;
        offset += size;
    }
    if (offset != length() || (last != ESOp::RET && last != ESOp::RETU))
        ESContext::fatal(QStringLiteral("compiler error: code ends without a return"));
    for (offset = 0; offset < length();) {
        const unsigned code = bytes[std::size_t(offset)];
        const ESOperand kind = code < unsigned(esOpCount) ? esOpInfo[code].operand : ESOperand::None;
        if (kind == ESOperand::Address) {
            const unsigned target = operandAt(offset + 1);
            if (target >= unsigned(length()) || !starts[target])
                ESContext::fatal(QStringLiteral("compiler error: jump to %1 outside the code").arg(target));
        }
        offset += 1 + esOperandSize(kind);
    }
}
