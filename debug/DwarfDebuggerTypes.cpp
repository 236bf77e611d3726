// The types of DwarfDebugger: made from the DWARF when first reached and kept for the life of the
// engine. Named types become UserTypes whose definitions are made on demand, so a struct that
// points to itself costs one definition and no recursion.
#include "debug/DwarfDebugger.h"
#include "debug/ElfObjectFile.h"
#include <dwarf.h>
#include <elf.h>
#include <elfutils/libdw.h>
#include <cstring>
#include <limits>

namespace {

// Anonymous types nest at most this deep; beyond, the type is named as such and not followed.
constexpr int maxTypeDepth = 64;
constexpr int maxChildren = 100000;
constexpr quint64 voidKey = 0; // no DIE lives at offset 0 of .debug_info

// The DIE a reference attribute of `die` names, or null.
Dwarf_Die *referenced(Dwarf_Die *die, unsigned attributeName, Dwarf_Die *result)
{
    Dwarf_Attribute attribute;
    if (!die || !dwarf_attr_integrate(die, attributeName, &attribute))
        return nullptr;
    return dwarf_formref_die(&attribute, result);
}

QString nameOf(Dwarf_Die *die)
{
    const char *name = dwarf_diename(die);
    return name ? QString::fromUtf8(name) : QString();
}

std::optional<Dwarf_Word> unsignedAttribute(Dwarf_Die *die, unsigned attributeName)
{
    Dwarf_Attribute attribute;
    Dwarf_Word value = 0;
    if (!dwarf_attr(die, attributeName, &attribute) || dwarf_formudata(&attribute, &value) != 0)
        return std::nullopt;
    return value;
}

// A constant as DWARF gives it: negative only in the signed forms, since libdw extends the sign
// of the fixed-size forms too, and an upper bound of 149 in one byte is no -107.
std::optional<Dwarf_Sword> signedAttribute(Dwarf_Die *die, unsigned attributeName)
{
    Dwarf_Attribute attribute;
    if (!dwarf_attr(die, attributeName, &attribute))
        return std::nullopt;
    return DwarfDebugger::constantOf(attribute);
}

// The children of `die`, each handed to `visit`; bounded, and stopped by a link that goes back.
template <typename Visit>
void forEachChild(Dwarf_Die &die, Visit visit)
{
    Dwarf_Die child;
    if (dwarf_child(&die, &child) != 0)
        return;
    Dwarf_Off last = 0;
    int count = 0;
    do {
        const Dwarf_Off offset = dwarf_dieoffset(&child);
        if (offset <= last || ++count > maxChildren)
            return;
        last = offset;
        visit(child);
    } while (dwarf_siblingof(&child, &child) == 0);
}

qint64 extend(qint64 value, int width, bool isSigned)
{
    if (width <= 0 || width >= 8)
        return value;
    const int shift = 64 - width * 8;
    const quint64 raised = quint64(value) << shift;
    return isSigned ? qint64(raised) >> shift : qint64(raised >> shift);
}

const char *keywordOf(int tag)
{
    switch (tag) {
    case DW_TAG_union_type: return "union";
    case DW_TAG_class_type: return "class";
    case DW_TAG_enumeration_type: return "enum";
    default: return "struct";
    }
}

// The storage unit of a bit-field given by its offset in bits from the start of the struct
// (DW_AT_data_bit_offset): the aligned unit of its declared type when the field lies inside one,
// else the smallest word around it. `bitOffset` counts from the unit's least significant bit.
bool placeBitField(quint64 dataBitOffset, int bitSize, qint64 typeSize, bool bigEndian,
                   StructField &field)
{
    int unit = typeSize >= 1 && typeSize <= 8 ? int(typeSize) : 4;
    quint64 start = dataBitOffset / quint64(unit * 8) * quint64(unit);
    quint64 position = dataBitOffset - start * 8;
    if (position + quint64(bitSize) > quint64(unit * 8)) {
        start = dataBitOffset / 8;
        position = dataBitOffset % 8;
        unit = 1;
        while (unit < 8 && position + quint64(bitSize) > quint64(unit * 8))
            unit *= 2;
        if (position + quint64(bitSize) > quint64(unit * 8))
            return false;
    }
    field.offset = qint64(start);
    field.unitSize = unit;
    field.bitOffset = bigEndian ? unit * 8 - int(position) - bitSize : int(position);
    return true;
}

} // namespace

