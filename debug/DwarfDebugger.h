#pragma once
#include "debug/BaseType.h"
#include "debug/SymbolicDebuggerInterface.h"
#include "debug/TargetSnapshot.h"
#include <QHash>
#include <QString>
#include <elfutils/libdw.h>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

class ElfObjectFile;
typedef struct Dwfl Dwfl;

// The debug engine of a target that is not running: an ELF image with its DWARF, read through
// libdwfl (which places a relocatable object's sections) and libdw, and a snapshot of its
// memory. Names are indexed on first use from the top level of every unit; types are made from
// the DWARF when first reached and kept. There are no registers, locals or calls.
class DwarfDebugger : public SymbolicDebuggerInterface, public TypeDefinitionSource {
public:
    // Opens `path`. Throws HException "PATH: not an ELF file", "PATH: no debug information",
    // "PATH: cannot open: ..." and the like.
    explicit DwarfDebugger(const QString &path);
    ~DwarfDebugger() override;
    DwarfDebugger(const DwarfDebugger &) = delete;
    DwarfDebugger &operator=(const DwarfDebugger &) = delete;

    // Overlays the bytes of `file` at `address`; later dumps win. Throws HException.
    void addDump(const QString &file, quint64 address);

    std::optional<DebugSymbol> findSymbol(const QStringList &scope, const QString &name) override;
    const BaseType *findType(const QString &name) override;
    bool isTypeName(const QString &word) override;
    void readMemory(quint64 address, int width, qint64 count, char *destination) override;
    void writeMemory(quint64 address, int width, qint64 count, const char *source) override;
    ExpressionValue readRegister(const QString &name) override;
    void writeRegister(const QString &name, const ExpressionValue &value) override;
    std::vector<std::unique_ptr<SegmentInformation>> segments() override;
    std::vector<std::unique_ptr<SectionInformation>> sections() override;
    std::vector<std::unique_ptr<SymbolInformation>> symbols() override;
    std::vector<std::unique_ptr<SymbolInformation>> locals() override;
    std::vector<std::unique_ptr<SymbolInformation>> globals() override;
    quint64 addressOfLine(const QString &file, int line) override;
    ExpressionValue callFunction(quint64 address, const QList<ExpressionValue> &arguments) override;
    bool bigEndian() const override;
    int addressWidth() const override;

    // Where an address lies in the sources: the function that holds it (empty when none does)
    // and the nearest line at or before it. Throws ParserException when no unit covers it.
    struct SourcePosition {
        QString function;
        QString file;
        int line = 0;
    };
    [[nodiscard]] SourcePosition sourceAt(quint64 address);

    const ElfObjectFile &objectFile() const { return *m_object; }
    // The value of a constant attribute; negative only in DWARF's signed forms.
    [[nodiscard]] static std::optional<qint64> constantOf(Dwarf_Attribute &attribute);
    // The definition behind a UserType this engine made; the DIE offset is the key.
    const BaseType *definitionOf(quint64 key) override;

private:
    // Names point into the string sections of the DWARF, which live as long as the engine.
    template <typename T>
    using NameTable = std::unordered_map<std::string_view, T>;

    struct Variable {
        std::string_view name;
        quint64 die;
        quint64 address;
        int unit;
        bool external;
        const BaseType *type = nullptr; // made on first use
    };
    struct Function {
        quint64 die;
        quint64 address;
        int unit;
    };
    struct EnumeratorEntry {
        quint64 enumDie;
        qint64 value;
    };
    struct Unit {
        QString name;
    };


    void open(const QString &path);
    void ensureIndexed();
    void ensureTypesIndexed();
    // Hands every DIE at the top level of every unit to `visit(die, unit)`.
    template <typename Visit>
    void forEachTopLevelDie(Visit visit);
    void indexDie(Dwarf_Die &die, int unit);
    void indexType(Dwarf_Die &die);
    bool dieAt(quint64 key, Dwarf_Die &die);
    bool staticAddress(Dwarf_Die &die, quint64 &address);
    const BaseType *variableType(Variable &variable);
    DebugSymbol variableSymbol(Variable &variable);
    std::optional<DebugSymbol> findFileLevel(const QString &name, int unit);
    std::optional<DebugSymbol> findStaticLocal(const Function &function, const QString &name);
    std::optional<DebugSymbol> functionSymbol(std::string_view name, const Function &function);
    std::optional<DebugSymbol> enumeratorSymbol(std::string_view name);
    int unitNamed(const QString &file) const;
    // The table of m_tagDies for a keyword ("struct", "union", "class", "enum"); -1 for others.
    static int tagTable(QStringView keyword);
    static int tagTableOf(int dwarfTag);

    // ---- types (DwarfDebuggerTypes.cpp)
    // The type of the DIE's DW_AT_type (void when it has none), kept for the engine's life.
    const BaseType *typeOfAttribute(Dwarf_Die *die);
    const BaseType *typeOfDie(quint64 key);
    std::unique_ptr<BaseType> makeType(Dwarf_Die *type, int depth);
    std::unique_ptr<BaseType> makeNamedReference(Dwarf_Die &die, int tag, const char *name);
    std::unique_ptr<BaseType> makeStruct(Dwarf_Die &die, int tag, const QString &tagName, int depth);
    std::unique_ptr<BaseType> makeEnum(Dwarf_Die &die, const QString &tagName);
    std::unique_ptr<BaseType> makeArray(Dwarf_Die &die, int depth);
    std::unique_ptr<BaseType> makeFunction(Dwarf_Die &die, int depth);
    std::unique_ptr<BaseType> makeSimple(Dwarf_Die &die);
    void addMember(StructType &type, Dwarf_Die &member, int depth);
    const BaseType *cBaseType(const QString &name);
    bool plainCharSigned();

    struct DwflEnd {
        void operator()(Dwfl *dwfl) const;
    };
    // First, so that it goes last: everything below observes what it holds.
    std::unique_ptr<Dwfl, DwflEnd> m_dwfl;
    std::unique_ptr<ElfObjectFile> m_object;
    Dwarf *m_dwarf = nullptr;
    quint64 m_bias = 0;
    QString m_path;
    TargetSnapshot m_snapshot;

    bool m_indexed = false;       // variables and functions
    bool m_typesIndexed = false;  // types and enumerators, on the first need of one
    std::vector<Unit> m_units;
    std::vector<Variable> m_variables;
    NameTable<int> m_variableByName; // the first of the name, externals first
    NameTable<Function> m_functions;
    NameTable<quint64> m_typeDies;   // typedefs and base types by name
    // Tagged definitions by tag, one table per keyword: struct, union, class, enum.
    NameTable<quint64> m_tagDies[4];
    NameTable<EnumeratorEntry> m_enumerators;

    std::unordered_map<quint64, std::unique_ptr<BaseType>> m_types;       // by DIE of a DW_AT_type
    std::unordered_map<quint64, std::unique_ptr<BaseType>> m_definitions; // behind UserTypes
    QHash<quint64, bool> m_definitionsInProgress;
    std::unordered_map<QString, std::unique_ptr<BaseType>> m_namedTypes;  // what findType made
    int m_plainCharSigned = -1; // -1: not yet known
};
