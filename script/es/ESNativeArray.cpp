#include "script/es/ESNativeClass.h"
#include "script/es/ESContext.h"
#include <algorithm>
#include <cmath>

// Where an Array's own properties sit in its vector, so that element access does not scan it.
// Every own slot keyed by an element index below `positions.size()` is listed there (position + 1,
// 0 for none) unless `sparse` says that some index keys were left out; every other own key is
// in `others`. All stores into an Array go through ESNativeArray::put, which keeps this in step.
// A slot emptied by `delete` is noticed on lookup: its key is null and positions are never reused.
struct ESNativeArray::SlotIndex {
    std::vector<std::uint32_t> positions;
    std::vector<std::uint32_t> others;
    bool sparse = false;   // some index key beyond `positions`: a miss there must scan the vector
};

namespace {

// The atoms of the indices up to this count are remembered once made.
constexpr std::uint32_t maxCachedIndexAtoms = 1 << 22;

} // namespace

qint64 ESNativeArray::elementIndex(const ESAtom *key)
{
    return key->element;
}

void ESNativeArray::record(SlotIndex &index, std::size_t propertyCount, std::uint32_t position,
                           const ESAtom *key)
{
    const qint64 element = elementIndex(key);
    if (element < 0) {
        index.others.push_back(position + 1);
        return;
    }
    const std::size_t k = std::size_t(element);
    if (k >= index.positions.size()) {
        // Bounded by the number of properties, so a[4000000000] = 1 allocates nothing.
        const std::size_t bound = 2 * propertyCount + 1024;
        if (k >= bound) {
            index.sparse = true;
            return;
        }
        index.positions.resize(std::min(bound, std::max(k + 1, index.positions.size() * 2)), 0);
    }
    index.positions[k] = position + 1;
}

ESProperty *ESNativeArray::findIndexed(SlotIndex &index, ESObject *object, const ESAtom *atom)
{
    std::vector<ESProperty> &properties = object->properties;
    const qint64 element = elementIndex(atom);
    if (element < 0) {
        for (const std::uint32_t slot : index.others) {
            if (properties[slot - 1].key == atom)
                return &properties[slot - 1];
        }
        return nullptr;
    }
    if (std::size_t(element) < index.positions.size()) {
        const std::uint32_t slot = index.positions[std::size_t(element)];
        if (slot && properties[slot - 1].key == atom)
            return &properties[slot - 1];
    }
    if (!index.sparse)
        return nullptr;
    for (ESProperty &property : properties) {
        if (property.key == atom)
            return &property;
    }
    return nullptr;
}

ESProperty *ESNativeArray::findElement(ESObject *object, std::uint32_t index, const ESAtom *atom)
{
    SlotIndex &table = slotIndex(object);
    if (index < table.positions.size()) {
        const std::uint32_t slot = table.positions[index];
        if (slot && object->properties[slot - 1].key == atom)
            return &object->properties[slot - 1];
    }
    return table.sparse || index >= 0x7fffffff ? findIndexed(table, object, atom) : nullptr;
}

ESProperty *ESNativeArray::ownElement(ESObject *object, std::uint32_t index)
{
    SlotIndex &table = slotIndex(object);
    if (index >= table.positions.size())
        return nullptr;
    const std::uint32_t slot = table.positions[index];
    // A position names the slot of its own index's key; a deleted slot has lost its key.
    if (slot && object->properties[slot - 1].key)
        return &object->properties[slot - 1];
    return nullptr;
}

ESNativeArray::~ESNativeArray() = default;

ESNativeArray::SlotIndex &ESNativeArray::slotIndex(ESObject *object)
{
    if (object->reserved > 0 && std::size_t(object->reserved) <= m_indices.size()) [[likely]]
        return *m_indices[std::size_t(object->reserved - 1)];
    return newSlotIndex(object);
}

ESNativeArray::SlotIndex &ESNativeArray::newSlotIndex(ESObject *object)
{
    auto index = std::make_unique<SlotIndex>();
    const std::vector<ESProperty> &properties = object->properties;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        if (properties[i].key)
            record(*index, properties.size(), std::uint32_t(i), properties[i].key);
    }
    m_indices.push_back(std::move(index));
    object->reserved = std::int32_t(m_indices.size());
    return *m_indices.back();
}

ESProperty *ESNativeArray::findOwn(ESObject *object, const ESAtom *atom)
{
    return findIndexed(slotIndex(object), object, atom);
}

