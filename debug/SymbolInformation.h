#pragma once
#include <QString>

class BaseType;

enum class SymbolKind { Variable, Function, Constant, Object, Other };

// What the engine reports of one symbol. The getters are virtual so that an engine may answer
// from its own records; this class answers from the fields it was made with.
class SymbolInformation {
public:
    struct Fields {
        QString name;
        QString typeName;
        QString fileName;  // the compilation unit or object file it comes from
        QString scopeName; // the function of a static local; empty at file level
        quint64 address = 0;
        qint64 size = 0;
        int line = 0;
        int column = 0;
        SymbolKind kind = SymbolKind::Other;
        bool external = false; // visible to other units
        int sectionIndex = 0;
        qint64 value = 0;      // an enumerator's or constant's value
        const BaseType *type = nullptr; // observed; owned by the engine
        int addressWidth = 4;  // bytes of an address on the target
    };

    explicit SymbolInformation(Fields fields) : m_fields(std::move(fields)) {}
    virtual ~SymbolInformation();

    virtual QString name() const { return m_fields.name; }
    virtual QString typeName() const { return m_fields.typeName; }
    virtual QString fileName() const { return m_fields.fileName; }
    virtual QString scopeName() const { return m_fields.scopeName; }
    virtual quint64 address() const { return m_fields.address; }
    // The address as "%08x".
    virtual QString addressText() const;
    virtual qint64 size() const { return m_fields.size; }
    virtual int line() const { return m_fields.line; }
    virtual int column() const { return m_fields.column; }
    virtual SymbolKind kind() const { return m_fields.kind; }
    virtual bool isExternal() const { return m_fields.external; }
    virtual bool isFunction() const { return m_fields.kind == SymbolKind::Function; }
    virtual bool isVariable() const { return m_fields.kind == SymbolKind::Variable; }
    virtual bool isStatic() const { return !m_fields.external; }
    virtual bool isConstant() const { return m_fields.kind == SymbolKind::Constant; }
    virtual int sectionIndex() const { return m_fields.sectionIndex; }
    virtual qint64 value() const { return m_fields.value; }
    virtual const BaseType *type() const { return m_fields.type; }
    virtual int addressWidth() const { return m_fields.addressWidth; }
    virtual bool hasScope() const { return !m_fields.scopeName.isEmpty(); }

private:
    Fields m_fields;
};

// A segment of a loaded image: its type ("LOAD") and access ("r-x"), address, size in memory
// and offset in the file.
class SegmentInformation {
public:
    SegmentInformation(QString type, QString flags, quint64 address, quint64 size, quint64 offset)
        : m_type(std::move(type)), m_flags(std::move(flags)), m_address(address), m_size(size),
          m_offset(offset)
    {
    }
    virtual ~SegmentInformation();
    virtual QString type() const { return m_type; }
    virtual QString flags() const { return m_flags; }
    virtual quint64 address() const { return m_address; }
    virtual quint64 size() const { return m_size; }
    virtual quint64 offset() const { return m_offset; }

private:
    QString m_type;
    QString m_flags;
    quint64 m_address;
    quint64 m_size;
    quint64 m_offset;
};

// A section of an object file: its name and type ("PROGBITS", "NOBITS"), address, size and
// offset in the file.
class SectionInformation {
public:
    SectionInformation(QString name, QString type, quint64 address, quint64 size, quint64 offset)
        : m_name(std::move(name)), m_type(std::move(type)), m_address(address), m_size(size),
          m_offset(offset)
    {
    }
    virtual ~SectionInformation();
    virtual QString name() const { return m_name; }
    virtual QString type() const { return m_type; }
    virtual quint64 address() const { return m_address; }
    virtual quint64 size() const { return m_size; }
    virtual quint64 offset() const { return m_offset; }

private:
    QString m_name;
    QString m_type;
    quint64 m_address;
    quint64 m_size;
    quint64 m_offset;
};
