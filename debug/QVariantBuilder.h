#pragma once
#include "debug/VariableTreeBuilder.h"
#include <QVariant>

// A value as a QVariant tree: structs as maps, arrays as lists, integers, floats, booleans and
// texts as themselves, the rest as VariableTreeBuilder tells.
class QVariantBuilder : public VariableTreeBuilder<QVariant> {
protected:
    QVariant fromText(const QString &text) override { return text; }
    QVariant fromPlain(const ExpressionValue &plain, int width) override;
    QVariant newObject() override { return QVariantMap(); }
    void setMember(QVariant &object, const QString &name, const QVariant &member) override;
    bool isEmptyObject(const QVariant &object) const override;
    QVariant newArray(const std::vector<QVariant> &elements) override;
};
