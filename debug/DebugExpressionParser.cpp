#include "debug/DebugExpressionParser.h"
#include "debug/BaseType.h"
#include "debug/LazyMemoryBlock.h"
#include "debug/MarkerType.h"
#include "debug/MemoryAccessException.h"
#include "debug/SymbolicDebuggerInterface.h"
#include <bit>
#include <cstring>
#include <limits>

namespace {

// Anonymous members (a union inside a struct) are searched this deep for a member's name.
constexpr int maxAnonymousDepth = 8;

[[noreturn]] void fail(const QString &message)
{
    throw ParserException(message);
}

[[noreturn]] void fail(const char *message)
{
    throw ParserException(QString::fromLatin1(message));
}

// The kind and width in which a resolved scalar type is read; false for aggregates.
bool scalarForm(const BaseType *type, ExpressionKind &kind, int &width)
{
    switch (type->kind()) {
    case TypeKind::Simple: {
        const auto *simple = static_cast<const SimpleType *>(type);
        kind = simple->valueKind();
        width = simple->width();
        return true;
    }
    case TypeKind::Enum:
        kind = static_cast<const EnumType *>(type)->valueKind();
        width = int(type->size());
        return true;
    case TypeKind::Pointer:
    case TypeKind::Register:
        kind = ExpressionKind::Unsigned;
        width = int(type->size());
        return true;
    default: return false;
    }
}

bool isPointer(const BaseType *type)
{
    const BaseType *resolved = resolvedType(type);
    return resolved && resolved->kind() == TypeKind::Pointer;
}

// The member `name` of a struct, also inside its anonymous members; the offsets of the
// anonymous members on the way are added to `offset`.
const StructField *findField(const StructType &type, const QString &name, qint64 &offset, int depth)
{
    if (const StructField *field = type.field(name))
        return field;
    if (depth >= maxAnonymousDepth)
        return nullptr;
    for (const StructField &field : type.fields()) {
        if (!field.name.isEmpty())
            continue;
        const BaseType *inner = resolvedType(field.type.get());
        if (!inner || inner->kind() != TypeKind::Struct)
            continue;
        qint64 innerOffset = 0;
        if (const StructField *found = findField(*static_cast<const StructType *>(inner), name, innerOffset, depth + 1)) {
            offset += field.offset + innerOffset;
            return found;
        }
    }
    return nullptr;
}

quint64 checkedOffset(quint64 base, qint64 index, qint64 size)
{
    qint64 offset = 0;
    if (__builtin_mul_overflow(index, size, &offset))
        fail("index out of range");
    return base + quint64(offset);
}

ExpressionValue withLocation(ExpressionValue value, std::shared_ptr<DebugLocation> location)
{
    value.location = std::move(location);
    return value;
}

} // namespace

DebugExpressionParser::DebugExpressionParser(SymbolicDebuggerInterface &debugger)
    : m_debugger(debugger)
{
}

DebugExpressionParser::~DebugExpressionParser() = default;

const DebugLocation *DebugExpressionParser::locationOf(const ExpressionValue &value)
{
    return static_cast<const DebugLocation *>(value.location.get());
}

bool DebugExpressionParser::isTypeName(const QString &word) const
{
    return ExpressionParser::isTypeName(word) || m_debugger.isTypeName(word);
}

const BaseType *DebugExpressionParser::simpleType(ExpressionKind kind, int width)
{
    auto &type = m_simpleTypes[int(kind) * 1000 + qBound(0, width, 999)];
    if (!type)
        type = std::make_unique<SimpleType>(kind, width);
    return type.get();
}

const BaseType *DebugExpressionParser::typeOf(const ExpressionValue &value)
{
    const DebugLocation *location = locationOf(value);
    if (location && location->type)
        return location->type;
    return simpleType(value.kind, value.kind == ExpressionKind::String ? 0 : value.width);
}

const BaseType *DebugExpressionParser::pointerTo(const BaseType *type)
{
    auto &pointer = m_pointers[type];
    if (!pointer)
        pointer = std::make_unique<PointerType>(type->clone(), m_debugger.addressWidth());
    return pointer.get();
}

