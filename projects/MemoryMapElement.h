#pragma once
#include "foundation/XMLDocument.h"
#include <QDateTime>
#include <QString>

// What an element of a memory map or section-placement file is, by its tag. The numbers are
// part of the format's model: views and scripts compare them.
enum class MemoryMapKind : qint32 {
    MemorySegment = 0,
    Register = 1,
    ProgramSection = 2,
    Root = 3,
    RegisterGroup = 4,
    BitField = 5,
    Enum = 6,
    Processor = 7,
    Vector = 8,
    Other = 9,   // any other tag: kept, and its children are still walked
};

// One element of a memory-map document. Besides its attributes it carries what they evaluate to:
// `start` and `size` are 0 until MemoryMap::calculateAddresses has run over the tree.
class MemoryMapElement : public XMLElement {
public:
    MemoryMapElement(char *name, quint8 documentFlag);   // takes ownership of name
    // A copy of the element alone: name, attributes and fields, no children and no links.
    MemoryMapElement(const MemoryMapElement &other);
    MemoryMapElement &operator=(const MemoryMapElement &) = delete;
    ~MemoryMapElement() override;

    void setName(char *name) override;   // the kind follows the tag

    [[nodiscard]] static MemoryMapKind kindOfTag(const char *tag);
    [[nodiscard]] static const char *tagOfKind(MemoryMapKind kind);

    [[nodiscard]] MemoryMapKind kind() const { return m_kind; }
    // The computed address, or for a bit field its first bit and for an enum its value.
    [[nodiscard]] quint32 start() const { return m_start; }
    void setStart(quint32 start) { m_start = start; }
    // The computed size: bytes for segments, sections, groups and registers, bits for fields.
    [[nodiscard]] quint32 size() const { return m_size; }
    void setSize(quint32 size) { m_size = size; }
    // The computed start before it was cut to 32 bits, so that a check can tell an address
    // past 2^32 (or below 0) from one that wrapped.
    [[nodiscard]] qint64 parsedValue() const { return m_parsedValue; }
    void setParsedValue(qint64 value) { m_parsedValue = value; }
    [[nodiscard]] const QDateTime &timeStamp() const { return m_timeStamp; }
    void setTimeStamp(const QDateTime &time) { m_timeStamp = time; }
    [[nodiscard]] quint8 documentFlag() const { return m_documentFlag; }
    // Index into MemoryMap::files() of the file the element was read from (0: the loaded file).
    [[nodiscard]] int sourceFile() const { return m_sourceFile; }
    void setSourceFile(int index) { m_sourceFile = index; }

    // ---- Typed access to the attributes. has...() is true when the attribute is there and not
    // empty; the text readers give an empty text for a missing attribute.
    [[nodiscard]] bool hasName() const { return has("name"); }
    // The `name` attribute; name() is the tag, as for every element.
    [[nodiscard]] QString nameText() const { return text("name"); }
    [[nodiscard]] bool hasDescription() const { return has("description"); }
    [[nodiscard]] QString description() const { return text("description"); }
    [[nodiscard]] bool hasStart() const { return has("start"); }
    [[nodiscard]] QString startText() const { return text("start"); }
    [[nodiscard]] bool hasAddressSymbol() const { return has("address_symbol"); }
    [[nodiscard]] QString addressSymbol() const { return text("address_symbol"); }
    [[nodiscard]] bool hasEndSymbol() const { return has("end_symbol"); }
    [[nodiscard]] QString endSymbol() const { return text("end_symbol"); }
    [[nodiscard]] bool hasSizeSymbol() const { return has("size_symbol"); }
    [[nodiscard]] QString sizeSymbol() const { return text("size_symbol"); }
    [[nodiscard]] bool hasSize() const { return has("size"); }
    [[nodiscard]] QString sizeText() const { return text("size"); }
    [[nodiscard]] bool hasAlignment() const { return has("alignment"); }
    [[nodiscard]] QString alignmentText() const { return text("alignment"); }
    // The alignment read as a plain number (see plainNumber).
    [[nodiscard]] quint32 alignment() const;
    [[nodiscard]] bool hasRunin() const { return has("runin"); }
    [[nodiscard]] QString runin() const { return text("runin"); }
    [[nodiscard]] bool hasRunoffset() const { return has("runoffset"); }
    [[nodiscard]] QString runoffset() const { return text("runoffset"); }
    [[nodiscard]] bool hasAccess() const { return has("access"); }
    [[nodiscard]] QString access() const { return text("access"); }
    // Exact comparisons: "readonly" is none of the three, and a missing attribute is false.
    [[nodiscard]] bool isReadOnly() const { return is("access", "ReadOnly"); }
    [[nodiscard]] bool isWriteOnly() const { return is("access", "WriteOnly"); }
    [[nodiscard]] bool isNoAccess() const { return is("access", "None"); }
    [[nodiscard]] bool hasEndian() const { return has("endian"); }
    [[nodiscard]] QString endian() const { return text("endian"); }
    [[nodiscard]] bool hasAddressSpace() const { return has("addressSpace"); }
    [[nodiscard]] QString addressSpace() const { return text("addressSpace"); }
    [[nodiscard]] bool hasInputsections() const { return has("inputsections"); }
    [[nodiscard]] QString inputsections() const { return text("inputsections"); }
    [[nodiscard]] bool hasFill() const { return has("fill"); }
    [[nodiscard]] QString fill() const { return text("fill"); }
    // True only for "Yes" in any case; missing or empty is false.
    [[nodiscard]] bool load() const { return isYes("load"); }
    [[nodiscard]] bool keep() const { return isYes("keep"); }

private:
    [[nodiscard]] bool has(const char *attributeName) const;
    [[nodiscard]] QString text(const char *attributeName) const;
    [[nodiscard]] bool is(const char *attributeName, const char *value) const;
    [[nodiscard]] bool isYes(const char *attributeName) const;

    MemoryMapKind m_kind;
    quint32 m_start = 0;
    quint32 m_size = 0;
    qint64 m_parsedValue = 0;
    QDateTime m_timeStamp;
    quint8 m_documentFlag;
    int m_sourceFile = 0;
};

// The element as a MemoryMapElement, or null for any other node.
[[nodiscard]] MemoryMapElement *asMemoryMapElement(XMLNode *node);
[[nodiscard]] const MemoryMapElement *asMemoryMapElement(const XMLNode *node);

// A plain number as register, field and enum sizes are written: leading white space skipped,
// "0x" for hexadecimal and a leading 0 for octal, an empty text 0. `ok` (may be null) is false
// when the text holds anything else, is negative or does not fit 64 bits; the value is then what
// the digits in front gave.
[[nodiscard]] quint64 plainNumber(const QString &text, bool *ok = nullptr);
