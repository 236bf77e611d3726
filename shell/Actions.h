#pragma once
#include <QHash>
#include <QObject>
#include <QString>
#include <vector>

class VarnelAction;

// The one dictionary of the shell's commands: name to action. Every description and scheme
// refers to an action by the name it was made with. Actions enter it when they are made and
// leave it when they are destroyed; the dictionary does not own them (their Qt parent does).
class Actions : public QObject {
    Q_OBJECT
public:
    explicit Actions(QObject *parent = nullptr);
    ~Actions() override;

    // The instance in force; null before one is made and after it is gone.
    [[nodiscard]] static Actions *instance();

    [[nodiscard]] VarnelAction *find(const QString &name) const { return m_actions.value(name); }
    [[nodiscard]] bool contains(const QString &name) const { return m_actions.contains(name); }
    [[nodiscard]] qsizetype size() const { return m_actions.size(); }
    // Every action, ordered by name, so listings come out the same on every run.
    [[nodiscard]] std::vector<VarnelAction *> sorted() const;

    // VarnelAction's constructor and destructor keep the dictionary; a second action of a name
    // takes the entry over, and only the action in the entry removes it.
    void insert(VarnelAction *action);
    void remove(VarnelAction *action);

private:
    QHash<QString, VarnelAction *> m_actions;
};
