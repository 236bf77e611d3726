#pragma once
#include <QFrame>
#include <QString>

class QAction;
class QBoxLayout;
class QLabel;

// A row (or column) of small widgets: tool buttons for actions, check boxes, fields, with fixed
// and flexible space between them. Tool bars, dock headers and the panels of a FluentPanel are
// made of strips; a strip may hold further strips.
class WidgetStrip : public QFrame {
    Q_OBJECT
public:
    enum class TitlePlace { Top, Bottom };

    explicit WidgetStrip(Qt::Orientation orientation, QWidget *parent = nullptr);

    [[nodiscard]] Qt::Orientation orientation() const { return m_orientation; }
    // A tool button showing the action; returned so callers can adjust it.
    QWidget *addButton(QAction *action, int stretch = 0);
    void addWidget(QWidget *widget, int stretch = 0);
    void addStretch();
    void addSpacing(int pixels);
    void addSeparator();
    // A caption over the strip (a group) or under it (a ribbon panel); empty hides it.
    void setTitle(const QString &title, TitlePlace place = TitlePlace::Top);
    [[nodiscard]] QString title() const;
    [[nodiscard]] int entryCount() const;

private:
    Qt::Orientation m_orientation;
    QBoxLayout *m_entries;
    QLabel *m_title = nullptr;
};

// The ribbon form of a tool bar: named panels side by side, each a strip with its title under
// it.
class FluentPanel : public QWidget {
    Q_OBJECT
public:
    explicit FluentPanel(QWidget *parent = nullptr);

    // The strip of the panel `name`, made with `title` if it is not there yet.
    WidgetStrip *addPanel(const QString &name, const QString &title);
    [[nodiscard]] WidgetStrip *panel(const QString &name) const;

private:
    QBoxLayout *m_panels;
};