std::optional<qint64> DwarfDebugger::constantOf(Dwarf_Attribute &attribute)
{
    const unsigned form = dwarf_whatform(&attribute);
    if (form == DW_FORM_sdata || form == DW_FORM_implicit_const) {
        Dwarf_Sword value = 0;
        if (dwarf_formsdata(&attribute, &value) != 0)
            return std::nullopt;
        return qint64(value);
    }
    Dwarf_Word value = 0;
    if (dwarf_formudata(&attribute, &value) != 0)
        return std::nullopt;
    return qint64(value);
}

const BaseType *DwarfDebugger::typeOfDie(quint64 key)
{
    auto &type = m_types[key];
    if (!type) {
        Dwarf_Die die;
        type = makeType(key != voidKey && dieAt(key, die) ? &die : nullptr, 0);
    }
    return type.get();
}

const BaseType *DwarfDebugger::typeOfAttribute(Dwarf_Die *die)
{
    Dwarf_Die target;
    Dwarf_Die *type = referenced(die, DW_AT_type, &target);
    return typeOfDie(type ? dwarf_dieoffset(type) : voidKey);
}

std::unique_ptr<BaseType> DwarfDebugger::makeType(Dwarf_Die *die, int depth)
{
    if (!die)
        return std::make_unique<UserType>(QStringLiteral("void"));
    if (depth > maxTypeDepth)
        return std::make_unique<UserType>(QStringLiteral("<type nested too deeply>"));
    Dwarf_Die target;
    const int tag = dwarf_tag(die);
    switch (tag) {
    case DW_TAG_base_type: return makeSimple(*die);
    case DW_TAG_pointer_type:
    case DW_TAG_reference_type:
    case DW_TAG_rvalue_reference_type: {
        const int size = dwarf_bytesize(die);
        const int width = size == 2 || size == 4 || size == 8 ? size : addressWidth();
        return std::make_unique<PointerType>(makeType(referenced(die, DW_AT_type, &target), depth + 1), width);
    }
    case DW_TAG_const_type:
    case DW_TAG_volatile_type:
    case DW_TAG_restrict_type:
    case DW_TAG_atomic_type:
        return makeType(referenced(die, DW_AT_type, &target), depth + 1);
    case DW_TAG_typedef: {
        const char *name = dwarf_diename(die);
        if (name)
            return std::make_unique<UserType>(QString::fromUtf8(name), this, dwarf_dieoffset(die), true);
        return makeType(referenced(die, DW_AT_type, &target), depth + 1);
    }
    case DW_TAG_structure_type:
    case DW_TAG_union_type:
    case DW_TAG_class_type:
    case DW_TAG_enumeration_type: {
        const char *name = dwarf_diename(die);
        if (name)
            return makeNamedReference(*die, tag, name);
        if (tag == DW_TAG_enumeration_type)
            return makeEnum(*die, QString());
        return makeStruct(*die, tag, QString(), depth);
    }
    case DW_TAG_array_type: return makeArray(*die, depth);
    case DW_TAG_subroutine_type: return makeFunction(*die, depth);
    default: {
        const QString name = nameOf(die);
        return std::make_unique<UserType>(name.isEmpty() ? QStringLiteral("<unsupported type>") : name);
    }
    }
}

std::unique_ptr<BaseType> DwarfDebugger::makeNamedReference(Dwarf_Die &die, int tag, const char *name)
{
    const QString text = QLatin1String(keywordOf(tag)) + QLatin1Char(' ') + QString::fromUtf8(name);
    quint64 key = dwarf_dieoffset(&die);
    if (dwarf_hasattr(&die, DW_AT_declaration)) {
        // Only declared here: the definition is in another unit, if anywhere.
        ensureTypesIndexed();
        const NameTable<quint64> &table = m_tagDies[tagTableOf(tag)];
        const auto it = table.find(name);
        if (it != table.end())
            key = it->second;
    }
    return std::make_unique<UserType>(text, this, key);
}

const BaseType *DwarfDebugger::definitionOf(quint64 key)
{
    const auto found = m_definitions.find(key);
    if (found != m_definitions.end())
        return found->second.get();
    // A definition that needs itself (an array of itself, a typedef of itself) has none.
    if (m_definitionsInProgress.contains(key))
        return nullptr;
    m_definitionsInProgress.insert(key, true);
    std::unique_ptr<BaseType> definition;
    Dwarf_Die die;
    Dwarf_Die target;
    if (dieAt(key, die)) {
        const int tag = dwarf_tag(&die);
        if (tag == DW_TAG_typedef)
            definition = makeType(referenced(&die, DW_AT_type, &target), 1);
        else if (tag == DW_TAG_enumeration_type && !dwarf_hasattr(&die, DW_AT_declaration))
            definition = makeEnum(die, nameOf(&die));
        else if ((tag == DW_TAG_structure_type || tag == DW_TAG_union_type || tag == DW_TAG_class_type)
                 && !dwarf_hasattr(&die, DW_AT_declaration))
            definition = makeStruct(die, tag, nameOf(&die), 1);
        else if (tag == DW_TAG_base_type)
            definition = makeSimple(die);
    }
    m_definitionsInProgress.remove(key);
    const BaseType *result = definition.get();
    m_definitions.emplace(key, std::move(definition));
    return result;
}

