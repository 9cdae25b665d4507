// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/PaneView.h"

#include "app/FileClipboard.h"
#include "files/FileNames.h"
#include "files/Format.h"
#include "settings/SettingsStore.h"
#include "ui/MessageBar.h"
#include "ui/pane/FileDrop.h"
#include "ui/pane/FileListModel.h"
#include "ui/pane/FileListView.h"
#include "ui/pane/FilterBar.h"
#include "ui/pane/InfoDialog.h"
#include "ui/pane/ListOrder.h"
#include "ui/pane/NameBar.h"
#include "ui/pane/PaneFileActions.h"
#include "ui/pane/PaneMenu.h"
#include "ui/pane/PaneNotices.h"
#include "ui/pane/PaneStatusLine.h"
#include "ui/pane/PathBar.h"
#include "ui/pane/QuickLook.h"

#include <QKeyEvent>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

/// Keys that a button or a text line left over. Plain ones (Return, Delete) were meant for it and must not open or
/// delete files.
bool isMeantForPane(const QKeyEvent &event)
{
    const bool isFunctionKey = event.key() >= Qt::Key_F1 && event.key() <= Qt::Key_F12;
    return isFunctionKey || (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier));
}

} // namespace

PaneView::PaneView(PaneModel &pane, const PaneContext &context, QWidget *parent)
    : QWidget(parent)
    , m_pane(pane)
    , m_context(context)
    , m_actions(new PaneFileActions(pane, context, this))
{
    setObjectName(u"paneView"_s);
    build();
    connectParts();
    connect(&pane, &PaneModel::requested, this, &PaneView::answer);
    connect(&pane, &PaneModel::openFileRequested, this, [this](const FileItem &item) {
        if (m_context.openFile)
            m_context.openFile(item);
        else
            showQuickLook();
    });
    const auto markCutItems = [this] {
        const auto &content = m_context.clipboard.content();
        QSet<QString> paths;
        if (content && content->isCut && content->service == m_pane.service()) {
            for (const FileItem &item : content->items)
                paths.insert(item.path);
        }
        m_list->files().setCutPaths(std::move(paths));
    };
    connect(&m_context.clipboard, &FileClipboard::changed, this, markCutItems);
    markCutItems();
    for (const PaneRequest request :
         {PaneRequest::requestNewFolder, PaneRequest::requestNewFile, PaneRequest::requestGetInfo,
          PaneRequest::requestGoTo, PaneRequest::requestDelete, PaneRequest::requestQuickLook})
        answer(request);
}

PaneView::~PaneView()
{
    // Parts are taken down after this object; a name still being edited must not be reported to what is left of it.
    for (QObject *part :
         std::initializer_list<QObject *>{m_list, m_pathBar, m_nameBar, m_filterBar, m_question, m_actions})
        part->disconnect(this);
}

void PaneView::build()
{
    m_pathBar = new PathBar(m_pane, this);
    auto *drop = new FileDrop(m_pane.service(), m_context.localFiles, m_context.transfer, m_pathBar);
    m_pathBar->takeDrops(*drop);
    connect(drop, &FileDrop::refused, this, &PaneView::tell);
    m_error = new MessageBar(this);
    m_error->setObjectName(u"errorBanner"_s);
    m_question = new MessageBar(this);
    m_question->setObjectName(u"questionBar"_s);
    m_nameBar = new NameBar(this);
    m_filterBar = new FilterBar(m_pane, this);
    m_list = new FileListView(m_pane, m_context, this);
    m_notices = new PaneNotices(m_pane, *m_list, *m_error);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    for (QWidget *bar : std::initializer_list<QWidget *>{m_pathBar, m_error, m_question, m_nameBar, m_filterBar})
        column->addWidget(bar);
    column->addWidget(m_list, 1);
    column->addWidget(new PaneStatusLine(m_pane, this));
    setFocusProxy(m_list);
}

void PaneView::connectParts()
{
    connect(m_list, &FileListView::commandRequested, this, &PaneView::run);
    connect(m_list, &FileListView::escapePressed, this, &PaneView::escape);
    connect(m_list, &FileListView::entered, this, &PaneView::activated);
    connect(m_list, &FileListView::refused, this, &PaneView::tell);
    connect(m_list, &FileListView::contextMenuRequested, this,
            [this](const QPoint &position) { PaneMenu::popup(*this, m_pane, position); });
    connect(m_pathBar, &PathBar::commandRequested, this, &PaneView::run);
    connect(m_pathBar, &PathBar::pathEntered, this, [this](const QString &path) { m_pane.load(path, true); });
    connect(m_pathBar, &PathBar::left, this, &PaneView::focusList);
    connect(m_filterBar, &FilterBar::left, this, &PaneView::focusList);
    connect(m_nameBar, &NameBar::left, this, &PaneView::focusList);
    connect(m_question, &MessageBar::dismissed, this, &PaneView::focusList);
    connect(m_actions, &PaneFileActions::refused, this, &PaneView::tell);
    connect(m_actions, &PaneFileActions::messageRaised, this, &PaneView::messageRaised);
    connect(m_actions, &PaneFileActions::confirmationWanted, this,
            [this](const QString &question, const QString &buttonText, const std::function<void()> &confirmed) {
                m_question->ask(question, buttonText, MessageBar::Tone::danger, [this, confirmed] {
                    focusList();
                    confirmed();
                });
            });
}

