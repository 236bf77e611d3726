#pragma once
#include <QHash>
#include <QObject>
#include <QPointer>
#include <functional>

class QAction;
class QWidget;
class VarnelAction;

// Forwards one command of the window to the action in force for the focused window: a widget
// that handles the command itself (a log's Copy, a line edit's Select All) registers its own
// action here, and the command reaches it while the focus is inside that widget. Otherwise the
// fallback (the focused editor's command) runs.
class ProxyAction : public QObject {
    Q_OBJECT
public:
    // Listens to `action`, which stays owned by its parent.
    ProxyAction(QObject *parent, VarnelAction *action);

    [[nodiscard]] VarnelAction *action() const { return m_action; }

    // `local` answers the command while the focus is in `owner` or a widget inside it; the entry
    // goes when either is destroyed.
    void setLocalAction(QWidget *owner, QAction *local);
    // What runs when no local action is in force; false when it could not run.
    void setFallback(std::function<bool()> fallback) { m_fallback = std::move(fallback); }

    // The local action for the focused widget, or null.
    [[nodiscard]] QAction *localAction() const;

public slots:
    void activated();

private:
    QPointer<VarnelAction> m_action;
    QHash<const QWidget *, QPointer<QAction>> m_locals;
    std::function<bool()> m_fallback;
};
