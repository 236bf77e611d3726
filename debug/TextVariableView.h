#pragma once
#include "debug/VariableListBuilder.h"
#include <QString>
#include <vector>

// One line for a value: `{x=3,y=-4}`, `[1,2,3]`; "{...}" and "[...]" past the depth limit, a
// cut array ends ",...]"; an unreadable member shows `<message>` in its place. Enumerations
// print by name when one matches, pointers in hexadecimal padded to their width.
class TextVariableView : public VariableListBuilder {
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

    const QString &text() const { return m_text; }
    // Starts a new line.
    void clear();
    // Whether anything was left out.
    bool truncated() const { return m_truncated; }

private:
    // The separator and the `name=` in front of an item at the current level.
    void startItem(const QString &name);

    QString m_text;
    int m_depth = 0;
    std::vector<int> m_itemsInLine{0}; // items so far, per open level
    bool m_inline = true;              // aggregates print in place
    bool m_truncated = false;
};
