// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/PaneFileActions.h"

#include "app/FileClipboard.h"
#include "files/Format.h"
#include "files/LocalFileService.h"
#include "files/PaneModel.h"
#include "settings/SettingsStore.h"
#include "ui/BriefName.h"
#include "ui/pane/FileDrop.h"
#include "ui/pane/FileMimeData.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

/// "“a.txt”" or "3 items".
QString described(const QList<FileItem> &items)
{
    if (items.size() == 1)
        return PaneFileActions::tr("“%1”").arg(briefName(items.front().name));
    return PaneFileActions::tr("%Ln items", nullptr, int(items.size()));
}

QString removalQuestion(const QList<FileItem> &items)
{
    if (items.size() == 1 && items.front().isDirectory && !items.front().isSymlink)
        return PaneFileActions::tr("Delete the folder %1 and everything in it for good?").arg(described(items));
    return PaneFileActions::tr("Delete %1 for good?").arg(described(items));
}

} // namespace

PaneFileActions::PaneFileActions(PaneModel &pane, const PaneContext &context, QObject *parent)
    : QObject(parent)
    , m_pane(pane)
    , m_context(context)
    , m_arrivals(new FileDrop(pane.service(), context.localFiles, context.transfer, this))
{
    connect(m_arrivals, &FileDrop::refused, this, &PaneFileActions::refused);
    // What is no longer on the clipboard is not to be moved by the next paste.
    const QClipboard *clipboard = QGuiApplication::clipboard();
    connect(clipboard, &QClipboard::dataChanged, this, [this, clipboard] {
        if (!m_context.clipboard.content())
            return;
        if (const QMimeData *data = clipboard->mimeData(); data && !FileMimeData::isOurs(*data))
            m_context.clipboard.clear();
    });
}

bool PaneFileActions::isAvailable(PaneCommand command) const
{
    return isAvailable(command, m_pane.selectedItems(2));
}

bool PaneFileActions::isAvailable(PaneCommand command, const QList<FileItem> &selected) const
{
    // Before the first listing, or where it failed, a name would end up in the root folder.
    const bool showsFolder = !m_pane.currentPath().isEmpty();
    const bool isOneFolder = selected.size() == 1 && (selected.front().isDirectory || selected.front().isSymlink);
    switch (command) {
    case PaneCommand::open:
    case PaneCommand::quickLook:
    case PaneCommand::rename:
        return selected.size() == 1;
    case PaneCommand::openInOtherPane:
        return isOneFolder && m_context.openInOtherPane;
    case PaneCommand::openInNewTab:
        return isOneFolder && m_context.openInNewTab;
    case PaneCommand::edit:
        return selected.size() == 1 && !selected.front().isDirectory && m_context.editFile;
    case PaneCommand::copyToOtherSide:
        return !selected.isEmpty() && m_context.copyToOtherSide;
    case PaneCommand::moveToOtherSide:
        return !selected.isEmpty() && m_context.moveToOtherSide;
    case PaneCommand::openTerminal:
        return showsFolder && m_context.openTerminal;
    case PaneCommand::newFolder:
    case PaneCommand::newFile:
        return showsFolder;
    case PaneCommand::compareFiles:
        return !selected.isEmpty() && m_context.compareFiles;
    case PaneCommand::duplicate:
    case PaneCommand::remove:
    case PaneCommand::removeForGood:
    case PaneCommand::cut:
    case PaneCommand::copy:
    case PaneCommand::copyPath:
    case PaneCommand::info:
        return !selected.isEmpty();
    case PaneCommand::paste:
        return showsFolder && canPaste();
    case PaneCommand::goUp:
        return m_pane.canGoUp();
    case PaneCommand::goBack:
        return m_pane.canGoBack();
    case PaneCommand::goForward:
        return m_pane.canGoForward();
    default:
        return true;
    }
}

void PaneFileActions::run(PaneCommand command)
{
    if (!isAvailable(command))
        return;
    switch (command) {
    case PaneCommand::open:
        return open();
    case PaneCommand::openInOtherPane:
        return passFolder(m_context.openInOtherPane);
    case PaneCommand::openInNewTab:
        return passFolder(m_context.openInNewTab);
    case PaneCommand::edit:
        return m_context.editFile(m_pane.selectedItems().front());
    case PaneCommand::duplicate:
        return m_pane.duplicate(m_pane.selectedItems());
    case PaneCommand::remove:
        return remove();
    case PaneCommand::removeForGood:
        return removeForGood();
    case PaneCommand::cut:
        return putOnClipboard(true);
    case PaneCommand::copy:
        return putOnClipboard(false);
    case PaneCommand::paste:
        return paste();
    case PaneCommand::copyPath:
        return copyPaths();
    case PaneCommand::copyToOtherSide:
        return pass(m_context.copyToOtherSide);
    case PaneCommand::moveToOtherSide:
        return pass(m_context.moveToOtherSide);
    case PaneCommand::compareFiles:
        return pass(m_context.compareFiles);
    default:
        return;
    }
}

