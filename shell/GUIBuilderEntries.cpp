// The entries of a description that are bound to a value: `option` to an environment setting,
// `property` to a property of the active project.
#include "shell/GUIBuilder.h"
#include "foundation/XMLDocument.h"
#include "shell/SchemeFile.h"
#include "shell/SettingsFile.h"
#include "shell/WidgetStrip.h"
#include <QCheckBox>
#include <QSignalBlocker>
#include <QSlider>
#include <QWidgetAction>

void GUIBuilder::bindEntry(BoundEntry entry)
{
    refreshEntry(entry);
    m_entries.push_back(std::move(entry));
}

void GUIBuilder::refreshEntry(const BoundEntry &entry)
{
    QString value;
    bool available = false;
    if (entry.isSetting) {
        available = m_settings != nullptr;
        value = available ? m_settings->value(entry.key) : QString();
    } else {
        available = m_propertyAccess != nullptr;
        value = available ? m_propertyAccess->propertyValue(entry.key) : QString();
    }
    const bool on = value == QLatin1String("Yes");
    if (entry.action) {
        const QSignalBlocker blocker(entry.action);
        entry.action->setChecked(on);
        entry.action->setEnabled(available);
    }
    if (entry.check) {
        const QSignalBlocker blocker(entry.check);
        entry.check->setChecked(on);
        entry.check->setEnabled(available);
    }
    if (entry.slider) {
        const QSignalBlocker blocker(entry.slider);
        entry.slider->setValue(value.toInt());
        entry.slider->setEnabled(available);
    }
}

bool GUIBuilder::addCheck(QObject *parent, const XMLElement *element, const QString &name, const QString &caption,
                          const std::function<void(bool)> &changed, BoundEntry &entry)
{
    if (qobject_cast<WidgetStrip *>(parent)) {
        auto *check = new QCheckBox(caption);
        check->setObjectName(name);
        connect(check, &QCheckBox::toggled, this, changed);
        if (!addWidgetTo(parent, check, element)) {
            delete check;
            return false;
        }
        entry.check = check;
        return true;
    }
    auto *action = new QAction(caption, parent);
    action->setObjectName(name);
    action->setCheckable(true);
    connect(action, &QAction::toggled, this, changed);
    if (!addActionTo(parent, action, element)) {
        delete action;
        return false;
    }
    entry.action = action;
    return true;
}

void GUIBuilder::addOption(QObject *parent, const XMLElement *element)
{
    const QString key = requireName(element);
    if (key.isEmpty())
        return;
    QString caption = attributeString(element, "caption");
    if (caption.isEmpty())
        caption = key.section(u'/', -1);
    BoundEntry entry{true, key, {}, {}, {}};
    const auto store = [this, key](bool on) {
        if (m_settings)
            m_settings->setYes(key, on);
    };
    if (addCheck(parent, element, key, caption, store, entry))
        bindEntry(entry);
}

void GUIBuilder::addProperty(QObject *parent, const XMLElement *element)
{
    const QString name = requireName(element);
    if (name.isEmpty())
        return;
    QString caption = attributeString(element, "caption");
    if (caption.isEmpty())
        caption = name;
    const int index = int(m_entries.size());
    BoundEntry entry{false, name, {}, {}, {}};
    if (attributeString(element, "type") != QLatin1String("integer")) {
        if (addCheck(parent, element, name, caption, [this, index](bool) { booleanPropertyToggled(index); }, entry))
            bindEntry(entry);
        return;
    }
    bool ok = false;
    const int minimum = attributeString(element, "min").toInt(&ok);
    const int low = ok ? minimum : 0;
    const int maximum = attributeString(element, "max").toInt(&ok);
    auto *slider = new QSlider(Qt::Horizontal);
    slider->setObjectName(name);
    slider->setToolTip(caption);
    slider->setRange(low, ok && maximum >= low ? maximum : qMax(low, 100));
    connect(slider, &QSlider::valueChanged, this, [this, index](int value) {
        m_changingEntry = index;
        sliderValueChanged(value);
        m_changingEntry = -1;
    });
    if (!addWidgetTo(parent, slider, element)) {
        delete slider;
        return;
    }
    entry.slider = slider;
    bindEntry(entry);
}

void GUIBuilder::booleanPropertyToggled(int entry)
{
    if (entry < 0 || size_t(entry) >= m_entries.size() || !m_propertyAccess)
        return;
    const BoundEntry &bound = m_entries[size_t(entry)];
    const bool on = bound.action ? bound.action->isChecked() : (bound.check && bound.check->isChecked());
    m_propertyAccess->setPropertyValue(bound.key, on ? QStringLiteral("Yes") : QStringLiteral("No"));
}

void GUIBuilder::sliderValueChanged(int value)
{
    const int entry = m_changingEntry;
    if (entry < 0 || size_t(entry) >= m_entries.size() || !m_propertyAccess)
        return;
    m_propertyAccess->setPropertyValue(m_entries[size_t(entry)].key, QString::number(value));
}

void GUIBuilder::environmentSettingChanged(QString key)
{
    for (const BoundEntry &entry : m_entries) {
        if (entry.isSetting && entry.key == key)
            refreshEntry(entry);
    }
}
