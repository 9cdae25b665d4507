// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/SourceList.h"

#include "app/AppModel.h"
#include "app/PaneTabs.h"
#include "app/Session.h"
#include "files/Format.h"
#include "files/PaneModel.h"
#include "platform/AppPaths.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/pane/FileMimeData.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <array>

namespace moorix {

using namespace Qt::StringLiterals;

SourceList::SourceList(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_list(new QListWidget(this))
    , m_hint(Widgets::label(tr("Choose files and folders, or drop them here"), Widgets::TextRole::muted, m_list))
    , m_addSelection(Widgets::button({}, u"backupAddSelection"_s, this))
    , m_remove(Widgets::button(tr("Remove"), u"backupRemoveSource"_s, this))
{
    m_list->setObjectName(u"backupSources"_s);
    m_list->setAccessibleName(tr("Files and folders to back up"));
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setFixedHeight(96);
    m_list->setTextElideMode(Qt::ElideMiddle);
    m_list->setTabKeyNavigation(false);
    m_list->installEventFilter(this);
    m_hint->setAlignment(Qt::AlignCenter);
    m_hint->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto *over = new QVBoxLayout(m_list);
    over->addWidget(m_hint);
    setFocusProxy(m_list);
    setAcceptDrops(true);
    QPushButton *files = Widgets::button(tr("Add files…"), u"backupAddFiles"_s, this);
    QPushButton *folder = Widgets::button(tr("Add a folder…"), u"backupAddFolder"_s, this);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(6);
    for (QPushButton *button : {files, folder, m_addSelection})
        buttons->addWidget(button);
    buttons->addStretch(1);
    buttons->addWidget(m_remove);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_list);
    column->addLayout(buttons);

    connect(files, &QPushButton::clicked, this, [this] { choose(What::files); });
    connect(folder, &QPushButton::clicked, this, [this] { choose(What::folder); });
    connect(m_addSelection, &QPushButton::clicked, this, [this] { add(selectionOf(m_model)); });
    connect(m_remove, &QPushButton::clicked, this, &SourceList::removeSelected);
    connect(m_list, &QListWidget::itemSelectionChanged, this, &SourceList::updateButtons);
    updateButtons();
}

QStringList SourceList::selectionOf(const AppModel &model)
{
    for (const Side side : {model.activeSide(), otherSide(model.activeSide())}) {
        const PaneModel *pane = model.tabs(side).current().pane();
        QStringList paths;
        if (pane && pane->isLocal()) {
            for (const FileItem &item : pane->selectedItems())
                paths << item.path;
        }
        if (!paths.isEmpty())
            return paths;
    }
    return {};
}

bool SourceList::hasSelection(const AppModel &model)
{
    return std::ranges::any_of(std::array{Side::left, Side::right}, [&model](Side side) {
        const PaneModel *pane = model.tabs(side).current().pane();
        return pane && pane->isLocal() && !pane->selectedItems(1).isEmpty();
    });
}

QStringList SourceList::paths() const
{
    QStringList paths;
    for (int row = 0; row < m_list->count(); ++row)
        paths << m_list->item(row)->data(Qt::UserRole).toString();
    return paths;
}

void SourceList::setPaths(const QStringList &paths)
{
    m_list->clear();
    for (const QString &path : paths)
        addPath(path);
    updateButtons();
}

void SourceList::add(const QStringList &paths)
{
    for (const QString &path : paths) {
        if (!this->paths().contains(path))
            addPath(path);
    }
    updateButtons();
    emit edited();
}

void SourceList::addPath(const QString &path)
{
    auto *item = new QListWidgetItem(Theme::icon(u"document-multiple"_s, Theme::Color::mutedText),
                                     Format::display(path), m_list);
    item->setData(Qt::UserRole, path);
    item->setToolTip(Widgets::toolTip(Format::display(path)));
}

void SourceList::choose(What what)
{
    auto *dialog =
        new QFileDialog(this, what == What::files ? tr("Files to back up") : tr("Folder to back up"), AppPaths::home());
    dialog->setObjectName(u"backupSourceDialog"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(what == What::files ? QFileDialog::ExistingFiles : QFileDialog::Directory);
    dialog->setFilter(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    connect(dialog, &QFileDialog::filesSelected, this, &SourceList::add);
    dialog->open();
}

void SourceList::removeSelected()
{
    const int row = m_list->currentRow();
    qDeleteAll(m_list->selectedItems());
    m_list->setCurrentRow(std::min(row, m_list->count() - 1));
    updateButtons();
    emit edited();
}

void SourceList::updateButtons()
{
    const qsizetype selected = selectionOf(m_model).size();
    m_addSelection->setText(selected > 1 ? tr("Add the %1 selected").arg(selected) : tr("Add the selected one"));
    m_addSelection->setToolTip(tr("What is selected in the file list"));
    m_addSelection->setVisible(selected > 0);
    m_hint->setVisible(m_list->count() == 0);
    m_remove->setEnabled(!m_list->selectedItems().isEmpty());
}

void SourceList::dragEnterEvent(QDragEnterEvent *event)
{
    if (FileMimeData::localPaths(*event->mimeData()).isEmpty())
        return;
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void SourceList::dropEvent(QDropEvent *event)
{
    add(FileMimeData::localPaths(*event->mimeData()));
    // The files stay where they are.
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

bool SourceList::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_list && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent *>(event)->key() == Qt::Key_Delete) {
        removeSelected();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace moorix