void PaneFileActions::open()
{
    m_pane.open(m_pane.selectedItems().front());
}

void PaneFileActions::passFolder(const std::function<void(const FileItem &)> &receiver)
{
    receiver(m_pane.selectedItems().front());
}

void PaneFileActions::pass(const std::function<PaneContext::Refusal()> &action)
{
    if (const auto reason = action())
        emit refused(*reason);
}

void PaneFileActions::putOnClipboard(bool isCut)
{
    const QList<FileItem> items = m_pane.selectedItems();
    auto *data = new FileMimeData(m_pane.service(), items, m_pane.isLocal());
    data->noteWhetherCut(isCut);
    QGuiApplication::clipboard()->setMimeData(data);
    m_context.clipboard.set({m_pane.service(), items, isCut});
    emit messageRaised((isCut ? tr("Cut %1.") : tr("Copied %1.")).arg(described(items)));
}

bool PaneFileActions::canPaste() const
{
    const QMimeData *data = QGuiApplication::clipboard()->mimeData();
    if (!data)
        return false;
    if (m_context.clipboard.content() && FileMimeData::isOurs(*data))
        return bool(m_context.paste);
    return m_context.transfer && m_context.localFiles && FileMimeData::hasLocalPaths(*data);
}

void PaneFileActions::paste()
{
    const QMimeData *data = QGuiApplication::clipboard()->mimeData();
    if (m_context.clipboard.content() && FileMimeData::isOurs(*data))
        return pass(m_context.paste);
    const QStringList paths = FileMimeData::localPaths(*data);
    const bool isCut = FileMimeData::isCut(*data);
    FileDrop::Found found;
    if (isCut) {
        found = [self = QPointer(this), paths](const QList<FileItem> &items) {
            return !self || self->takeOverCut(paths, items);
        };
    }
    m_arrivals->takeLocalFiles(paths, m_pane.currentPath(), isCut, std::move(found));
}

/// What another program has cut is treated as if it had been cut here, so that what is not moved stays cut. False where
/// an earlier paste moves it already.
bool PaneFileActions::takeOverCut(const QStringList &paths, const QList<FileItem> &found)
{
    if (m_context.clipboard.holdsCut(found))
        return false;
    QClipboard *clipboard = QGuiApplication::clipboard();
    const QMimeData *data = clipboard->mimeData();
    // Something else may have been copied meanwhile.
    if (!data || !FileMimeData::isCut(*data) || FileMimeData::localPaths(*data) != paths)
        return true;
    auto *ours = new FileMimeData(m_context.localFiles, found, true);
    ours->noteWhetherCut(true);
    clipboard->setMimeData(ours);
    m_context.clipboard.set({m_context.localFiles, found, true});
    return true;
}

void PaneFileActions::copyPaths()
{
    QStringList paths;
    for (const FileItem &item : m_pane.selectedItems())
        paths.append(item.path);
    QGuiApplication::clipboard()->setText(paths.join(u'\n'));
    emit messageRaised(paths.size() == 1 ? tr("Copied the path.")
                                         : tr("Copied %Ln paths.", nullptr, int(paths.size())));
}

void PaneFileActions::remove()
{
    if (!std::dynamic_pointer_cast<LocalFileService>(m_pane.service()))
        return removeForGood();
    const QList<FileItem> items = m_pane.selectedItems();
    // The pane may outlive what shows it.
    m_pane.moveToTrash(items, [self = QPointer(this), items] {
        if (self)
            emit self->messageRaised(tr("Moved %1 to the bin.").arg(described(items)));
    });
}

void PaneFileActions::removeForGood()
{
    const QList<FileItem> items = m_pane.selectedItems();
    if (!m_context.settings.confirmDeletes.value()) {
        m_pane.remove(items);
        return;
    }
    // What was selected when the question was asked is removed, whatever is selected when it is answered.
    emit confirmationWanted(removalQuestion(items), tr("Delete"), [this, items] { m_pane.remove(items); });
}

} // namespace moorix
