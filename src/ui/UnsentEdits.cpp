// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/UnsentEdits.h"

#include "app/AppModel.h"
#include "app/PaneTabs.h"
#include "app/ServerConnections.h"
#include "app/Session.h"
#include "files/Format.h"
#include "transfers/TransferEngine.h"
#include "ui/MessageBar.h"

#include <algorithm>
#include <utility>

namespace moorix {

namespace {

using State = EditedFile::State;

/// On the way, or about to be.
bool isUnderWay(const EditedFile &file)
{
    return !file.needsAnswer();
}

/// An upload that asks nobody cannot replace what somebody else has written.
bool canBeSent(const EditedFile &file)
{
    return file.state == State::failed || file.state == State::cancelled || file.state == State::leftOver;
}

} // namespace

UnsentEdits::UnsentEdits(AppModel &model, MessageBar &bar, QObject *parent)
    : QObject(parent)
    , m_model(model)
    , m_bar(bar)
    , m_servers(serversInTabs())
{
    connect(&model.editedFiles(), &EditedFiles::filesChanged, this, &UnsentEdits::followUploads);
    connect(&bar, &MessageBar::dismissed, this, [this] { m_leave = {}; });
    for (const Side side : {Side::left, Side::right})
        connect(&model.tabs(side), &PaneTabs::sessionsChanged, this, &UnsentEdits::followTabs);
}

QList<EditedFile> UnsentEdits::list(const std::optional<QUuid> &server) const
{
    QList<EditedFile> files = m_model.editedFiles().unsent();
    files.removeIf([&server](const EditedFile &file) { return server && file.server != *server; });
    return files;
}

bool UnsentEdits::canUpload(const QList<EditedFile> &files)
{
    return std::ranges::any_of(files, [](const EditedFile &file) { return isUnderWay(file) || canBeSent(file); });
}

QString UnsentEdits::sentence(const QList<EditedFile> &files)
{
    if (files.size() == 1) {
        return tr("“%1” was edited and is not uploaded to %2 yet;")
            .arg(Format::display(files.first().name), Format::display(files.first().serverName));
    }
    return tr("%1 edited files are not uploaded yet;").arg(files.size());
}

void UnsentEdits::disconnectServer(const QUuid &server)
{
    const QList<EditedFile> unsent = list(server);
    const auto disconnect = [this, server] { m_model.connections().disconnect(server); };
    QStringList sentences;
    if (const auto count = transfersWith(server); count > 0) {
        sentences << (count == 1
                          ? tr("A transfer with this server is not done yet and would be broken off.")
                          : tr("%1 transfers with this server are not done yet and would be broken off.").arg(count));
    }
    MessageChoice better;
    if (canUpload(unsent)) {
        sentences << sentence(unsent)
                  << (unsent.size() == 1 ? tr("your version is kept on this computer.")
                                         : tr("your versions are kept on this computer."));
        better = {tr("Upload first"), [this, server, disconnect] {
                      uploadBefore(server, tr("Uploading before the server is disconnected…"), tr("Disconnect now"),
                                   disconnect);
                  }};
    }
    if (sentences.isEmpty())
        disconnect();
    else
        m_bar.ask(sentences.join(u' ') + u' ' + tr("Disconnect?"), tr("Disconnect"), MessageBar::Tone::warning,
                  disconnect, std::move(better));
}

qsizetype UnsentEdits::transfersWith(const QUuid &server) const
{
    const TransferEngine &engine = m_model.transfers();
    return std::ranges::count_if(engine.transfers(), [&](const TransferStatus &transfer) {
        const TransferEngine::Ends ends = engine.ends(transfer.id);
        const bool isUnderWay =
            transfer.state == TransferStatus::State::running || transfer.state == TransferStatus::State::reconnecting;
        return isUnderWay && (ends.source == server || ends.destination == server);
    });
}

void UnsentEdits::uploadBefore(const std::optional<QUuid> &server, const QString &text, const QString &buttonText,
                               std::function<void()> leave)
{
    m_server = server;
    const QList<EditedFile> unsent = list(server);
    for (const EditedFile &file : unsent) {
        if (canBeSent(file))
            m_model.editedFiles().send(file.id, EditedFiles::Guard::known);
    }
    m_leave = std::move(leave);
    m_bar.offer(text, buttonText, MessageBar::Tone::information, [this] {
        if (const auto now = std::exchange(m_leave, {}))
            now();
    });
    followUploads();
}

void UnsentEdits::followUploads()
{
    if (!m_leave)
        return;
    const QList<EditedFile> unsent = list(m_server);
    if (std::ranges::any_of(unsent, isUnderWay))
        return;
    const auto leave = std::exchange(m_leave, {});
    m_bar.dismiss();
    if (unsent.isEmpty())
        leave();
    else
        emit m_model.messageRaised(tr("Not everything could be uploaded."));
}

/// What is not under way is asked about in any case.
void UnsentEdits::followTabs()
{
    const QSet<QUuid> before = std::exchange(m_servers, serversInTabs());
    for (const QUuid &server : before - m_servers) {
        QList<EditedFile> unsent = list(server);
        unsent.removeIf([](const EditedFile &file) { return !isUnderWay(file); });
        if (!unsent.isEmpty())
            emit m_model.messageRaised(sentence(unsent) + u' ' + tr("the upload goes on without a tab."));
    }
}

QSet<QUuid> UnsentEdits::serversInTabs() const
{
    QSet<QUuid> servers;
    for (const Side side : {Side::left, Side::right}) {
        for (const Session *session : m_model.tabs(side).sessions()) {
            if (session->server())
                servers.insert(session->server()->id);
        }
    }
    return servers;
}

} // namespace moorix
