#pragma once
#include "foundation/PropertyClass.h"
#include <QList>
#include <QPair>
#include <vector>

// A row that stands for a whole group of settings from a property groups file: its value
// selects one member of the group, and choosing a member sets that member's settings.
class PropertyValueGroupClass : public PropertyClass {
public:
    struct Member {
        QString name;                               // the value that selects it
        QList<QPair<QString, QString>> settings;    // property name, value, in file order
    };

    PropertyValueGroupClass(QString name, QString title, QString defaultValue = {},
                            QString description = {});

    void addMember(Member member);   // also adds the member's name to the choices
    [[nodiscard]] const Member *member(const QString &value) const;
    [[nodiscard]] const std::vector<Member> &members() const { return m_members; }

private:
    std::vector<Member> m_members;
};
