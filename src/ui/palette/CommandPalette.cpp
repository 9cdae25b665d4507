// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/palette/CommandPalette.h"

#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/palette/PaletteDelegate.h"
#include "ui/palette/PaletteModel.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMainWindow>
#include <QVBoxLayout>

#include <algorithm>

namespace moorix {

namespace {

constexpr int widest = 680;
constexpr int mostRows = 12;
constexpr int pageStep = mostRows - 1;
/// To the toolbar and to the window's edges.
constexpr int distance = 16;
/// Of a palette: its margins, its frame, and the gap under the field.
constexpr int aroundParts = 8 + 8 + 2 + 6;

} // namespace

CommandPalette::CommandPalette(QMainWindow &window)
    : QFrame(&window)
    , m_window(window)
    , m_query(new QLineEdit(this))
    , m_list(new QListView(this))
    , m_nothing(Widgets::label({}, Widgets::TextRole::muted, this))
{
    setObjectName(QStringLiteral("commandPalette"));
    setAccessibleName(tr("Command palette"));
    hide();
    m_query->setObjectName(QStringLiteral("paletteQuery"));
    m_query->setPlaceholderText(tr("Command, server, folder or tab"));
    m_query->setAccessibleName(tr("Search for a command, server, folder or tab"));
    m_query->addAction(Theme::icon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    m_query->installEventFilter(this);
    m_list->setObjectName(QStringLiteral("paletteList"));
    m_list->setAccessibleName(tr("Matches"));
    m_list->setItemDelegate(new PaletteDelegate(m_list));
    m_list->setUniformItemSizes(true);
    m_list->setMouseTracking(true);
    m_list->setFocusPolicy(Qt::NoFocus);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_nothing->setObjectName(QStringLiteral("paletteNothing"));
    m_nothing->setContentsMargins(10, 6, 10, 8);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(8, 8, 8, 8);
    column->setSpacing(6);
    column->addWidget(m_query);
    column->addWidget(m_list);
    column->addWidget(m_nothing);
    connect(m_query, &QLineEdit::textChanged, this, &CommandPalette::showMatches);
    connect(m_list, &QListView::clicked, this, &CommandPalette::runSelected);
    connect(qApp, &QApplication::focusChanged, this, [this](const QWidget *, const QWidget *now) { followFocus(now); });
    window.installEventFilter(this);
}

void CommandPalette::open(QList<PaletteEntry> entries, const QStringList &recent)
{
    if (!isAncestorOf(QApplication::focusWidget()))
        m_before = QApplication::focusWidget();
    PaletteModel *previous = m_model;
    m_model = new PaletteModel(std::move(entries), recent, this);
    m_list->setModel(m_model);
    delete previous;
    m_query->clear();
    showMatches({});
    show();
    raise();
    m_query->setFocus();
}

void CommandPalette::close()
{
    if (!isVisible())
        return;
    // Left to itself the keyboard would go to whatever comes next, which may be the other side.
    const QPointer<QWidget> before = std::exchange(m_before, nullptr);
    if (before && isAncestorOf(QApplication::focusWidget()))
        before->setFocus();
    hide();
    // Ten thousand servers need not wait for the next time.
    m_list->setModel(nullptr);
    delete std::exchange(m_model, nullptr);
}

void CommandPalette::showMatches(const QString &query)
{
    if (!m_model)
        return;
    m_model->setQuery(query);
    select(0);
    m_nothing->setText(tr("Nothing matches “%1”.").arg(query.trimmed()));
    place();
}

void CommandPalette::select(int row)
{
    const int last = m_model->rowCount() - 1;
    if (last >= 0)
        m_list->setCurrentIndex(m_model->index(std::clamp(row, 0, last), 0));
}

void CommandPalette::place()
{
    const QWidget *centre = m_window.centralWidget();
    const int top = (centre ? centre->y() : 0) + distance;
    const int width = std::min(widest, m_window.width() - 2 * distance);
    // Counted, since a layout knows the height of hidden parts only after it has been shown.
    int height = m_query->sizeHint().height() + aroundParts;
    const int room = m_window.height() - top - height - distance;
    const int rowHeight = std::max(m_list->sizeHintForRow(0), 1);
    const int rows = m_model ? std::min({m_model->rowCount(), mostRows, std::max(room / rowHeight, 1)}) : 0;
    m_list->setVisible(rows > 0);
    m_nothing->setVisible(rows == 0);
    if (rows > 0)
        m_list->setFixedHeight(rowHeight * rows + 2 * m_list->frameWidth());
    height += rows > 0 ? m_list->minimumHeight() : m_nothing->heightForWidth(width - 18);
    setGeometry((m_window.width() - width) / 2, top, width, height);
}

bool CommandPalette::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == &m_window && event->type() == QEvent::Resize && isVisible())
        place();
    if (watched == m_query && event->type() == QEvent::KeyPress && m_model)
        return takeKey(static_cast<QKeyEvent *>(event)->key());
    // Else a command of the window would take the key first.
    if (watched == m_query && event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape)
        event->accept();
    return QFrame::eventFilter(watched, event);
}

bool CommandPalette::takeKey(int key)
{
    const int row = m_list->currentIndex().row();
    const int count = m_model->rowCount();
    switch (key) {
    case Qt::Key_Escape:
        close();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        runSelected();
        return true;
    case Qt::Key_Down:
        select(row + 1 < count ? row + 1 : 0);
        return true;
    case Qt::Key_Up:
        select(row > 0 ? row - 1 : count - 1);
        return true;
    case Qt::Key_PageDown:
        select(row + pageStep);
        return true;
    case Qt::Key_PageUp:
        select(row - pageStep);
        return true;
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        return true;
    default:
        return false;
    }
}

/// What cannot be run stays in view with its reason.
void CommandPalette::runSelected()
{
    const QModelIndex current = m_list->currentIndex();
    if (!m_model || !current.isValid() || !m_model->entry(current.row()).isEnabled)
        return;
    // The entry goes with the palette, and what it runs may need the keyboard where it was.
    const PaletteEntry entry = m_model->entry(current.row());
    close();
    emit chosen(entry.id);
    entry.run();
}

void CommandPalette::followFocus(const QWidget *now)
{
    // Without a focus another window is in front; the palette waits.
    if (isVisible() && now && !isAncestorOf(now))
        close();
}

} // namespace moorix