void ESNativeArray::append(ESObject *object, SlotIndex &index, ESAtom *atom, ESValue value)
{
    std::vector<ESProperty> &properties = object->properties;
    properties.push_back(ESProperty{atom, 0, 0, value});
    record(index, properties.size(), std::uint32_t(properties.size() - 1), atom);
}

// Empties every index slot from the new length up to the old length minus one.
void ESNativeArray::truncate(ESObject *object, SlotIndex &index, double oldLength, double newLength)
{
    if (!(newLength < oldLength))
        return;
    std::vector<ESProperty> &properties = object->properties;
    if (!index.sparse && oldLength - newLength <= double(index.positions.size())) {
        const std::size_t end = std::size_t(std::min(oldLength, double(index.positions.size())));
        for (std::size_t k = std::size_t(newLength); k < end; ++k) {
            if (index.positions[k])
                properties[index.positions[k] - 1] = ESProperty{};
            index.positions[k] = 0;
        }
        return;
    }
    // A scan of the vector rather than a walk over the indices: a huge old length costs nothing.
    for (ESProperty &property : properties) {
        if (!property.key)
            continue;
        const qint64 k = elementIndex(property.key);
        if (k >= 0 && double(k) >= newLength && double(k) < oldLength)
            property = ESProperty{};
    }
}

ESAtom *ESNativeArray::indexAtom(ESContext &context, double index)
{
    if (index >= double(m_indexAtoms.size())) {
        if (index >= double(maxCachedIndexAtoms))
            return context.valueToAtom(ESValue::fromNumber(index));
        const std::size_t size = std::size_t(index) + 1;
        while (m_indexAtoms.size() < size)
            m_indexAtoms.push_back(context.valueToAtom(ESValue::fromNumber(double(m_indexAtoms.size()))));
    }
    return m_indexAtoms[std::size_t(index)];
}

ESObject *ESNativeArray::newArray(ESContext &context, const std::vector<ESValue> &values)
{
    ESObject *array = context.newObject(context.arrayPrototype, this);
    array->properties.reserve(values.size() + 1);
    SlotIndex &index = slotIndex(array);
    append(array, index, context.names().length, ESValue::fromNumber(double(values.size())));
    for (std::size_t i = 0; i < values.size(); ++i)
        append(array, index, indexAtom(context, double(i)), values[i]);
    return array;
}

ESValue ESNativeArray::get(ESContext &, ESObject *object, ESAtom *atom)
{
    if (const ESProperty *own = findOwn(object, atom))
        return own->value;
    return defaultGet(object->prototype, atom);
}

void ESNativeArray::put(ESContext &context, ESObject *object, ESAtom *atom, ESValue value)
{
    const auto store = [&](ESAtom *key, ESValue stored) {
        SlotIndex &index = slotIndex(object);
        if (ESProperty *own = findIndexed(index, object, key)) {
            if (!(own->flags & ESPropertyFlag::ReadOnly))
                own->value = stored;
            return;
        }
        append(object, index, key, stored);
    };
    const auto ownLength = [&] {
        const ESProperty *own = findOwn(object, context.names().length);
        return own ? context.toNumber(own->value) : 0.0;
    };
    ESAtom *const length = context.names().length;
    if (atom == length) {
        const double oldLength = ownLength();
        store(atom, value);
        const double newLength = ESContext::toUint32(context.toNumber(value));
        truncate(object, slotIndex(object), oldLength, newLength);
        store(atom, ESValue::fromNumber(newLength));
        return;
    }
    store(atom, value);
    const qint64 index = elementIndex(atom);
    if (index >= 0 && double(index) >= ownLength())
        store(length, ESValue::fromNumber(double(index + 1)));
}

namespace {

// The elements of any object seen through get and put, as the generic array methods use them;
// an Array instance is read through its slot index.
class Elements {
public:
    Elements(ESContext &context, ESObject *object)
        : context(context), object(object),
          array(context.isArray(object) ? context.arrayClass.get() : nullptr)
    {
    }