// ---- Reading

ExpressionValue DebugExpressionParser::load(const BaseType *type, quint64 address, int bitOffset,
                                            int bitSize, int unitSize)
{
    auto location = std::make_shared<DebugLocation>();
    location->type = type;
    location->address = address;
    location->hasAddress = true;
    location->bitOffset = bitOffset;
    location->bitSize = bitSize;
    location->unitSize = unitSize;
    const BaseType *resolved = resolvedType(type);
    ExpressionKind kind = ExpressionKind::Signed;
    int width = 0;
    if (!resolved || !scalarForm(resolved, kind, width)) {
        ExpressionValue aggregate;
        aggregate.kind = aggregateKind;
        aggregate.width = resolved && resolved->size() >= 0 ? int(qMin<qint64>(resolved->size(), std::numeric_limits<int>::max())) : 0;
        aggregate.empty = false;
        return withLocation(aggregate, std::move(location));
    }
    if (width < 1 || width > 8)
        fail(QStringLiteral("cannot read a value of %1 bytes").arg(width));
    try {
        LazyMemoryBlock block(m_debugger, address, bitSize > 0 ? unitSize : width, m_debugger.bigEndian());
        if (bitSize > 0) {
            const qint64 bits = block.getBits(unitSize, bitOffset, bitSize, kind == ExpressionKind::Signed);
            if (kind == ExpressionKind::Boolean)
                return withLocation(ExpressionValue::fromBoolean(bits != 0), std::move(location));
            return withLocation(kind == ExpressionKind::Signed ? ExpressionValue::fromSigned(bits, width)
                                                               : ExpressionValue::fromUnsigned(quint64(bits), width),
                                std::move(location));
        }
        const quint64 word = block.getWord(width);
        switch (kind) {
        case ExpressionKind::Boolean: {
            ExpressionValue value = ExpressionValue::fromBoolean(word != 0);
            value.width = width;
            return withLocation(value, std::move(location));
        }
        case ExpressionKind::Float:
            if (width == 4)
                return withLocation(ExpressionValue::fromDouble(std::bit_cast<float>(quint32(word)), 4), std::move(location));
            if (width == 8)
                return withLocation(ExpressionValue::fromDouble(std::bit_cast<double>(word), 8), std::move(location));
            fail(QStringLiteral("cannot read a floating value of %1 bytes").arg(width));
        case ExpressionKind::Unsigned:
            return withLocation(ExpressionValue::fromUnsigned(word, width), std::move(location));
        default: return withLocation(ExpressionValue::fromSigned(qint64(word), width), std::move(location));
        }
    } catch (const MemoryAccessException &exception) {
        fail(exception.message());
    }
}

ExpressionValue DebugExpressionParser::valueAt(const BaseType *type, quint64 address)
{
    return load(type, address);
}

ExpressionValue DebugExpressionParser::addressValue(const BaseType *type, quint64 address)
{
    auto location = std::make_shared<DebugLocation>();
    location->type = pointerTo(type);
    return withLocation(ExpressionValue::fromUnsigned(address, m_debugger.addressWidth()), std::move(location));
}

// ---- Names

