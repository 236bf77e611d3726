#include "shell/VarnelAction.h"
#include "shell/Actions.h"
#include <QMetaObject>

VarnelAction::VarnelAction(QObject *parent, QObject *target, const QString &name, bool toggle)
    : QAction(parent), m_target(target)
{
    setObjectName(name);
    setCheckable(toggle);
    if (Actions *actions = Actions::instance())
        actions->insert(this);
    connect(this, &QAction::enabledChanged, this, &VarnelAction::enableChanged);
    connect(this, &QAction::triggered, this, &VarnelAction::activated);
    if (target)
        connect(target, &QObject::destroyed, this, &VarnelAction::objectDestroyed);
}

VarnelAction::~VarnelAction()
{
    if (Actions *actions = Actions::instance())
        actions->remove(this);
}

void VarnelAction::activate()
{
    if (isEnabled())
        trigger();
}

void VarnelAction::toolToggled(bool on)
{
    if (!isCheckable() || isChecked() == on || !isEnabled())
        return;
    // trigger() flips the state and sends toggled() and triggered(), as a click would.
    trigger();
}

void VarnelAction::objectDestroyed(QObject *object)
{
    if (object != m_target && m_target)
        return;
    m_target = nullptr;
    setEnabled(false);
}

DeferredVarnelAction::DeferredVarnelAction(QObject *parent, QObject *target, const QString &name)
    : VarnelAction(parent, target, name)
{
    connect(this, &QAction::triggered, this, [this] {
        if (m_posted)
            return;
        m_posted = true;
        QMetaObject::invokeMethod(this, &DeferredVarnelAction::onActivated, Qt::QueuedConnection);
    });
}

void DeferredVarnelAction::onActivated()
{
    m_posted = false;
    emit deferredActivated();
}

MultiAction::MultiAction(QObject *parent, QObject *target, const QString &name)
    : VarnelAction(parent, target, name)
{
    setEnabled(false);
    connect(this, &QAction::triggered, this, &MultiAction::activateSelected);
}

void MultiAction::addMember(QAction *action)
{
    if (!action || m_members.contains(action))
        return;
    m_members.append(action);
    if (!m_selected)
        m_selected = action;
    connect(action, &QAction::enabledChanged, this, &MultiAction::actionEnableChanged);
    connect(action, &QAction::triggered, this, [this, action] { select(action); });
    connect(action, &QObject::destroyed, this, &MultiAction::actionEnableChanged, Qt::QueuedConnection);
    actionEnableChanged();
}

QList<QAction *> MultiAction::members() const
{
    QList<QAction *> result;
    for (const QPointer<QAction> &member : m_members) {
        if (member)
            result.append(member);
    }
    return result;
}

QAction *MultiAction::selected() const
{
    return m_selected;
}

void MultiAction::select(QAction *action)
{
    if (m_members.contains(action))
        m_selected = action;
}

void MultiAction::activateSelected()
{
    QAction *run = m_selected;
    // The selected member may be disabled while another is not: run the first one that works.
    if (!run || !run->isEnabled()) {
        run = nullptr;
        for (QAction *member : members()) {
            if (member->isEnabled()) {
                run = member;
                break;
            }
        }
    }
    if (run)
        run->trigger();
}

void MultiAction::actionEnableChanged()
{
    bool any = false;
    for (QAction *member : members())
        any = any || member->isEnabled();
    setEnabled(any);
}
