#include "script/host/HostClasses.h"
#include "script/es/ESContext.h"
#include <QMetaEnum>
#include <QMetaProperty>

namespace {

constexpr HostFunctionRow qobjectRows[] = {
    {0, "SetProperty", 2, nullptr, nullptr},
    {1, "GetProperty", 1, nullptr, nullptr},
};

} // namespace

ESQObject::ESQObject(QObject *target, QObject *parent)
    : QObject(parent), HostClass(QStringLiteral("ESQObject"), qobjectRows),
      m_target(target ? target : this)
{
}

bool ESQObject::callHost(int id, ESNativeCall &call)
{
    if (id != 0 && id != 1)
        return false;
    ESContext &context = call.context;
    const QString name = context.toESString(call.argument(0));
    const QMetaObject *meta = m_target->metaObject();
    const int index = meta->indexOfProperty(name.toUtf8().constData());
    if (index < 0)
        context.throwError(QStringLiteral("unknown property: ") + name);
    const QMetaProperty property = meta->property(index);
    if (id == 1) {
        const QVariant value = property.read(m_target);
        if (property.isEnumType()) {
            const char *key = property.enumerator().valueToKey(value.toInt());
            call.setResult(HostArguments::string(context, QString::fromLatin1(key ? key : "")));
        } else if (value.typeId() == QMetaType::Bool) {
            call.setResult(ESValue::boolean(value.toBool()));
        } else if (value.canConvert<double>() && value.typeId() != QMetaType::QString) {
            call.setResult(ESValue::fromNumber(value.toDouble()));
        } else {
            call.setResult(HostArguments::string(context, value.toString()));
        }
        return true;
    }
    const QString text = context.toESString(call.argument(1));
    QVariant value;
    if (property.isEnumType()) {
        bool ok = false;
        const int key = property.enumerator().keyToValue(text.toUtf8().constData(), &ok);
        if (!ok)
            context.throwError(QStringLiteral("invalid enum value: ") + text);
        value = key;
    } else if (property.typeId() == QMetaType::Bool) {
        value = text == QLatin1String("true");
    } else {
        value = text;
    }
    call.setResult(ESValue::boolean(property.isWritable() && property.write(m_target, value)));
    return true;
}
