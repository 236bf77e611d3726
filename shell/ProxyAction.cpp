#include "shell/ProxyAction.h"
#include "shell/VarnelAction.h"
#include <QApplication>
#include <QWidget>

ProxyAction::ProxyAction(QObject *parent, VarnelAction *action) : QObject(parent), m_action(action)
{
    connect(action, &VarnelAction::activated, this, &ProxyAction::activated);
}

void ProxyAction::setLocalAction(QWidget *owner, QAction *local)
{
    m_locals.insert(owner, local);
    connect(owner, &QObject::destroyed, this, [this, owner] { m_locals.remove(owner); });
}

QAction *ProxyAction::localAction() const
{
    for (const QWidget *widget = QApplication::focusWidget(); widget; widget = widget->parentWidget()) {
        const auto it = m_locals.constFind(widget);
        if (it != m_locals.cend() && it.value())
            return it.value();
    }
    return nullptr;
}

void ProxyAction::activated()
{
    if (QAction *local = localAction()) {
        if (local->isEnabled())
            local->trigger();
        return;
    }
    if (m_fallback)
        m_fallback();
}
