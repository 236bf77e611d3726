#include "shell/WidgetStrip.h"
#include <QAction>
#include <QBoxLayout>
#include <QLabel>
#include <QToolButton>

WidgetStrip::WidgetStrip(Qt::Orientation orientation, QWidget *parent)
    : QFrame(parent), m_orientation(orientation)
{
    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(2, 1, 2, 1);
    outer->setSpacing(1);
    m_entries = new QBoxLayout(orientation == Qt::Horizontal ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    m_entries->setContentsMargins(0, 0, 0, 0);
    m_entries->setSpacing(2);
    outer->addLayout(m_entries, 1);
}

QWidget *WidgetStrip::addButton(QAction *action, int stretch)
{
    auto *button = new QToolButton(this);
    button->setDefaultAction(action);
    button->setAutoRaise(true);
    button->setToolButtonStyle(Qt::ToolButtonFollowStyle);
    button->setObjectName(action->objectName());
    m_entries->addWidget(button, stretch);
    return button;
}

void WidgetStrip::addWidget(QWidget *widget, int stretch)
{
    widget->setParent(this);
    m_entries->addWidget(widget, stretch);
    widget->show();
}

void WidgetStrip::addStretch()
{
    m_entries->addStretch(1);
}

void WidgetStrip::addSpacing(int pixels)
{
    m_entries->addSpacing(pixels);
}

void WidgetStrip::addSeparator()
{
    auto *line = new QFrame(this);
    line->setFrameShape(m_orientation == Qt::Horizontal ? QFrame::VLine : QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    m_entries->addWidget(line);
}

void WidgetStrip::setTitle(const QString &title, TitlePlace place)
{
    if (!m_title) {
        m_title = new QLabel(this);
        m_title->setAlignment(Qt::AlignCenter);
        QFont small = m_title->font();
        small.setPointSizeF(small.pointSizeF() * 0.9);
        m_title->setFont(small);
    }
    auto *outer = static_cast<QVBoxLayout *>(layout());
    outer->removeWidget(m_title);
    outer->insertWidget(place == TitlePlace::Top ? 0 : outer->count(), m_title);
    m_title->setText(title);
    m_title->setVisible(!title.isEmpty());
}

QString WidgetStrip::title() const
{
    return m_title ? m_title->text() : QString();
}

int WidgetStrip::entryCount() const
{
    return m_entries->count();
}

FluentPanel::FluentPanel(QWidget *parent) : QWidget(parent)
{
    m_panels = new QHBoxLayout(this);
    m_panels->setContentsMargins(2, 2, 2, 2);
    m_panels->setSpacing(4);
    m_panels->addStretch(1);
}

WidgetStrip *FluentPanel::addPanel(const QString &name, const QString &title)
{
    if (WidgetStrip *existing = panel(name)) {
        if (!title.isEmpty())
            existing->setTitle(title, WidgetStrip::TitlePlace::Bottom);
        return existing;
    }
    auto *strip = new WidgetStrip(Qt::Horizontal, this);
    strip->setObjectName(name);
    strip->setFrameShape(QFrame::StyledPanel);
    strip->setTitle(title, WidgetStrip::TitlePlace::Bottom);
    // In front of the closing stretch, so panels stay in the order they were made.
    m_panels->insertWidget(m_panels->count() - 1, strip);
    return strip;
}

WidgetStrip *FluentPanel::panel(const QString &name) const
{
    for (int i = 0; i < m_panels->count(); ++i) {
        auto *strip = qobject_cast<WidgetStrip *>(m_panels->itemAt(i)->widget());
        if (strip && strip->objectName() == name)
            return strip;
    }
    return nullptr;
}