    ESAtom *atom(double index) const { return context.arrayClass->indexAtom(context, index); }
    double length() const
    {
        return ESContext::toUint32(context.toNumber(context.get(object, context.names().length)));
    }
    void setLength(double length) const
    {
        context.put(object, context.names().length, ESValue::fromNumber(length));
    }
    ESValue get(ESAtom *key) const { return context.get(object, key); }
    ESValue get(double index) const
    {
        if (const ESProperty *own = ownElement(index))
            return own->value;
        return get(atom(index));
    }
    // An Array's own element found by its index alone, or null (see ESNativeArray::ownElement).
    ESProperty *ownElement(double index) const
    {
        return array && index < 4294967295.0 ? array->ownElement(object, std::uint32_t(index))
                                              : nullptr;
    }
    void put(ESAtom *key, ESValue value) const { context.put(object, key, value); }
    void put(double index, ESValue value) const { put(atom(index), value); }
    bool has(ESAtom *key) const
    {
        if (!array)
            return ESContext::hasInChain(object, key);
        return array->findOwn(object, key) || ESContext::hasInChain(object->prototype, key);
    }
    // Reads an element and tells whether it is there at all.
    bool read(ESAtom *key, ESValue &value) const
    {
        if (array) {
            if (const ESProperty *own = array->findOwn(object, key)) {
                value = own->value;
                return true;
            }
        }
        if (!has(key))
            return false;
        value = get(key);
        return true;
    }
    void remove(ESAtom *key) const
    {
        ESProperty *own = array ? array->findOwn(object, key) : nullptr;
        if (own && !(own->flags & ESPropertyFlag::DontDelete))
            *own = ESProperty{};
        else if (!own)
            ESContext::deleteOwn(object, key);
    }
    // Copies element `from` to `to`, or deletes `to` when `from` is absent.
    void move(double from, double to) const
    {
        ESValue value;
        if (read(atom(from), value))
            put(to, value);
        else
            remove(atom(to));
    }
    void checkWalk(double length, const char *method) const
    {
        // Whole-array walks (join, sort, reverse, concat, ...) stop with a RangeError beyond
        // the context's limit, so that a length such as 4294967295 never hangs.
        if (length > context.limits.walkLength) {
            context.throwRangeError(QStringLiteral("array too long for Array.prototype.")
                                    + QLatin1String(method));
        }
    }

