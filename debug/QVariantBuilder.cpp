#include "debug/QVariantBuilder.h"

QVariant QVariantBuilder::fromPlain(const ExpressionValue &plain, int width)
{
    switch (plain.kind) {
    case ExpressionKind::Boolean: return plain.integer != 0;
    case ExpressionKind::Signed: return plain.integer;
    case ExpressionKind::Unsigned:
        return quint64(plain.integer) & (width >= 8 || width <= 0 ? ~quint64(0) : (quint64(1) << (width * 8)) - 1);
    case ExpressionKind::Float: return plain.floating;
    default: return plain.text;
    }
}

void QVariantBuilder::setMember(QVariant &object, const QString &name, const QVariant &member)
{
    // In place: the map is the variant's own, so a struct of many members is not copied anew.
    static_cast<QVariantMap *>(object.data())->insert(name, member);
}

bool QVariantBuilder::isEmptyObject(const QVariant &object) const
{
    return static_cast<const QVariantMap *>(object.constData())->isEmpty();
}

QVariant QVariantBuilder::newArray(const std::vector<QVariant> &elements)
{
    return QVariantList(elements.begin(), elements.end());
}
