#pragma once
#include <QString>
#include <utility>

class pcode;
class PMemory;

enum class CellType : qint32 {
    Empty = 0,
    DataAddress = 1,   // memory + integer as the cell index
    CodeAddress = 2,   // code
    Integer = 3,
    Float = 4,
    String = 6,
};

// Shared, immutable text of a string cell. The engine is single-threaded, so a plain count
// keeps copies cheap; a null handle is the common case and costs one test per copy.
class CellText {
public:
    CellText() = default;
    explicit CellText(const QString &value);
    CellText(const CellText &other) : d(other.d) { if (d) ++d->refs; }
    CellText(CellText &&other) noexcept : d(std::exchange(other.d, nullptr)) {}
    // Copying between cells without text, the common case, is one comparison.
    CellText &operator=(const CellText &other)
    {
        if (d != other.d)
            assign(other.d);
        return *this;
    }
    CellText &operator=(CellText &&other) noexcept;
    ~CellText() { if (d) release(); }

    bool isNull() const { return !d; }
    const QString &value() const;
    void reset() { if (d) { release(); d = nullptr; } }

private:
    struct Data {
        qint64 refs;
        QString value;
    };
    void release();
    void assign(Data *other);
    Data *d = nullptr;
};

// The unit of the stacks and of data memory. Invariant: `text` is null unless type is String,
// so arithmetic may rewrite numeric cells in place.
class Cell {
public:
    PMemory *memory = nullptr;
    qint64 integer = 0;
    double floating = 0;
    pcode *code = nullptr;
    CellType type = CellType::Empty;
    CellText text;

    [[nodiscard]] static Cell fromInteger(qint64 value);
    [[nodiscard]] static Cell fromFloat(double value);
    [[nodiscard]] static Cell fromString(const QString &value);
    [[nodiscard]] static Cell fromCode(pcode *word);
    [[nodiscard]] static Cell fromAddress(PMemory *region, qint64 index);

    void setInteger(qint64 value) { text.reset(); type = CellType::Integer; integer = value; }
    void setFloat(double value) { text.reset(); type = CellType::Float; floating = value; }

    // Readers: each throws the engine's code when the cell has the wrong type.
    qint64 toInteger() const;
    double toFloat() const;
    const QString &toStringValue() const;
    pcode *toCode() const;
    PMemory *toRegion() const;   // a data address; the index is `integer`

    // Text form as `.` shows it, integers in `base`.
    QString toText(int base) const;
    static QString integerText(qint64 value, int base);
    // The value of a digit in bases up to 36 (0-9, then A-Z or a-z); 99 for anything else, so
    // a comparison with the base tells whether the character is a digit of it.
    static unsigned digitValue(QChar c);
};

static_assert(sizeof(Cell) == 48, "a cell is one 48-byte record");