std::unique_ptr<BaseType> DwarfDebugger::makeSimple(Dwarf_Die &die)
{
    const int size = dwarf_bytesize(&die);
    const int width = size > 0 && size <= 64 ? size : 0;
    const std::optional<Dwarf_Word> encoding = unsignedAttribute(&die, DW_AT_encoding);
    ExpressionKind kind = ExpressionKind::Signed;
    switch (encoding.value_or(0)) {
    case DW_ATE_boolean: kind = ExpressionKind::Boolean; break;
    case DW_ATE_float:
    case DW_ATE_complex_float: kind = ExpressionKind::Float; break;
    case DW_ATE_unsigned:
    case DW_ATE_unsigned_char:
    case DW_ATE_UTF:
    case DW_ATE_address: kind = ExpressionKind::Unsigned; break;
    default: kind = ExpressionKind::Signed; break;
    }
    return std::make_unique<SimpleType>(kind, width);
}

std::unique_ptr<BaseType> DwarfDebugger::makeStruct(Dwarf_Die &die, int tag, const QString &tagName, int depth)
{
    const int size = dwarf_bytesize(&die);
    auto type = std::make_unique<StructType>(QLatin1String(keywordOf(tag)), tagName, size >= 0 ? size : -1);
    forEachChild(die, [&](Dwarf_Die &child) {
        if (dwarf_tag(&child) == DW_TAG_member)
            addMember(*type, child, depth);
    });
    return type;
}

void DwarfDebugger::addMember(StructType &type, Dwarf_Die &member, int depth)
{
    StructField field;
    field.name = nameOf(&member);
    Dwarf_Die target;
    field.type = makeType(referenced(&member, DW_AT_type, &target), depth + 1);
    Dwarf_Attribute attribute;
    Dwarf_Word offset = 0;
    if (dwarf_attr(&member, DW_AT_data_member_location, &attribute)
        && dwarf_formudata(&attribute, &offset) != 0) {
        // DWARF 2 gives the offset as a location expression.
        Dwarf_Op *operations = nullptr;
        size_t count = 0;
        offset = 0;
        if (dwarf_getlocation(&attribute, &operations, &count) == 0 && count == 1
            && operations[0].atom == DW_OP_plus_uconst)
            offset = operations[0].number;
    }
    field.offset = qint64(qMin<Dwarf_Word>(offset, std::numeric_limits<qint64>::max() / 2));
    const int bitSize = dwarf_bitsize(&member);
    if (bitSize > 0 && bitSize <= 64) {
        const qint64 typeSize = field.type->size();
        bool placed = false;
        if (const std::optional<Dwarf_Word> dataBitOffset = unsignedAttribute(&member, DW_AT_data_bit_offset)) {
            placed = placeBitField(*dataBitOffset + quint64(field.offset) * 8, bitSize, typeSize,
                                   bigEndian(), field);
        } else {
            // DWARF 2 and 3: the offset counts from the most significant bit of a storage unit
            // of DW_AT_byte_size bytes, read in the target's byte order.
            const int unit = dwarf_bytesize(&member) > 0 ? dwarf_bytesize(&member) : int(typeSize);
            const int fromTop = dwarf_bitoffset(&member) >= 0 ? dwarf_bitoffset(&member) : 0;
            if (unit >= 1 && unit <= 8 && fromTop + bitSize <= unit * 8) {
                field.unitSize = unit;
                field.bitOffset = unit * 8 - fromTop - bitSize;
                placed = true;
            }
        }
        if (placed)
            field.bitSize = bitSize;
    }
    type.addField(std::move(field));
}

