// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/Breadcrumbs.h"

#include "files/Format.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/pane/FileDrop.h"

#include <QDropEvent>
#include <QEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

/// Room for the "›" between two folders.
constexpr int gap = 9;

/// Button and menu texts take "&" for the mark of a mnemonic.
QString plainText(const QString &name)
{
    return Format::display(name).replace(u'&', u"&&"_s);
}

QToolButton *makeButton(const QString &text, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setProperty("role", u"crumb"_s);
    button->setText(text);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

} // namespace

Breadcrumbs::Breadcrumbs(QWidget *parent)
    : QWidget(parent)
    , m_more(makeButton(u"…"_s, this))
{
    setObjectName(u"breadcrumbs"_s);
    setCursor(Qt::IBeamCursor);
    m_more->setCursor(Qt::ArrowCursor);
    m_more->setToolTip(tr("Folders above"));
    m_more->hide();
    connect(m_more, &QToolButton::clicked, this, &Breadcrumbs::showHiddenOnes);
}

void Breadcrumbs::setComponents(const QList<PathComponent> &components)
{
    if (components == m_components)
        return;
    m_components = components;
    for (QToolButton *button : std::as_const(m_buttons))
        button->deleteLater();
    m_buttons.clear();
    for (const PathComponent &component : components) {
        QToolButton *button = makeButton(plainText(component.name), this);
        button->setCursor(Qt::ArrowCursor);
        button->setToolTip(Widgets::toolTip(Format::display(component.path)));
        connect(button, &QToolButton::clicked, this, [this, path = component.path] { emit componentClicked(path); });
        m_buttons.append(button);
    }
    arrange();
}

QSize Breadcrumbs::sizeHint() const
{
    return {240, m_more->sizeHint().height()};
}

QSize Breadcrumbs::minimumSizeHint() const
{
    return {80, m_more->sizeHint().height()};
}

/// The folder shown stays in sight, with both ends of its name where there is no room for all of it.
void Breadcrumbs::shortenLast()
{
    QToolButton &last = *m_buttons.constLast();
    const QString name = Format::display(m_components.constLast().name);
    last.setAccessibleName(name);
    const int around = last.sizeHint().width() - last.fontMetrics().horizontalAdvance(name);
    const int besides = m_buttons.size() > 1 ? m_more->sizeHint().width() + gap : 0;
    last.setText(
        plainText(last.fontMetrics().elidedText(name, Qt::ElideMiddle, std::max(width() - besides - around, 40))));
}

void Breadcrumbs::arrange()
{
    if (!m_buttons.isEmpty()) {
        m_buttons.constLast()->setText(plainText(m_components.constLast().name));
        if (m_buttons.constLast()->sizeHint().width() + m_more->sizeHint().width() + gap > width())
            shortenLast();
    }
    m_first = m_buttons.size();
    int used = 0;
    while (m_first > 0) {
        const int needed = used + m_buttons.at(m_first - 1)->sizeHint().width() + gap;
        const int reserved = m_first > 1 ? m_more->sizeHint().width() + gap : 0;
        if (needed + reserved > width() && m_first < m_buttons.size())
            break;
        used = needed;
        --m_first;
    }
    m_more->setVisible(m_first > 0);
    int x = 0;
    if (m_first > 0) {
        m_more->setGeometry(0, 0, m_more->sizeHint().width(), height());
        x = m_more->width() + gap;
    }
    for (qsizetype i = 0; i < m_buttons.size(); ++i) {
        QToolButton *button = m_buttons.at(i);
        button->setVisible(i >= m_first);
        if (i < m_first)
            continue;
        button->setGeometry(x, 0, std::min(button->sizeHint().width(), width() - x), height());
        x += button->width() + gap;
    }
    update();
}

void Breadcrumbs::showHiddenOnes()
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (qsizetype i = m_first - 1; i >= 0; --i) {
        const QString path = m_components.at(i).path;
        menu->addAction(Theme::icon(u"folder"_s, Theme::Color::folder), plainText(m_components.at(i).name), this,
                        [this, path] { emit componentClicked(path); });
    }
    menu->popup(m_more->mapToGlobal(QPoint(0, m_more->height())));
}

void Breadcrumbs::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(Theme::color(Theme::Color::faintText));
    const auto separatorAfter = [&](const QWidget *button) {
        painter.drawText(QRect(button->geometry().right() + 1, 0, gap, height()), Qt::AlignCenter, u"›"_s);
    };
    if (m_first > 0)
        separatorAfter(m_more);
    for (qsizetype i = m_first; i + 1 < m_buttons.size(); ++i)
        separatorAfter(m_buttons.at(i));
}

void Breadcrumbs::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    arrange();
}

void Breadcrumbs::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        emit blankClicked();
}

void Breadcrumbs::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        arrange();
}

void Breadcrumbs::takeDrops(FileDrop &drop)
{
    m_drop = &drop;
    setAcceptDrops(true);
}

QString Breadcrumbs::folderAt(const QPoint &place) const
{
    for (qsizetype i = m_first; i < m_buttons.size(); ++i) {
        if (m_buttons.at(i)->geometry().contains(place))
            return m_components.at(i).path;
    }
    return {};
}

void Breadcrumbs::showDropAt(const QString &folder)
{
    for (qsizetype i = 0; i < m_buttons.size(); ++i)
        m_buttons.at(i)->setDown(m_components.at(i).path == folder);
}

void Breadcrumbs::dragEnterEvent(QDragEnterEvent *event)
{
    event->setAccepted(m_drop->accepts(*event->mimeData()));
}

void Breadcrumbs::dragMoveEvent(QDragMoveEvent *event)
{
    const QString folder = folderAt(event->position().toPoint());
    const Qt::DropAction action = m_drop->actionFor(*event, folder);
    showDropAt(action == Qt::IgnoreAction ? QString() : folder);
    event->setDropAction(action);
    event->setAccepted(action != Qt::IgnoreAction);
}

void Breadcrumbs::dragLeaveEvent(QDragLeaveEvent *)
{
    showDropAt({});
}

void Breadcrumbs::dropEvent(QDropEvent *event)
{
    showDropAt({});
    m_drop->drop(*event, folderAt(event->position().toPoint()));
}

} // namespace moorix
