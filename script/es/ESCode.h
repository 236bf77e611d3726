#pragma once
#include "script/es/ESObject.h"
#include <QString>
#include <cstdint>
#include <string_view>
#include <vector>

class ESContext;

// Operation codes. Operands follow the opcode byte as big-endian 16-bit words.
enum class ESOp : std::uint8_t {
    NUM, NUM_0, NUM_1, NUM_2, NUM_3, NUM_4, NUM_M1, NULL_, TRUE_, FALSE_,
    UNDEFINED, THIS, STR, NEW, NEWA, DROP, DUP, VOID, TYPEOF, ENUM,
    NEXT, CLOSURE, MKARRAY, NEWOBJ, WITH, ENDWITH, INITF, CALLW, CALLF, CALLG,
    CALLA, CALLAM, CALLL, CALLLM, CALLX, GETW, GETF, GETG, GETA, GETL,
    GETAM, GETLM, GETX, PUTW, PUTF, PUTG, PUTA, PUTL, PUTAM, PUTLM,
    PUTX, ADD, ADDX, SUB, SUBX, MUL, MULX, DIV, DIVX, MOD,
    MODX, BITAND, BITANDX, BITOR, BITORX, BITXOR, BITXORX, SHL, SHLX, SHR,
    SHRX, USHR, USHRX, INC, INCG, INCA, INCL, INCM, INCLM, DEC,
    DECG, DECA, DECL, DECAM, DECLM, PREINCX, POSTINCX, PREDECX, POSTDECX, DELETEW,
    DELETEX, LT, LE, EQ, NE, IDENTITY, NOTIDENTITY, LOGNOT, BITNOT, POS,
    NEG, LOGAND, LOGOR, J, JT, JF, JT_DROP, JLT, RET, RETU,
};
constexpr int esOpCount = int(ESOp::RETU) + 1;

// How the operand bytes of an instruction read in a listing.
enum class ESOperand : std::uint8_t {
    None,
    Number,    // u16 index into `numbers`
    Count,     // u16 count or index, printed "#%d"
    Address,   // absolute offset
    Atom,      // u16 atom index
    AtomCall,  // atom and argument count
    Global,    // slot in the global object's vector
    Argument,  // parameter slot
    Local,     // local index
    GlobalCall, ArgumentCall, LocalCall,
};

struct ESOpInfo {
    std::string_view name;   // empty: the code has no name in a listing
    ESOperand operand;
    bool handled;            // false: running it takes the illegal-instruction path
};
extern const ESOpInfo esOpInfo[esOpCount];

int esOperandSize(ESOperand operand);

// The compiled form of one function or script.
class ESCode {
public:
    ESCode();
    ESCode(const ESCode &other) = default;   // CLOSURE's deep copy

    std::vector<std::uint8_t> bytes;
    std::vector<std::uint32_t> lineTable;   // one source line per byte
    std::vector<double> numbers;            // the constant table, each value once
    std::int32_t parameterCount = 0;
    std::int32_t localCount = 0;
    bool usesArguments = false;
    bool needsActivation = false;
    std::vector<ESProperty> variables;      // parameters first, then locals

    int length() const { return int(bytes.size()); }
    // One slot number per byte for the member instructions to remember where they found a
    // name (see ESContext::cachedGet); made on first use.
    std::uint32_t *propertyHints() const
    {
        if (m_propertyHints.size() != bytes.size())
            m_propertyHints.assign(bytes.size(), 0);
        return m_propertyHints.data();
    }
    // Raises the compiler's fatal error unless every jump lands on an instruction inside the
    // code and the code ends with a return, so the interpreter never runs off its end.
    void verify() const;
    int addNumber(double value);
    unsigned operandAt(int offset) const { return unsigned(bytes[offset]) << 8 | bytes[offset + 1]; }
    // Text of the instruction at `offset` and the offset after it.
    QString listInstruction(const ESContext &context, int offset, int *next = nullptr) const;
    QString listing(const ESContext &context) const;

private:
    mutable std::vector<std::uint32_t> m_propertyHints;
};