std::unique_ptr<BaseType> DwarfDebugger::makeEnum(Dwarf_Die &die, const QString &tagName)
{
    const int size = dwarf_bytesize(&die);
    const int width = size >= 1 && size <= 8 ? size : 4;
    ExpressionKind kind = ExpressionKind::Unsigned;
    Dwarf_Die target;
    if (Dwarf_Die *underlying = referenced(&die, DW_AT_type, &target)) {
        const std::unique_ptr<BaseType> base = makeType(underlying, maxTypeDepth - 2);
        const BaseType *resolved = resolvedType(base.get());
        if (resolved && resolved->kind() == TypeKind::Simple)
            kind = static_cast<const SimpleType *>(resolved)->valueKind();
    } else {
        forEachChild(die, [&](Dwarf_Die &child) {
            const std::optional<Dwarf_Sword> value = signedAttribute(&child, DW_AT_const_value);
            if (value && *value < 0)
                kind = ExpressionKind::Signed;
        });
    }
    auto type = std::make_unique<EnumType>(tagName, kind, width);
    forEachChild(die, [&](Dwarf_Die &child) {
        const std::optional<Dwarf_Sword> value = signedAttribute(&child, DW_AT_const_value);
        if (dwarf_tag(&child) == DW_TAG_enumerator && value)
            type->addEnumerator({nameOf(&child), extend(*value, width, kind == ExpressionKind::Signed)});
    });
    return type;
}

std::unique_ptr<BaseType> DwarfDebugger::makeArray(Dwarf_Die &die, int depth)
{
    Dwarf_Die target;
    std::unique_ptr<BaseType> element = makeType(referenced(&die, DW_AT_type, &target), depth + 1);
    std::vector<qint64> counts;
    forEachChild(die, [&](Dwarf_Die &child) {
        if (dwarf_tag(&child) != DW_TAG_subrange_type || counts.size() >= size_t(maxTypeDepth))
            return;
        qint64 count = -1;
        if (const std::optional<Dwarf_Word> given = unsignedAttribute(&child, DW_AT_count)) {
            count = qint64(qMin<Dwarf_Word>(*given, std::numeric_limits<qint64>::max() / 2));
        } else if (const std::optional<Dwarf_Sword> upper = signedAttribute(&child, DW_AT_upper_bound)) {
            const Dwarf_Sword lower = signedAttribute(&child, DW_AT_lower_bound).value_or(0);
            if (*upper >= lower && *upper - lower < std::numeric_limits<qint64>::max() / 2)
                count = qint64(*upper - lower + 1);
        }
        counts.push_back(count);
    });
    if (counts.empty())
        counts.push_back(-1);
    for (auto it = counts.rbegin(); it != counts.rend(); ++it)
        element = std::make_unique<ArrayType>(std::move(element), *it);
    return element;
}

std::unique_ptr<BaseType> DwarfDebugger::makeFunction(Dwarf_Die &die, int depth)
{
    Dwarf_Die target;
    Dwarf_Die *result = referenced(&die, DW_AT_type, &target);
    std::unique_ptr<BaseType> resultType = result ? makeType(result, depth + 1) : nullptr;
    std::vector<std::unique_ptr<BaseType>> parameters;
    bool variadic = false;
    forEachChild(die, [&](Dwarf_Die &child) {
        const int tag = dwarf_tag(&child);
        Dwarf_Die parameterType;
        if (tag == DW_TAG_formal_parameter && parameters.size() < 256)
            parameters.push_back(makeType(referenced(&child, DW_AT_type, &parameterType), depth + 1));
        else if (tag == DW_TAG_unspecified_parameters)
            variadic = true;
    });
    return std::make_unique<FunctionType>(std::move(resultType), std::move(parameters), variadic);
}

// ---- Types by C name

bool DwarfDebugger::plainCharSigned()
{
    if (m_plainCharSigned < 0) {
        ensureTypesIndexed();
        Dwarf_Die die;
        const auto it = m_typeDies.find("char");
        if (it != m_typeDies.end() && dieAt(it->second, die)) {
            const std::optional<Dwarf_Word> encoding = unsignedAttribute(&die, DW_AT_encoding);
            m_plainCharSigned = encoding && *encoding == DW_ATE_unsigned_char ? 0 : 1;
        } else {
            // The processors whose ABI makes a plain char unsigned.
            switch (objectFile().machine()) {
            case EM_ARM:
            case EM_AARCH64:
            case EM_PPC:
            case EM_PPC64:
            case EM_S390:
            case EM_RISCV: m_plainCharSigned = 0; break;
            default: m_plainCharSigned = 1; break;
            }
        }
    }
    return m_plainCharSigned == 1;
}

