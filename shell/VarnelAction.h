#pragma once
#include <QAction>
#include <QList>
#include <QPointer>
#include <QString>

// A named command of the shell. Made with a parent, the object it works on, its name and
// whether it toggles; it enters the dictionary of Actions on creation and leaves on
// destruction. Besides QAction's own signals it sends activated() when it runs, so that old
// signature strings such as SIGNAL(activated()) keep connecting.
class VarnelAction : public QAction {
    Q_OBJECT
public:
    VarnelAction(QObject *parent, QObject *target, const QString &name, bool toggle = false);
    ~VarnelAction() override;

    // The object the command works on; null once it is gone, and the action is then disabled.
    [[nodiscard]] QObject *target() const { return m_target; }

    using QAction::activate;

signals:
    void enableChanged();
    void activated();

public slots:
    // Runs the command if it is enabled.
    void activate();
    // A tool button of a toggling action changed state.
    void toolToggled(bool on);
    void objectDestroyed(QObject *object);

private:
    QPointer<QObject> m_target;
};

// An action whose command runs after the event that started it has fully returned, through a
// posted call: a command that closes the window it was chosen from needs that.
class DeferredVarnelAction : public VarnelAction {
    Q_OBJECT
public:
    DeferredVarnelAction(QObject *parent, QObject *target, const QString &name);

signals:
    void deferredActivated();

public slots:
    void onActivated();

private:
    bool m_posted = false;   // one posted run at a time: a double click runs the command once
};

// One place standing for a list of actions: enabled when any member is, and running the
// selected one (the last one run, at first the first member).
class MultiAction : public VarnelAction {
    Q_OBJECT
public:
    MultiAction(QObject *parent, QObject *target, const QString &name);

    void addMember(QAction *action);
    [[nodiscard]] QList<QAction *> members() const;
    [[nodiscard]] QAction *selected() const;
    void select(QAction *action);

public slots:
    void activateSelected();
    void actionEnableChanged();

private:
    QList<QPointer<QAction>> m_members;
    QPointer<QAction> m_selected;
};