void PaneView::tell(const QString &sentence)
{
    m_question->tell(sentence, MessageBar::Tone::warning);
}

void PaneView::focusList()
{
    m_list->setFocus();
}

bool PaneView::isAvailable(PaneCommand command) const
{
    return m_actions->isAvailable(command);
}

QList<FileItem> PaneView::entriesActedOn() const
{
    QList<FileItem> entries = m_pane.selectedItems(2);
    if (entries.isEmpty()) {
        if (const std::optional<FileItem> current = m_list->currentEntry())
            entries += *current;
    }
    return entries;
}

bool PaneView::wouldRun(PaneCommand command, const QList<FileItem> &entries) const
{
    return m_actions->isAvailable(command, entries);
}

void PaneView::run(PaneCommand command)
{
    const bool actsOnEntries =
        command <= PaneCommand::quickLook ||
        (command >= PaneCommand::rename && command != PaneCommand::paste && command != PaneCommand::selectAll &&
         command != PaneCommand::invertSelection && command != PaneCommand::focusOtherSide);
    if (actsOnEntries)
        m_list->selectCurrentIfNothing();
    if (isAvailable(command)) {
        if (!runInView(command))
            m_actions->run(command);
    } else if (command == PaneCommand::paste && !m_pane.currentPath().isEmpty()) {
        // Alone of all this depends on what is nowhere to be seen.
        emit messageRaised(tr("The clipboard holds no files."));
    }
}

bool PaneView::runInView(PaneCommand command)
{
    switch (command) {
    case PaneCommand::goUp:
        m_pane.goUp();
        break;
    case PaneCommand::goBack:
        m_pane.goBack();
        break;
    case PaneCommand::goForward:
        m_pane.goForward();
        break;
    case PaneCommand::reload:
        m_pane.reload();
        break;
    case PaneCommand::editPath:
        m_pathBar->edit();
        break;
    case PaneCommand::filter:
        m_filterBar->open();
        break;
    case PaneCommand::toggleHidden:
        m_pane.setShowHidden(!m_pane.showHidden());
        m_context.settings.showHiddenFiles.set(m_pane.showHidden());
        break;
    case PaneCommand::newFolder:
        askForName(PaneRequest::requestNewFolder);
        break;
    case PaneCommand::newFile:
        askForName(PaneRequest::requestNewFile);
        break;
    case PaneCommand::rename:
        m_list->editName();
        break;
    case PaneCommand::openTerminal:
        m_context.openTerminal();
        break;
    case PaneCommand::selectAll:
        m_list->selectAll();
        break;
    case PaneCommand::invertSelection:
        m_list->invertSelection();
        break;
    case PaneCommand::quickLook:
        showQuickLook();
        break;
    case PaneCommand::info:
        InfoDialog::open(m_pane, m_pane.selectedItems(), this);
        break;
    case PaneCommand::focusOtherSide:
        if (m_context.focusOtherSide)
            m_context.focusOtherSide();
        else
            focusNextChild();
        break;
    default:
        return ListOrder::run(command, m_pane, m_context.settings);
    }
    return true;
}

void PaneView::answer(PaneRequest request)
{
    if (!m_pane.takeRequest(request))
        return;
    switch (request) {
    case PaneRequest::requestNewFolder:
        return run(PaneCommand::newFolder);
    case PaneRequest::requestNewFile:
        return run(PaneCommand::newFile);
    case PaneRequest::requestGetInfo:
        return run(PaneCommand::info);
    case PaneRequest::requestGoTo:
        return run(PaneCommand::editPath);
    case PaneRequest::requestDelete:
        return run(PaneCommand::remove);
    case PaneRequest::requestQuickLook:
        return run(PaneCommand::quickLook);
    }
}

void PaneView::askForName(PaneRequest kind)
{
    const bool isFolder = kind == PaneRequest::requestNewFolder;
    NameBar::Question question;
    question.label = isFolder ? tr("New folder") : tr("New file");
    question.problem = [this](const QString &name) -> std::optional<QString> {
        if (const auto problem = FileNames::problem(name))
            return problem;
        if (std::ranges::any_of(m_pane.items(), [&](const FileItem &item) { return item.name == name; }))
            return tr("“%1” already exists here.").arg(Format::display(name));
        return std::nullopt;
    };
    question.accepted = [this, isFolder](const QString &name) {
        if (isFolder)
            m_pane.createFolder(name);
        else
            m_pane.createFile(name);
    };
    m_nameBar->ask(std::move(question));
}

void PaneView::escape()
{
    if (m_pane.isLoading())
        m_pane.cancelLoading();
    else if (m_question->isVisible())
        m_question->dismiss();
    else if (m_pane.errorMessage())
        m_pane.clearError();
    else if (m_filterBar->isVisible() || !m_pane.searchQuery().isEmpty())
        m_filterBar->close();
    else
        m_pane.setSelection({});
}

void PaneView::showQuickLook()
{
    if (m_quickLook) {
        m_quickLook->close();
        return;
    }
    m_quickLook = new QuickLook(m_pane, this);
    connect(m_quickLook, &QuickLook::stepRequested, m_list, &FileListView::step);
    m_quickLook->show();
}

void PaneView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        escape();
        focusList();
    } else if (const auto command = commandForKey(*event); command && isMeantForPane(*event)) {
        run(*command);
    } else {
        QWidget::keyPressEvent(event);
    }
}

} // namespace moorix