// A type of C's basic words ("unsigned long int", "char", "_Bool"), sized for the target. Null
// when the words make no C type.
const BaseType *DwarfDebugger::cBaseType(const QString &name)
{
    int longs = 0, shorts = 0, chars = 0, ints = 0, floats = 0, doubles = 0, bools = 0, voids = 0;
    int signs = 0, unsigns = 0;
    for (const QString &word : name.split(u' ', Qt::SkipEmptyParts)) {
        if (word == QLatin1String("long")) ++longs;
        else if (word == QLatin1String("short")) ++shorts;
        else if (word == QLatin1String("char")) ++chars;
        else if (word == QLatin1String("int")) ++ints;
        else if (word == QLatin1String("float")) ++floats;
        else if (word == QLatin1String("double")) ++doubles;
        else if (word == QLatin1String("_Bool") || word == QLatin1String("bool")) ++bools;
        else if (word == QLatin1String("void")) ++voids;
        else if (word == QLatin1String("signed")) ++signs;
        else if (word == QLatin1String("unsigned")) ++unsigns;
        else return nullptr;
    }
    const int kinds = chars + floats + doubles + bools + voids;
    if (kinds > 1 || signs + unsigns > 1 || ints > 1 || longs > 2 || shorts > 1 || (longs && shorts))
        return nullptr;
    if (voids)
        return (longs || shorts || signs || unsigns || ints) ? nullptr : typeOfDie(0);
    ExpressionKind kind = unsigns ? ExpressionKind::Unsigned : ExpressionKind::Signed;
    int width = 4;
    if (bools) {
        kind = ExpressionKind::Boolean;
        width = 1;
    } else if (floats || doubles) {
        if (signs || unsigns || ints || shorts || (floats && longs) || longs > 1)
            return nullptr;
        kind = ExpressionKind::Float;
        width = floats ? 4 : 8;
        if (longs) {
            const auto it = m_typeDies.find("long double");
            Dwarf_Die die;
            width = it != m_typeDies.end() && dieAt(it->second, die) && dwarf_bytesize(&die) > 0
                        ? dwarf_bytesize(&die)
                        : addressWidth() * 2;
        }
    } else if (chars) {
        if (longs || shorts || ints)
            return nullptr;
        width = 1;
        if (!signs && !unsigns && !plainCharSigned())
            kind = ExpressionKind::Unsigned;
    } else if (shorts) {
        width = 2;
    } else if (longs == 2) {
        width = 8;
    } else if (longs == 1) {
        width = addressWidth();
    }
    auto &type = m_namedTypes[QStringLiteral("\x01%1:%2").arg(int(kind)).arg(width)];
    if (!type)
        type = std::make_unique<SimpleType>(kind, width);
    return type.get();
}

const BaseType *DwarfDebugger::findType(const QString &text)
{
    ensureTypesIndexed();
    QStringList words;
    for (const QString &word : text.split(u' ', Qt::SkipEmptyParts)) {
        if (word != QLatin1String("const") && word != QLatin1String("volatile"))
            words.append(word);
    }
    const QString name = words.join(u' ');
    if (const auto cached = m_namedTypes.find(name); cached != m_namedTypes.end())
        return cached->second.get();
    std::unique_ptr<BaseType> made;
    const bool tagged = words.size() == 2
                        && (words[0] == QLatin1String("struct") || words[0] == QLatin1String("union")
                            || words[0] == QLatin1String("enum") || words[0] == QLatin1String("class"));
    if (tagged) {
        const QByteArray tag = words[1].toUtf8();
        const NameTable<quint64> &table = m_tagDies[tagTable(words[0])];
        const auto it = table.find(std::string_view(tag.constData(), size_t(tag.size())));
        if (it != table.end())
            made = std::make_unique<UserType>(name, this, it->second);
    } else if (words.size() == 1) {
        const QByteArray word = words[0].toUtf8();
        const auto it = m_typeDies.find(std::string_view(word.constData(), size_t(word.size())));
        Dwarf_Die die;
        if (it != m_typeDies.end() && dieAt(it->second, die) && dwarf_tag(&die) == DW_TAG_typedef)
            made = std::make_unique<UserType>(name, this, it->second, true);
    }
    if (!made)
        return cBaseType(name);
    return (m_namedTypes[name] = std::move(made)).get();
}

bool DwarfDebugger::isTypeName(const QString &word)
{
    ensureTypesIndexed();
    const QByteArray utf8 = word.toUtf8();
    const auto it = m_typeDies.find(std::string_view(utf8.constData(), size_t(utf8.size())));
    Dwarf_Die die;
    return it != m_typeDies.end() && dieAt(it->second, die) && dwarf_tag(&die) == DW_TAG_typedef;
}