ExpressionValue DebugExpressionParser::symbolValue(const QString &name, const QStringList &scope)
{
    const std::optional<DebugSymbol> symbol = m_debugger.findSymbol(scope, name);
    if (!symbol) {
        const QString shown = scope.isEmpty() ? name : (scope + QStringList{name}).join(QStringLiteral("::"));
        fail(shown + QStringLiteral(" symbol not found"));
    }
    switch (symbol->kind) {
    case SymbolKind::Function: {
        auto location = std::make_shared<DebugLocation>();
        location->type = symbol->type;
        location->address = symbol->address;
        location->hasAddress = true;
        location->marker = std::make_shared<DebugMarkerType>(symbol->name, symbol->address, m_debugger.addressWidth());
        ExpressionValue value;
        value.kind = ExpressionKind::Marker;
        value.width = m_debugger.addressWidth();
        value.integer = qint64(symbol->address);
        value.empty = false;
        return withLocation(value, std::move(location));
    }
    case SymbolKind::Constant: {
        const BaseType *resolved = resolvedType(symbol->type);
        ExpressionKind kind = ExpressionKind::Signed;
        int width = 4;
        if (!resolved || !scalarForm(resolved, kind, width))
            return ExpressionValue::fromSigned(symbol->value, 4);
        auto location = std::make_shared<DebugLocation>();
        location->type = symbol->type;
        return withLocation(kind == ExpressionKind::Unsigned ? ExpressionValue::fromUnsigned(quint64(symbol->value), width)
                                                             : ExpressionValue::fromSigned(symbol->value, width),
                            std::move(location));
    }
    default: return load(symbol->type, symbol->address);
    }
}

ExpressionValue DebugExpressionParser::lookupIdentifier(const QString &name)
{
    return symbolValue(name, {});
}

ExpressionValue DebugExpressionParser::lookupScopedIdentifier(const QStringList &parts)
{
    return symbolValue(parts.constLast(), parts.mid(0, parts.size() - 1));
}

ExpressionValue DebugExpressionParser::lookupRegister(const QString &name)
{
    return m_debugger.readRegister(name);
}

ExpressionValue DebugExpressionParser::lookupThis()
{
    if (!m_debugger.findSymbol({}, QStringLiteral("this")))
        fail("this symbol not found");
    return symbolValue(QStringLiteral("this"), {});
}

ExpressionValue DebugExpressionParser::lookupThisMember(const QString &name)
{
    return member(lookupThis(), name);
}

// ---- Memory operators

ExpressionValue DebugExpressionParser::elementOf(const ExpressionValue &base, qint64 index, bool read)
{
    const DebugLocation *location = locationOf(base);
    const BaseType *resolved = location ? resolvedType(location->type) : nullptr;
    if (!resolved)
        fail("cannot dereference");
    const BaseType *element = nullptr;
    quint64 start = 0;
    if (resolved->kind() == TypeKind::Pointer) {
        element = &static_cast<const PointerType *>(resolved)->target();
        start = quint64(base.integer) & (base.width >= 8 ? ~quint64(0) : (quint64(1) << (base.width * 8)) - 1);
    } else if (resolved->kind() == TypeKind::Array && location->hasAddress) {
        element = &static_cast<const ArrayType *>(resolved)->element();
        start = location->address;
    } else {
        fail("cannot dereference");
    }
    const qint64 size = element->size();
    if (size < 0 || (size == 0 && index != 0) || resolvedType(element) == nullptr)
        fail("cannot dereference");
    const quint64 address = checkedOffset(start, index, size);
    if (read)
        return load(element, address);
    auto lvalue = std::make_shared<DebugLocation>();
    lvalue->type = element;
    lvalue->address = address;
    lvalue->hasAddress = true;
    ExpressionValue value;
    value.kind = aggregateKind;
    value.empty = false;
    return withLocation(value, std::move(lvalue));
}

ExpressionValue DebugExpressionParser::dereference(const ExpressionValue &base, const ExpressionValue &index)
{
    const ExpressionValue position = index.kind == ExpressionKind::Marker ? markerValue(index) : index;
    if (!position.isInteger() && position.kind != ExpressionKind::Boolean)
        fail("integer index expected");
    return elementOf(base, position.normalised().integer, true);
}

