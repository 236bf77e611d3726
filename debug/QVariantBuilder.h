#pragma once
#include "debug/VariableListBuilder.h"
#include <QVariant>
#include <vector>

// A value as a QVariant tree: structs as maps, arrays as lists, integers, floats and booleans
// as themselves; enumerators that match, pointers and markers as text. What the limits cut
// shows as "{...}" or "[...]" in place of a struct or array, "..." at the end of a cut list,
// and an unreadable member as "<message>".
class QVariantBuilder : public VariableListBuilder {
public:
    void addValue(const QString &name, Radix radix, const ExpressionValue &value,
                  const DebugLocation *location, int width) override;
    void beginStruct(const QString &name, const ExpressionValue &value,
                     const DebugLocation *location) override;
    void endStruct() override;
    void beginArray(const QString &name, const ExpressionValue &value,
                    const DebugLocation *location) override;
    void endArray() override;
    void beginPointer(const QString &name, const ExpressionValue &value,
                      const DebugLocation *location) override;
    void endPointer() override;
    void addEllipsis() override;
    void addFailure(const QString &name, const QString &message) override;
    void finish() override;

    // The tree of the last walk.
    const QVariant &result() const { return m_result; }

private:
    struct Level {
        QString name;
        bool isArray = false;
        bool cut = false;
        QVariantMap members;
        QVariantList elements;
    };
    void add(const QString &name, const QVariant &value);
    void close();

    std::vector<Level> m_levels;
    QVariant m_result;
};
