#pragma once
#include "debug/BaseType.h"
#include "debug/DebugExpressionParser.h"
#include "debug/VariableListBuilder.h"
#include <vector>

// The walk as a tree of values of some other world (a QVariant, a script value): structs become
// objects, arrays lists, numbers and booleans themselves; enumerators that match, pointers and
// markers become their text, as the text view shows them. What the limits cut shows as "{...}"
// or "[...]" in place of a struct or array, "..." at the end of a cut list, and an unreadable
// member as "<message>". A subclass says how its world makes each kind of value.
template <typename Value>
class VariableTreeBuilder : public VariableListBuilder {
public:
    void addValue(const QString &name, Radix radix, const ExpressionValue &value,
                  const DebugLocation *location, int width) override
    {
        add(name, scalar(value, radix, location, width));
    }
    void beginStruct(const QString &name, const ExpressionValue &, const DebugLocation *) override
    {
        m_levels.push_back({name, false, false, newObject(), {}});
    }
    void endStruct() override { close(); }
    void beginArray(const QString &name, const ExpressionValue &, const DebugLocation *) override
    {
        m_levels.push_back({name, true, false, Value(), {}});
    }
    void endArray() override { close(); }
    void beginPointer(const QString &name, const ExpressionValue &value,
                      const DebugLocation *location) override
    {
        addValue(name, Radix::Hexadecimal, value, location, value.width);
    }
    void endPointer() override {}
    void addEllipsis() override
    {
        if (!m_levels.empty())
            m_levels.back().cut = true;
    }
    void addFailure(const QString &name, const QString &message) override
    {
        add(name, fromText(u'<' + message + u'>'));
    }
    void finish() override
    {
        while (!m_levels.empty())
            close();
    }

    // The tree of the last walk.
    const Value &result() const { return m_result; }

protected:
    virtual Value fromText(const QString &text) = 0;
    // A boolean, integer, float or string, already normalised; an unsigned integer's bits are
    // those of `width` bytes.
    virtual Value fromPlain(const ExpressionValue &plain, int width) = 0;
    virtual Value newObject() = 0;
    virtual void setMember(Value &object, const QString &name, const Value &member) = 0;
    virtual bool isEmptyObject(const Value &object) const = 0;
    virtual Value newArray(const std::vector<Value> &elements) = 0;

private:
    struct Level {
        QString name;
        bool isArray;
        bool cut;
        Value object;                // a struct's
        std::vector<Value> elements; // an array's
    };

    Value scalar(const ExpressionValue &value, Radix radix, const DebugLocation *location, int width)
    {
        const ExpressionValue plain = value.normalised();
        const BaseType *resolved = location ? resolvedType(location->type) : nullptr;
        if (resolved && resolved->kind() == TypeKind::Enum && plain.isInteger()) {
            const QString enumerator = static_cast<const EnumType *>(resolved)->nameOf(plain.integer);
            if (!enumerator.isEmpty())
                return fromText(enumerator);
        }
        if (resolved && resolved->kind() == TypeKind::Pointer)
            return fromText(format(value, Radix::Hexadecimal, width));
        if (plain.isNumeric() || plain.kind == ExpressionKind::String)
            return fromPlain(plain, width);
        return fromText(format(value, radix, width));
    }

    void add(const QString &name, const Value &value)
    {
        if (m_levels.empty())
            m_result = value;
        else if (m_levels.back().isArray)
            m_levels.back().elements.push_back(value);
        else
            setMember(m_levels.back().object, name, value);
    }

    void close()
    {
        Level level = std::move(m_levels.back());
        m_levels.pop_back();
        if (level.isArray && level.cut && level.elements.empty()) {
            add(level.name, fromText(QStringLiteral("[...]")));
        } else if (level.isArray) {
            if (level.cut)
                level.elements.push_back(fromText(QStringLiteral("...")));
            add(level.name, newArray(level.elements));
        } else if (level.cut && isEmptyObject(level.object)) {
            add(level.name, fromText(QStringLiteral("{...}")));
        } else {
            add(level.name, level.object);
        }
    }

    std::vector<Level> m_levels;
    Value m_result;
};