ExpressionValue DebugExpressionParser::memberOf(const ExpressionValue &base, const QString &name, bool read)
{
    const DebugLocation *location = locationOf(base);
    const BaseType *resolved = location ? resolvedType(location->type) : nullptr;
    if (resolved && resolved->kind() == TypeKind::Pointer)
        return memberOf(elementOf(base, 0, false), name, read);
    if (!resolved || resolved->kind() != TypeKind::Struct)
        fail(QStringLiteral("no member named ") + name);
    qint64 offset = 0;
    const StructField *field = findField(*static_cast<const StructType *>(resolved), name, offset, 0);
    if (!field)
        fail(QStringLiteral("no member named ") + name);
    if (!location->hasAddress)
        fail("cannot dereference");
    const quint64 address = location->address + quint64(offset + field->offset);
    if (read)
        return load(field->type.get(), address, field->bitOffset, field->bitSize, field->unitSize);
    auto lvalue = std::make_shared<DebugLocation>();
    lvalue->type = field->type.get();
    lvalue->address = address;
    lvalue->hasAddress = true;
    lvalue->bitSize = field->bitSize;
    ExpressionValue value;
    value.kind = aggregateKind;
    value.empty = false;
    return withLocation(value, std::move(lvalue));
}

ExpressionValue DebugExpressionParser::member(const ExpressionValue &base, const QString &name)
{
    return memberOf(base, name, true);
}

ExpressionValue DebugExpressionParser::fieldValue(const ExpressionValue &aggregate, const StructField &field)
{
    const DebugLocation *location = locationOf(aggregate);
    if (!location || !location->hasAddress)
        fail("cannot dereference");
    return load(field.type.get(), location->address + quint64(field.offset), field.bitOffset,
                field.bitSize, field.unitSize);
}

ExpressionValue DebugExpressionParser::elementValue(const ExpressionValue &array, qint64 index)
{
    return elementOf(array, index, true);
}

// The operand as a place, not read: a name, a member or an element. Anything else is
// evaluated, and must be an aggregate in memory.
ExpressionValue DebugExpressionParser::located(const Expression &operand)
{
    if (const auto *name = dynamic_cast<const IdentifierExpression *>(&operand)) {
        const std::optional<DebugSymbol> symbol = m_debugger.findSymbol({}, name->name());
        if (symbol && symbol->kind != SymbolKind::Constant)
            return addressValue(symbol->type, symbol->address);
    } else if (const auto *scoped = dynamic_cast<const ScopedIdentifierExpression *>(&operand)) {
        const QStringList &parts = scoped->parts();
        const std::optional<DebugSymbol> symbol = m_debugger.findSymbol(parts.mid(0, parts.size() - 1), parts.constLast());
        if (symbol && symbol->kind != SymbolKind::Constant)
            return addressValue(symbol->type, symbol->address);
    } else if (const auto *dot = dynamic_cast<const DotExpression *>(&operand)) {
        const ExpressionValue place = memberOf(dot->left().evaluate(), dot->member(), false);
        const DebugLocation *location = locationOf(place);
        if (location->bitSize > 0)
            fail("cannot take the address of a bit-field");
        return addressValue(location->type, location->address);
    } else if (const auto *element = dynamic_cast<const LeftSquareBracketExpression *>(&operand)) {
        const ExpressionValue base = element->left().evaluate();
        const ExpressionValue index = element->right().evaluate();
        if (!index.isInteger())
            fail("integer index expected");
        const ExpressionValue place = elementOf(base, index.normalised().integer, false);
        return addressValue(locationOf(place)->type, locationOf(place)->address);
    }
    const ExpressionValue value = operand.evaluate();
    const DebugLocation *location = locationOf(value);
    if (!location || !location->hasAddress || location->bitSize > 0)
        fail(QStringLiteral("cannot take the address of ") + operand.text());
    return addressValue(location->type, location->address);
}

ExpressionValue DebugExpressionParser::addressOf(const Expression &operand)
{
    return located(operand);
}

// ---- Types

