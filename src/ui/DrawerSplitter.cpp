// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/DrawerSplitter.h"

#include "platform/Preferences.h"
#include "ui/Accessibility.h"
#include "ui/Theme.h"

#include <QEvent>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>

namespace moorix {

namespace {

constexpr int edgeHeight = 5;
/// A row of the list.
constexpr int step = 24;
constexpr int longStep = 4 * step;

class DrawerEdge final : public QSplitterHandle
{
public:
    explicit DrawerEdge(DrawerSplitter &splitter)
        : QSplitterHandle(Qt::Vertical, &splitter)
        , m_splitter(splitter)
    {
        setFocusPolicy(Qt::TabFocus);
        setAttribute(Qt::WA_Hover);
    }

protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        const int height = m_splitter.sizes().constLast();
        switch (event->key()) {
        case Qt::Key_Up:
            return m_splitter.setDrawerHeight(height + step);
        case Qt::Key_Down:
            return m_splitter.setDrawerHeight(height - step);
        case Qt::Key_PageUp:
            return m_splitter.setDrawerHeight(height + longStep);
        case Qt::Key_PageDown:
            return m_splitter.setDrawerHeight(height - longStep);
        case Qt::Key_Home:
            return m_splitter.setDrawerHeight(m_splitter.height());
        case Qt::Key_End:
            return m_splitter.setDrawerHeight(DrawerSplitter::leastHeight);
        default:
            QSplitterHandle::keyPressEvent(event);
        }
    }

    void mouseDoubleClickEvent(QMouseEvent *) override { m_splitter.setDrawerHeight(DrawerSplitter::usualHeight); }

    void focusInEvent(QFocusEvent *event) override
    {
        QSplitterHandle::focusInEvent(event);
        update();
    }

    void focusOutEvent(QFocusEvent *event) override
    {
        QSplitterHandle::focusOutEvent(event);
        update();
    }

    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), Theme::color(Theme::Color::sidebar));
        if (hasFocus() || underMouse())
            painter.fillRect(rect(), Theme::color(Theme::Color::accent));
        else
            painter.fillRect(QRect(0, 0, width(), 1), Theme::color(Theme::Color::border));
    }

private:
    DrawerSplitter &m_splitter;
};

} // namespace

DrawerSplitter::DrawerSplitter(QWidget &content, QWidget &drawer, const QString &edgeName, Preferences &preferences,
                               const QString &key, QWidget *parent)
    : QSplitter(Qt::Vertical, parent)
    , m_content(content)
    , m_drawer(drawer)
    , m_preferences(preferences)
    , m_key(key)
    , m_height(std::clamp(preferences.value(key).toInt(usualHeight), leastHeight, 4000))
{
    setObjectName(QStringLiteral("drawerSplitter"));
    setHandleWidth(edgeHeight);
    addWidget(&content);
    addWidget(&drawer);
    Accessibility::readInOrder(*this);
    setChildrenCollapsible(false);
    setStretchFactor(0, 1);
    setStretchFactor(1, 0);
    drawer.setMinimumHeight(leastHeight);
    drawer.installEventFilter(this);
    handle(1)->setAccessibleName(edgeName);
    handle(1)->setToolTip(tr("Drag, or move with the arrow keys; a double click brings back the usual height"));
    connect(this, &QSplitter::splitterMoved, this, [this] { setDrawerHeight(m_drawer.height()); });
}

QSplitterHandle *DrawerSplitter::createHandle()
{
    return new DrawerEdge(*this);
}

/// The drawer never takes more than two thirds, nor what others need.
int DrawerSplitter::mostHeight() const
{
    const int room = height() - edgeHeight;
    return std::max(leastHeight, std::min(room * 2 / 3, room - m_content.minimumSizeHint().height()));
}

void DrawerSplitter::setDrawerHeight(int height)
{
    m_height = std::clamp(height, leastHeight, mostHeight());
    m_preferences.setValue(m_key, m_height);
    fit();
}

void DrawerSplitter::fit()
{
    m_drawer.setMaximumHeight(mostHeight());
    if (m_drawer.isHidden())
        return;
    const int shown = std::min(m_height, mostHeight());
    setSizes({height() - edgeHeight - shown, shown});
}

bool DrawerSplitter::event(QEvent *event)
{
    const bool isDone = QSplitter::event(event);
    if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest)
        fit();
    return isDone;
}

bool DrawerSplitter::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == &m_drawer && event->type() == QEvent::Show)
        fit();
    return QSplitter::eventFilter(watched, event);
}

} // namespace moorix