    ESContext &context;
    ESObject *const object;
    ESNativeArray *const array;
};

Elements thisElements(ESNativeCall &call)
{
    return Elements(call.context, call.context.toObject(call.thisValue));
}

ESObject *newEmptyArray(ESContext &context)
{
    ESObject *array = context.newObject(context.arrayPrototype, context.arrayClass.get());
    context.put(array, context.names().length, ESValue::fromNumber(0));
    return array;
}

ESObject *arrayConstruct(ESNativeCall &call)
{
    ESContext &context = call.context;
    if (call.argumentCount == 1 && call.arguments[0].isNumber()) {
        const double length = call.arguments[0].number;
        if (double(ESContext::toUint32(length)) != length)
            context.throwRangeError(QStringLiteral("bad length in array constructor"));
        ESObject *array = context.newObject(context.arrayPrototype, context.arrayClass.get());
        context.put(array, context.names().length, ESValue::fromNumber(length));
        return array;
    }
    return context.newArray(call.argumentCount, call.arguments);
}

void arrayCall(ESNativeCall &call)
{
    call.setResult(ESValue::fromObject(arrayConstruct(call)));
}

QString joinElements(const Elements &elements, const QString &separator)
{
    ESContext &context = elements.context;
    context.checkNativeStack();   // an array that holds itself recurses through toString
    const double length = elements.length();
    elements.checkWalk(length, "join");
    if (length > 1 && (length - 1) * double(separator.size()) > double(context.limits.textLength))
        context.throwRangeError(QStringLiteral("string too long"));
    QString text;
    for (double i = 0; i < length; ++i) {
        if (i > 0)
            text += separator;
        const ESValue value = elements.get(i);
        if (value.isString())
            text += ESContext::textView(value);
        else if (value.tag != ESTag::Undefined && value.tag != ESTag::Null)
            text += context.toESString(value);
        if (text.size() > context.limits.textLength)
            context.throwRangeError(QStringLiteral("string too long"));
    }
    return text;
}

void setText(ESNativeCall &call, const QString &text)
{
    call.setResult(ESContext::newString(text));
}

void toString(ESNativeCall &call)
{
    ESContext &context = call.context;
    if (!call.thisValue.isObject() || !call.thisValue.object || !context.isArray(call.thisValue.object))
        context.throwTypeError(QStringLiteral("Array.prototype.toString requires an array"));
    setText(call, joinElements(Elements(context, call.thisValue.object), QStringLiteral(",")));
}

void join(ESNativeCall &call)
{
    const Elements elements = thisElements(call);
    const ESValue separator = call.argument(0);
    setText(call, joinElements(elements, separator.isUndefined()
                                             ? QStringLiteral(",")
                                             : call.context.toESString(separator)));
}

void concat(ESNativeCall &call)
{
    ESContext &context = call.context;
    const Elements self = thisElements(call);
    const Elements result(context, newEmptyArray(context));
    double count = 0;
    for (int i = -1; i < call.argumentCount; ++i) {
        const ESValue item = i < 0 ? ESValue::fromObject(self.object) : call.arguments[i];
        if (!item.isObject() || !item.object || !context.isArray(item.object)) {
            result.checkWalk(count + 1, "concat");
            result.put(count++, item);
            continue;
        }
        const Elements source(context, item.object);
        const double length = source.length();
        result.checkWalk(count + length, "concat");
        for (double k = 0; k < length; ++k, ++count) {
            ESValue value;
            if (source.read(source.atom(k), value))
                result.put(count, value);
        }
    }
    result.setLength(count);
    call.setResult(ESValue::fromObject(result.object));
}

void pop(ESNativeCall &call)
{
    const Elements elements = thisElements(call);
    const double length = elements.length();
    if (length == 0) {
        elements.setLength(0);
        call.setResult(ESValue::undefined());
        return;
    }
    const ESValue last = elements.get(length - 1);
    elements.remove(elements.atom(length - 1));
    elements.setLength(length - 1);
    call.setResult(last);
}

void push(ESNativeCall &call)
{
    const Elements elements = thisElements(call);
    double length = elements.length();
    for (int i = 0; i < call.argumentCount; ++i)
        elements.put(length++, call.arguments[i]);
    elements.setLength(length);
    call.setResult(ESValue::fromNumber(double(ESContext::toUint32(length))));
}

void reverse(ESNativeCall &call)
{
    const Elements elements = thisElements(call);
    const double length = elements.length();
    elements.checkWalk(length, "reverse");
    for (double lower = 0, upper = length - 1; lower < upper; ++lower, --upper) {
        ESAtom *const lowerAtom = elements.atom(lower);
        ESAtom *const upperAtom = elements.atom(upper);
        ESValue lowerValue;
        ESValue upperValue;
        const bool hasLower = elements.read(lowerAtom, lowerValue);
        const bool hasUpper = elements.read(upperAtom, upperValue);
        if (hasUpper)
            elements.put(lowerAtom, upperValue);
        else
            elements.remove(lowerAtom);
        if (hasLower)
            elements.put(upperAtom, lowerValue);
        else
            elements.remove(upperAtom);
    }
    call.setResult(ESValue::fromObject(elements.object));
}

void shift(ESNativeCall &call)
{
    const Elements elements = thisElements(call);
    const double length = elements.length();
    if (length == 0) {
        elements.setLength(0);
        call.setResult(ESValue::undefined());
        return;
    }
    elements.checkWalk(length, "shift");
    const ESValue first = elements.get(0.0);
    for (double k = 1; k < length; ++k)
        elements.move(k, k - 1);
    elements.remove(elements.atom(length - 1));
    elements.setLength(length - 1);
    call.setResult(first);
}

// A relative position: negative counts from the end; the result lies in 0..length.
double relativeIndex(ESContext &context, ESValue value, double length, double absent)
{
    if (value.isUndefined())
        return absent;
    const double position = ESContext::toInteger(context.toNumber(value));
    return position < 0 ? std::max(length + position, 0.0) : std::min(position, length);
}

void slice(ESNativeCall &call)
{
    ESContext &context = call.context;
    const Elements elements = thisElements(call);
    const double length = elements.length();
    const double start = relativeIndex(context, call.argument(0), length, 0);
    const double end = relativeIndex(context, call.argument(1), length, length);
    const Elements result(context, newEmptyArray(context));
    result.checkWalk(end - start, "slice");
    double count = 0;
    for (double k = start; k < end; ++k, ++count) {
        ESValue value;
        if (elements.read(elements.atom(k), value))
            result.put(count, value);
    }
    result.setLength(count);
    call.setResult(ESValue::fromObject(result.object));
}

// Shell sort over get and put, with the element being inserted held in hand; see sort().
class Sorter {
public:
    Sorter(const Elements &elements, ESObject *compare, std::uint32_t length)
        : m_elements(elements), m_compare(compare), m_length(length)
    {
    }

