// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/FileListView.h"

#include "ui/pane/FileDrop.h"
#include "ui/pane/FileItemDelegate.h"
#include "ui/pane/FileListHeader.h"
#include "ui/pane/FileListModel.h"
#include "ui/pane/ListPosition.h"
#include "ui/pane/SelectionLink.h"

#include <QDropEvent>
#include <QKeyEvent>
#include <QLineEdit>

namespace moorix {

FileListView::FileListView(PaneModel &pane, const PaneContext &context, QWidget *parent)
    : QTreeView(parent)
    , m_pane(pane)
    , m_files(new FileListModel(pane, this))
    , m_delegate(new FileItemDelegate(*this))
    , m_drop(new FileDrop(pane.service(), context.localFiles, context.transfer, this))
{
    m_clock.start();
    setObjectName(QStringLiteral("fileList"));
    setAccessibleName(tr("Files"));
    setUpLook();
    auto *header = new FileListHeader(pane, context.settings, context.columns, this);
    setHeader(header);
    setModel(m_files);
    setItemDelegate(m_delegate);
    header->arrange();
    addScrollBarWidget(header->makeCorner(this), Qt::AlignTop);
    // The position is restored after the selection: making a row current must not change what is selected.
    new SelectionLink(pane, *m_files, *selectionModel(), this);
    new ListPosition(pane, *m_files, *this);
    connect(m_files, &FileListModel::nameRefused, this, &FileListView::refused);
    connect(m_drop, &FileDrop::refused, this, &FileListView::refused);
}

FileListView::~FileListView() = default;

void FileListView::setUpLook()
{
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    // The row that was current is painted anew, not only the cell.
    setAllColumnsShowFocus(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::CopyAction);
    setDropIndicatorShown(false);
    setFrameShape(QFrame::NoFrame);
    viewport()->setMouseTracking(true);
}

std::optional<FileItem> FileListView::currentEntry() const
{
    const QModelIndex current = currentIndex();
    if (!current.isValid() || current.row() >= m_pane.displayedCount())
        return std::nullopt;
    return m_files->item(current.row());
}

void FileListView::selectCurrentIfNothing()
{
    if (!m_pane.selectedItems(1).isEmpty())
        return;
    if (const auto entry = currentEntry())
        m_pane.setSelection({entry->id()});
}

void FileListView::invertSelection()
{
    QSet<QString> ids;
    for (int row = 0; row < m_files->rowCount(); ++row) {
        const QString &id = m_files->item(row).id();
        if (!m_pane.selection().contains(id))
            ids.insert(id);
    }
    m_pane.setSelection(ids);
}

void FileListView::step(int rows)
{
    const QModelIndex target = m_files->index(currentIndex().row() + rows, FileListModel::name);
    if (target.isValid())
        setCurrentIndex(target);
}

void FileListView::editName()
{
    const QModelIndex name = currentIndex().siblingAtColumn(FileListModel::name);
    if (name.isValid())
        edit(name);
}

void FileListView::reset()
{
    // A reload replaces all rows and with them an open editor: what was typed goes on in a new one.
    const auto *editor =
        state() == EditingState ? viewport()->findChild<QLineEdit *>(QStringLiteral("renameEdit")) : nullptr;
    const QString id = editor ? editor->property("itemId").toString() : QString();
    const QString typed = editor ? editor->text() : QString();
    const int start = editor && editor->hasSelectedText() ? editor->selectionStart() : -1;
    const int length = editor ? int(editor->selectedText().size()) : 0;
    const int cursor = editor ? editor->cursorPosition() : 0;
    QTreeView::reset();
    const auto row = id.isEmpty() ? std::nullopt : m_files->rowOf(id);
    if (!row)
        return;
    edit(m_files->index(*row, FileListModel::name));
    for (auto *reopened : viewport()->findChildren<QLineEdit *>(QStringLiteral("renameEdit"))) {
        if (reopened == editor)
            continue;
        reopened->setText(typed);
        QMetaObject::invokeMethod(
            reopened,
            [reopened, start, length, cursor] {
                if (start >= 0)
                    reopened->setSelection(start, length);
                else
                    reopened->setCursorPosition(cursor);
            },
            Qt::QueuedConnection);
    }
}

void FileListView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        m_typeAhead.clear();
        emit escapePressed();
    } else if (const auto command = commandForKey(*event)) {
        emit commandRequested(*command);
    } else if (event->key() == Qt::Key_Insert && event->modifiers() == Qt::NoModifier) {
        selectAndAdvance();
    } else if (!typeAhead(*event)) {
        QTreeView::keyPressEvent(event);
    }
}