const BaseType *DebugExpressionParser::parseType(const QString &typeName)
{
    if (const auto known = m_parsedNames.constFind(typeName); known != m_parsedNames.constEnd())
        return *known;
    qsizetype suffixAt = typeName.indexOf(u'*');
    const qsizetype bracket = typeName.indexOf(u'[');
    if (suffixAt < 0 || (bracket >= 0 && bracket < suffixAt))
        suffixAt = bracket;
    const QString base = (suffixAt < 0 ? typeName : typeName.left(suffixAt)).trimmed();
    QString suffix = suffixAt < 0 ? QString() : typeName.mid(suffixAt);
    suffix.remove(u' ');
    const BaseType *type = m_debugger.findType(base);
    if (!type)
        return nullptr;
    qsizetype i = 0;
    for (; i < suffix.size() && suffix.at(i) == u'*'; ++i)
        type = pointerTo(type);
    std::vector<qint64> counts;
    while (i < suffix.size()) {
        const qsizetype close = suffix.indexOf(u']', i);
        if (suffix.at(i) != u'[' || close < 0)
            return nullptr;
        bool ok = true;
        const QString count = suffix.mid(i + 1, close - i - 1);
        counts.push_back(count.isEmpty() ? -1 : count.toLongLong(&ok, 0));
        if (!ok || counts.back() < -1)
            return nullptr;
        i = close + 1;
    }
    for (auto it = counts.rbegin(); it != counts.rend(); ++it) {
        auto array = std::make_unique<ArrayType>(type->clone(), *it);
        const QString key = array->name();
        auto &slot = m_parsedTypes[key];
        if (!slot)
            slot = std::move(array);
        type = slot.get();
    }
    m_parsedNames.insert(typeName, type);
    return type;
}

ExpressionValue DebugExpressionParser::cast(const QString &typeName, const ExpressionValue &operand)
{
    const BaseType *target = parseType(typeName);
    const BaseType *resolved = resolvedType(target);
    if (!resolved)
        fail("cannot cast");
    ExpressionValue value = operand.kind == ExpressionKind::Marker ? markerValue(operand) : operand;
    const DebugLocation *source = locationOf(value);
    const BaseType *sourceType = source ? resolvedType(source->type) : nullptr;
    if (value.kind == aggregateKind && sourceType && sourceType->kind() == TypeKind::Array && source->hasAddress)
        value = ExpressionValue::fromUnsigned(source->address, m_debugger.addressWidth()); // decays
    if (!value.isNumeric())
        fail("cannot cast");
    value = value.normalised();
    ExpressionKind kind = ExpressionKind::Signed;
    int width = 0;
    if (!scalarForm(resolved, kind, width) || width < 1 || width > 8)
        fail("cannot cast");
    ExpressionValue result;
    if (resolved->kind() == TypeKind::Pointer && value.kind == ExpressionKind::Float)
        fail("cannot cast");
    switch (kind) {
    case ExpressionKind::Boolean: result = ExpressionValue::fromBoolean(value.isTrue()); break;
    case ExpressionKind::Float: result = ExpressionValue::fromDouble(value.toDouble(), width); break;
    case ExpressionKind::Unsigned:
        result = ExpressionValue::fromUnsigned(value.kind == ExpressionKind::Float ? quint64(value.toLongLong()) : quint64(value.integer), width);
        break;
    default:
        result = ExpressionValue::fromSigned(value.kind == ExpressionKind::Float ? value.toLongLong() : value.integer, width);
        break;
    }
    auto location = std::make_shared<DebugLocation>();
    location->type = target;
    return withLocation(result, std::move(location));
}

ExpressionValue DebugExpressionParser::sizeofExpression(const Expression &operand)
{
    const BaseType *type = nullptr;
    try {
        const ExpressionValue place = located(operand);
        type = &static_cast<const PointerType *>(locationOf(place)->type)->target();
    } catch (const ParserException &) {
        type = typeOf(operand.evaluate());
    }
    const qint64 size = type->size();
    if (size < 0)
        fail(QStringLiteral("sizeof of incomplete type ") + type->name());
    return ExpressionValue::fromUnsigned(quint64(size), m_debugger.addressWidth());
}

ExpressionValue DebugExpressionParser::sizeofType(const QString &typeName)
{
    const BaseType *type = parseType(typeName);
    if (!type)
        fail(QStringLiteral("no type named ") + typeName);
    if (type->size() < 0)
        fail(QStringLiteral("sizeof of incomplete type ") + type->name());
    return ExpressionValue::fromUnsigned(quint64(type->size()), m_debugger.addressWidth());
}