    void sort()
    {
        if (m_length < 2)
            return;
        for (std::uint32_t gap = (m_length + 3) / 5; gap >= 1; gap = gap == 1 ? 0 : (gap + 1) / 3) {
            for (std::uint32_t start = 0; start < gap; ++start) {
                for (std::uint32_t i = start + gap; i < m_length; i += gap)
                    insert(i, gap);
            }
        }
    }

private:
    struct Slot {
        bool present = false;
        ESValue value;
    };

    ESAtom *atom(std::uint32_t index) const { return m_elements.atom(double(index)); }
    // An Array's own elements are read and overwritten in place, the rest through get and put.
    Slot read(std::uint32_t index) const
    {
        if (const ESProperty *own = m_elements.ownElement(index))
            return Slot{true, own->value};
        Slot slot;
        slot.present = m_elements.read(atom(index), slot.value);
        return slot;
    }
    void write(std::uint32_t index, const Slot &slot) const
    {
        if (!slot.present) {
            m_elements.remove(atom(index));
            return;
        }
        ESProperty *own = m_elements.ownElement(index);
        if (own && !(own->flags & ESPropertyFlag::ReadOnly) && double(index) < m_elements.length())
            own->value = slot.value;
        else
            m_elements.put(atom(index), slot.value);
    }

    // Whether `left` belongs after `right`: absent elements go to the end.
    bool after(const Slot &left, const Slot &right) const
    {
        if (!left.present || !right.present)
            return !left.present && right.present;
        ESContext &context = m_elements.context;
        if (!m_compare)
            return context.toESString(left.value).compare(context.toESString(right.value)) > 0;
        const ESValue arguments[2] = {left.value, right.value};
        ESValue result;
        context.callFunction(m_compare, ESValue::fromObject(m_elements.object), 2, arguments, result);
        return context.toNumber(result) > 0;
    }

    // One insertion step by `gap`. A comparison that throws leaves the element in hand at the
    // hole it was moving, so the array still holds every element once.
    void insert(std::uint32_t i, std::uint32_t gap) const
    {
        const Slot hand = read(i);
        std::uint32_t j = i;
        try {
            while (j >= gap) {
                const Slot previous = read(j - gap);
                if (!after(previous, hand))
                    break;
                write(j, previous);
                j -= gap;
            }
        } catch (const ESException &) {
            if (j != i)
                write(j, hand);
            throw;
        }
        if (j != i)
            write(j, hand);
    }

    const Elements &m_elements;
    ESObject *const m_compare;
    const std::uint32_t m_length;
};

void sort(ESNativeCall &call)
{
    ESContext &context = call.context;
    const ESValue compare = call.argument(0);
    if (!compare.isUndefined()
        && (!compare.isObject() || !compare.object || !compare.object->functionInfo))
        context.throwError(QStringLiteral("Array.prototype.sort argument is not a function"));
    const Elements elements = thisElements(call);
    const double length = elements.length();
    elements.checkWalk(length, "sort");
    Sorter sorter(elements, compare.isUndefined() ? nullptr : compare.object,
                         std::uint32_t(length));
    sorter.sort();
    call.setResult(ESValue::fromObject(elements.object));
}

constexpr ESNativeFunctionRow rows[] = {
    {"Array", 1, 0, ESNativeRowFlag::Constructor, nullptr, arrayCall, arrayConstruct},
    {"toString", 0, 2, ESNativeRowFlag::Method, nullptr, toString, nullptr},
    {"toLocaleString", 0, 3, ESNativeRowFlag::Method, nullptr, toString, nullptr},
    {"concat", 0, 4, ESNativeRowFlag::Method, nullptr, concat, nullptr},
    {"join", 1, 5, ESNativeRowFlag::Method, nullptr, join, nullptr},
    {"pop", 0, 6, ESNativeRowFlag::Method, nullptr, pop, nullptr},
    {"push", 0, 7, ESNativeRowFlag::Method, nullptr, push, nullptr},
    {"reverse", 0, 8, ESNativeRowFlag::Method, nullptr, reverse, nullptr},
    {"shift", 0, 9, ESNativeRowFlag::Method, nullptr, shift, nullptr},
    {"slice", 2, 10, ESNativeRowFlag::Method, nullptr, slice, nullptr},
    {"sort", 1, 11, ESNativeRowFlag::Method, nullptr, sort, nullptr},
};

} // namespace

ESNativeArray::ESNativeArray() : ESNativeClass(QStringLiteral("Array"), QStringLiteral("Array"), rows)
{
}

void ESNativeArray::initialise(ESContext &context)
{
    installFunctions(context, context.arrayPrototype);
}
