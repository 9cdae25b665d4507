// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/SessionView.h"

#include "app/Comparison.h"
#include "app/PaneTabs.h"
#include "app/Session.h"
#include "editor/TextFile.h"
#include "files/Format.h"
#include "files/PaneModel.h"
#include "files/RemoteFileService.h"
#include "servers/ServerStore.h"
#include "transfers/TransferEngine.h"
#include "ui/ConnectingView.h"
#include "ui/DormantView.h"
#include "ui/FailureView.h"
#include "ui/MessageBar.h"
#include "ui/RemoteOpening.h"
#include "ui/pane/PaneContext.h"
#include "ui/pane/PaneView.h"
#include "ui/servers/ServerLibraryView.h"
#include "ui/terminal/SSHTerminalView.h"
#include "ui/terminal/WindowTerminals.h"

#include <QApplication>
#include <QPointer>
#include <QVBoxLayout>

namespace moorix {

SessionView::SessionView(AppModel &model, WindowTerminals &terminals, Side side, Session &session, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_terminals(terminals)
    , m_side(side)
    , m_session(session)
    , m_column(new QVBoxLayout(this))
    , m_notice(new MessageBar(this))
{
    m_column->setContentsMargins(0, 0, 0, 0);
    m_column->setSpacing(0);
    m_column->addWidget(m_notice);
    connect(&session, &Session::stateChanged, this, &SessionView::followState);
    connect(&session, &Session::noticeChanged, this, &SessionView::followNotice);
    connect(m_notice, &MessageBar::dismissed, &session, &Session::dismissNotice);
    followState();
    followNotice();
}

SessionView::~SessionView()
{
    // A terminal that is given back while all goes closes no tab.
    m_terminals.sessions().disconnect(this);
}

void SessionView::focusContent()
{
    if (m_library)
        m_library->focusList();
    else if (m_pane)
        m_pane->focusList();
    else
        m_content->setFocus();
}

void SessionView::followState()
{
    const bool hadFocus = isAncestorOf(QApplication::focusWidget());
    QWidget *old = m_content;
    m_pane = nullptr;
    m_library = nullptr;
    m_content = makeContent();
    m_column->addWidget(m_content, 1);
    if (hadFocus)
        focusContent();
    if (old) {
        // Later: the change may have been asked for by a button of the content itself.
        old->hide();
        old->deleteLater();
    }
}

void SessionView::followNotice()
{
    if (m_session.notice().isEmpty())
        m_notice->dismiss();
    else
        m_notice->tell(m_session.notice(), MessageBar::Tone::information);
}

QWidget *SessionView::makeContent()
{
    switch (m_session.state()) {
    case Session::State::dormant:
        return new DormantView(m_session, this);
    case Session::State::connecting:
        return new ConnectingView(m_session, this);
    case Session::State::failed:
        return makeFailure();
    case Session::State::ready:
        break;
    }
    if (m_session.mode() == PaneMode::terminal)
        return makeTerminal();
    return m_session.pane() ? makePane() : makeLibrary();
}

PaneContext SessionView::paneContext()
{
    const auto open = [this](Side side, bool inNewTab) {
        return [this, side, inNewTab](const FileItem &folder) { openElsewhere(folder.path, side, inNewTab); };
    };
    PaneContext context{
        .settings = m_model.settings(),
        .clipboard = m_model.clipboard(),
        .columns = m_model.columns(),
        .localFiles = m_model.localFiles(),
        .copyToOtherSide = [this] { return m_model.transferSelection(m_side, false); },
        .moveToOtherSide = [this] { return m_model.transferSelection(m_side, true); },
        .compareFiles = [this] { return compareFiles(); },
        .paste = [this] { return m_model.paste(m_side); },
        .transfer =
            [model = QPointer(&m_model)](TransferRequest request) {
                if (model)
                    model->transfer(std::move(request));
            },
        .openFile = {},
        .editFile = {},
        .openInOtherPane = open(otherSide(m_side), false),
        .openInNewTab = open(m_side, true),
        .openTerminal = {},
        .focusOtherSide = [this] { m_model.setActiveSide(otherSide(m_side)); },
    };
    if (m_session.mode() == PaneMode::local)
        context.openFile = [this](const FileItem &item) {
            if (item.name.endsWith(QLatin1String(".zip.enc")))
                emit archiveRequested(item.path);
            else
                openWithDesktop(m_model, item.path);
        };
    else if (auto service = std::dynamic_pointer_cast<RemoteFileService>(m_session.pane()->service()))
        context.openFile = [this, service](const FileItem &item) { openRemoteFile(service, item); };
    context.openTerminal = [this] { m_terminals.openHere(*m_session.pane(), m_session.server()); };
    context.editFile = [this, open = context.openFile](const FileItem &item) {
        const auto service = std::dynamic_pointer_cast<RemoteFileService>(m_session.pane()->service());
        if (item.name.endsWith(QLatin1String(".zip.enc")))
            open(item);
        else if (service)
            editRemoteFile(service, item);
        else
            emit editRequested(item.path, {});
    };
    return context;
}

std::optional<QString> SessionView::compareFiles()
{
    try {
        emit comparisonRequested(Comparison::ofSelection(m_model, m_side));
    } catch (const Error &error) {
        return error.message();
    }
    return std::nullopt;
}

void SessionView::openRemoteFile(const std::shared_ptr<RemoteFileService> &service, const FileItem &file)
{
    if (makeWayFor(file))
        new RemoteOpening(m_model, *m_session.server(), service, file, *m_column);
}

/// The copy is edited; what is saved in it is uploaded.
void SessionView::editRemoteFile(const std::shared_ptr<RemoteFileService> &service, const FileItem &file)
{
    if (file.size > textFile::maxBytes) {
        emit m_model.messageRaised(
            tr("“%1” has %2; the editor takes up to %3.")
                .arg(Format::display(file.name), Format::byteCount(file.size), Format::byteCount(textFile::maxBytes)));
        return;
    }
    if (!makeWayFor(file))
        return;
    const QString place = tr("%1: %2").arg(m_session.server()->displayName(), file.path);
    new RemoteOpening(m_model, *m_session.server(), service, file, *m_column,
                      [this, place](const QString &path) { emit editRequested(path, place); });
}

bool SessionView::makeWayFor(const FileItem &file) const
{
    for (RemoteOpening *opening : findChildren<RemoteOpening *>(Qt::FindDirectChildrenOnly)) {
        if (opening->file().path != file.path)
            continue;
        if (!opening->hasFailed())
            return false;
        // The connection that it would try again with may be another one by now.
        opening->end();
    }
    return true;
}

QWidget *SessionView::makePane()
{
    m_pane = new PaneView(*m_session.pane(), paneContext(), this);
    connect(m_pane, &PaneView::messageRaised, &m_model, &AppModel::messageRaised);
    connect(m_pane, &PaneView::activated, this, [this] { m_model.setActiveSide(m_side); });
    return m_pane;
}

QWidget *SessionView::makeLibrary()
{
    m_library = new ServerLibraryView(m_model, this);
    connect(m_library, &ServerLibraryView::connectRequested, this,
            [this](const QUuid &id, ServerLibraryView::Where where) {
                const std::optional<ServerConnection> server = m_model.servers().server(id);
                if (!server)
                    return;
                if (where == ServerLibraryView::Where::here)
                    m_model.tabs(m_side).openServerHere(*server);
                else
                    m_model.tabs(m_side).openServer(*server, std::nullopt, std::nullopt);
            });
    connect(m_library, &ServerLibraryView::editRequested, this, &SessionView::editServerRequested);
    connect(m_library, &ServerLibraryView::disconnectRequested, this, &SessionView::disconnectRequested);
    connect(m_library, &ServerLibraryView::newServerRequested, this, &SessionView::newServerRequested);
    connect(m_library, &ServerLibraryView::importRequested, this, &SessionView::importRequested);
    return m_library;
}

QWidget *SessionView::makeFailure()
{
    const QUuid id = m_session.server() ? m_session.server()->id : QUuid();
    const bool isSaved = m_model.servers().server(id).has_value();
    auto *view = new FailureView(m_session, isSaved, m_model.processes(), this);
    connect(view, &FailureView::editRequested, this, [this, id] { emit editServerRequested(id); });
    return view;
}

QWidget *SessionView::makeTerminal()
{
    SSHTerminalView *screen = m_terminals.makePaneScreen(*m_session.server(), this);
    // The tab goes with its terminal, be that to an end or to another place.
    connect(&m_terminals.sessions(), &TerminalSessionManager::sessionsChanged, this, [this] {
        if (!m_terminals.sessions().isInPane(m_session.server()->id))
            closeTab();
    });
    return screen;
}

void SessionView::closeTab()
{
    m_terminals.sessions().disconnect(this);
    PaneTabs &tabs = m_model.tabs(m_side);
    tabs.close(tabs.sessions().indexOf(&m_session));
}

void SessionView::openElsewhere(const QString &folder, Side side, bool inNewTab)
{
    PaneTabs &tabs = m_model.tabs(side);
    if (m_session.server())
        tabs.openServer(*m_session.server(), std::nullopt, folder);
    else if (inNewTab)
        tabs.openLocal(folder);
    else
        tabs.openLocalHere(folder);
}

} // namespace moorix