// ---- Calls and lines

ExpressionValue DebugExpressionParser::call(const Expression &function, const QList<ExpressionValue> &arguments)
{
    for (const ExpressionValue &argument : arguments) {
        if (!argument.isNumeric())
            fail("numeric argument expected");
    }
    const ExpressionValue callee = function.evaluate();
    const ExpressionValue address = callee.kind == ExpressionKind::Marker ? markerValue(callee) : callee;
    if (!address.isInteger())
        fail("cannot call a value that is no function");
    return m_debugger.callFunction(quint64(address.normalised().integer), arguments);
}

ExpressionValue DebugExpressionParser::addressOfLine(const QString &file, int line)
{
    const quint64 address = m_debugger.addressOfLine(file, line);
    return addressValue(parseType(QStringLiteral("void")), address);
}

// ---- Stores

void DebugExpressionParser::store(const ExpressionValue &value, const DebugLocation &target)
{
    const BaseType *resolved = resolvedType(target.type);
    ExpressionKind kind = ExpressionKind::Signed;
    int width = 0;
    LazyMemoryBlock block(m_debugger, target.address, 1, m_debugger.bigEndian());
    if (resolved && scalarForm(resolved, kind, width)) {
        if (!value.isNumeric())
            fail(QStringLiteral("cannot store a ") + value.typeName() + QStringLiteral(" into ") + target.type->name());
        const ExpressionValue plain = value.normalised();
        if (kind == ExpressionKind::Float) {
            if (width == 4)
                block.putWord(std::bit_cast<quint32>(float(plain.toDouble())), 4);
            else if (width == 8)
                block.putWord(std::bit_cast<quint64>(plain.toDouble()), 8);
            else
                fail(QStringLiteral("cannot store a floating value of %1 bytes").arg(width));
            return;
        }
        const quint64 bits = kind == ExpressionKind::Boolean ? (plain.isTrue() ? 1 : 0)
                             : plain.kind == ExpressionKind::Float ? quint64(plain.toLongLong())
                                                                   : quint64(plain.integer);
        LazyMemoryBlock unit(m_debugger, target.address, target.bitSize > 0 ? target.unitSize : width, m_debugger.bigEndian());
        if (target.bitSize > 0)
            unit.putBits(bits, target.unitSize, target.bitOffset, target.bitSize);
        else
            unit.putWord(bits, width);
        return;
    }
    const qint64 size = resolved ? resolved->size() : -1;
    if (value.kind == ExpressionKind::String && resolved && resolved->kind() == TypeKind::Array && size > 0) {
        // A text goes into a char array with its NUL, cut to the array.
        QByteArray bytes = value.text.toUtf8();
        bytes.append('\0');
        block.write(qMin<qint64>(bytes.size(), size), bytes.constData());
        return;
    }
    const DebugLocation *source = locationOf(value);
    // A struct or array takes a copy of one of the same type, as C assigns them.
    const BaseType *sourceType = source ? resolvedType(source->type) : nullptr;
    if (value.kind == aggregateKind && source->hasAddress && size > 0 && sourceType
        && sourceType->size() == size && sourceType->name() == resolved->name() && size <= (qint64(1) << 24)) {
        QByteArray bytes(qsizetype(size), '\0');
        m_debugger.readMemory(source->address, 1, size, bytes.data());
        block.write(size, bytes.constData());
        return;
    }
    fail(QStringLiteral("cannot store a ") + typeOf(value)->name() + QStringLiteral(" into ") + target.type->name());
}

ExpressionValue DebugExpressionParser::update(const ExpressionValue &value, const ExpressionValue &target)
{
    const DebugLocation *location = locationOf(target);
    if (!location || !location->hasAddress || location->marker)
        fail("can't update a constant");
    const ExpressionValue plain = value.kind == ExpressionKind::Marker ? markerValue(value) : value;
    try {
        store(plain, *location);
    } catch (const MemoryAccessException &exception) {
        fail(exception.message());
    }
    return load(location->type, location->address, location->bitOffset, location->bitSize, location->unitSize);
}