bool FileListView::typeAhead(const QKeyEvent &event)
{
    const auto ignored = Qt::ShiftModifier | Qt::KeypadModifier;
    if ((event.modifiers() & ~ignored) || event.text().isEmpty() || !event.text().front().isPrint())
        return false;
    const std::chrono::milliseconds now(m_clock.elapsed());
    const TypeAhead::Rows rows{m_files->rowCount(), currentIndex().row(),
                               [this](int row) -> const QString & { return m_files->item(row).name; }};
    const bool isSpace = event.key() == Qt::Key_Space;
    if ((isSpace || event.text() == QStringLiteral("*")) && !m_typeAhead.continues(event.text(), now, rows)) {
        emit commandRequested(isSpace ? PaneCommand::quickLook : PaneCommand::invertSelection);
        return true;
    }
    if (const auto row = m_typeAhead.type(event.text(), now, rows))
        setCurrentIndex(m_files->index(*row, FileListModel::name));
    return true;
}

void FileListView::selectAndAdvance()
{
    const QModelIndex current = currentIndex();
    if (!current.isValid())
        return;
    selectionModel()->select(current, QItemSelectionModel::Toggle | QItemSelectionModel::Rows);
    const QModelIndex next = m_files->index(current.row() + 1, FileListModel::name);
    if (next.isValid()) {
        selectionModel()->setCurrentIndex(next, QItemSelectionModel::NoUpdate);
        scrollTo(next);
    }
}

void FileListView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::BackButton)
        emit commandRequested(PaneCommand::goBack);
    else if (event->button() == Qt::ForwardButton)
        emit commandRequested(PaneCommand::goForward);
    else
        QTreeView::mousePressEvent(event);
}

void FileListView::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && event->modifiers() == Qt::NoModifier &&
        indexAt(event->position().toPoint()).isValid())
        emit commandRequested(PaneCommand::open);
    else
        QTreeView::mouseDoubleClickEvent(event);
}

void FileListView::contextMenuEvent(QContextMenuEvent *event)
{
    // Beside the entries the menu is the folder's.
    if (event->reason() == QContextMenuEvent::Mouse && !indexAt(event->pos()).isValid())
        clearSelection();
    const QPoint position = event->reason() == QContextMenuEvent::Keyboard
                                ? viewport()->mapToGlobal(visualRect(currentIndex()).bottomLeft())
                                : event->globalPos();
    emit contextMenuRequested(position);
}

void FileListView::focusInEvent(QFocusEvent *event)
{
    QTreeView::focusInEvent(event);
    emit entered();
}

void FileListView::dragEnterEvent(QDragEnterEvent *event)
{
    if (m_drop->accepts(*event->mimeData()))
        event->accept();
    else
        event->ignore();
}

void FileListView::dragMoveEvent(QDragMoveEvent *event)
{
    QTreeView::dragMoveEvent(event);
    const QModelIndex under = indexAt(event->position().toPoint());
    const bool isFolder = under.isValid() && m_files->item(under.row()).isShownAsFolder();
    showDropRow(isFolder ? under.row() : -1);
    const QString target = isFolder ? m_files->item(under.row()).path : m_pane.currentPath();
    const Qt::DropAction action = m_drop->actionFor(*event, target);
    if (action == Qt::IgnoreAction) {
        event->ignore();
    } else {
        event->setDropAction(action);
        event->accept();
    }
}

void FileListView::dragLeaveEvent(QDragLeaveEvent *event)
{
    showDropRow(-1);
    QTreeView::dragLeaveEvent(event);
}

void FileListView::dropEvent(QDropEvent *event)
{
    showDropRow(-1);
    stopAutoScroll();
    setState(QAbstractItemView::NoState);
    const QModelIndex under = indexAt(event->position().toPoint());
    const bool isFolder = under.isValid() && m_files->item(under.row()).isShownAsFolder();
    m_drop->drop(*event, isFolder ? m_files->item(under.row()).path : m_pane.currentPath());
}

void FileListView::showDropRow(int row)
{
    m_delegate->setDropRow(row);
    viewport()->update();
}

} // namespace moorix