ExpressionValue DebugExpressionParser::markerValue(const ExpressionValue &marker)
{
    const DebugLocation *location = locationOf(marker);
    if (!location || !location->marker)
        return ExpressionValue::fromUnsigned(quint64(marker.integer), marker.width > 0 ? marker.width : 8);
    return location->marker->value();
}

// ---- Operators

// C's pointer arithmetic: a pointer plus or minus an integer moves by elements, and the
// difference of two pointers counts them. The left operand decides, as everywhere.
std::optional<ExpressionValue> DebugExpressionParser::pointerArithmetic(ExpressionOperator op,
                                                                        const ExpressionValue &left,
                                                                        const ExpressionValue &right)
{
    if ((op != ExpressionOperator::Plus && op != ExpressionOperator::Minus) || !left.location)
        return std::nullopt;
    const DebugLocation *location = locationOf(left);
    if (!isPointer(location->type))
        return std::nullopt;
    const auto *pointer = static_cast<const PointerType *>(resolvedType(location->type));
    const qint64 size = pointer->target().size() > 0 ? pointer->target().size() : 1;
    const ExpressionValue a = left.normalised();
    const ExpressionValue b = right.normalised();
    if (op == ExpressionOperator::Minus && right.location && isPointer(locationOf(right)->type))
        return ExpressionValue::fromSigned((a.integer - b.integer) / size, left.width);
    if (!b.isInteger())
        return std::nullopt;
    const qint64 step = qint64(quint64(b.integer) * quint64(size));
    const quint64 moved = op == ExpressionOperator::Plus ? quint64(a.integer) + quint64(step)
                                                         : quint64(a.integer) - quint64(step);
    auto result = std::make_shared<DebugLocation>();
    result->type = location->type;
    return withLocation(ExpressionValue::fromUnsigned(moved, left.width), std::move(result));
}

ExpressionValue DebugExpressionParser::binaryOperation(ExpressionOperator op, const ExpressionValue &left,
                                                       const ExpressionValue &right)
{
    if (left.kind == ExpressionKind::Marker && right.kind == ExpressionKind::Marker) {
        const DebugLocation *a = locationOf(left);
        const DebugLocation *b = locationOf(right);
        if (a && b && a->marker && b->marker) {
            if (op == ExpressionOperator::Eq)
                return ExpressionValue::fromBoolean(a->marker->equals(*b->marker));
            if (op == ExpressionOperator::Ne)
                return ExpressionValue::fromBoolean(!a->marker->equals(*b->marker));
        }
    }
    const ExpressionValue plainLeft = left.kind == ExpressionKind::Marker ? markerValue(left) : left;
    const ExpressionValue plainRight = right.kind == ExpressionKind::Marker ? markerValue(right) : right;
    if (std::optional<ExpressionValue> moved = pointerArithmetic(op, plainLeft, plainRight))
        return *moved;
    return applyOperator(op, plainLeft, plainRight);
}

// ---- Texts

QByteArray DebugExpressionParser::readString(const ExpressionValue &value, qint64 limit)
{
    const DebugLocation *location = locationOf(value);
    const BaseType *resolved = location ? resolvedType(location->type) : nullptr;
    quint64 address = 0;
    qint64 length = limit;
    if (resolved && resolved->kind() == TypeKind::Pointer) {
        address = quint64(value.normalised().integer);
    } else if (resolved && resolved->kind() == TypeKind::Array && location->hasAddress) {
        address = location->address;
        if (resolved->size() >= 0)
            length = qMin(length, resolved->size());
    } else if (value.kind == ExpressionKind::String) {
        return value.text.toUtf8().left(limit);
    } else {
        fail("char pointer or array expected");
    }
    QByteArray text;
    try {
        LazyMemoryBlock block(m_debugger, address, 1, m_debugger.bigEndian());
        block.readString(length, text);
    } catch (const MemoryAccessException &exception) {
        fail(exception.message());
    }
    return text;
}
