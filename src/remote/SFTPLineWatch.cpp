// SPDX-License-Identifier: GPL-3.0-or-later
// Lines that have gone dead without a word: a cable, a sleeping machine, a router that has forgotten the connection.
#include "files/FileServiceError.h"
#include "platform/ProcessRunner.h"
#include "remote/ControlSocket.h"
#include "remote/SFTPProcessRunner.h"
#include "remote/SSHDestination.h"

#include <QFile>

#include <algorithm>
#include <utility>

namespace moorix {

namespace {

using Clock = std::chrono::steady_clock;

/// Thrown to end a client that has waited long enough.
struct TooLate
{
};

/// What a process has read and written so far, from pipes as well as files; 0 where the system does not tell.
qint64 bytesMovedBy(qint64 processId)
{
    QFile file(QStringLiteral("/proc/%1/io").arg(processId));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    qint64 bytes = 0;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith("rchar: ") || line.startsWith("wchar: "))
            bytes += line.mid(7).toLongLong();
    }
    return bytes;
}

} // namespace

void SFTPProcessRunner::watch(const SSHLogin &login, ProcessRequest &request, const std::stop_token &stop)
{
    const QUuid connection = login.server.id;
    if (request.takeOutput) {
        request.takeOutput = [this, connection, take = std::move(request.takeOutput)](QByteArrayView bytes) {
            noteLife(connection);
            take(bytes);
        };
    }
    if (request.moreInput) {
        request.moreInput = [this, connection, more = std::move(request.moreInput)] {
            noteLife(connection);
            return more();
        };
    }
    request.whileRunning = [this, login, stop, since = Clock::now(), moved = qint64(0),
                            report = std::move(request.whileRunning)](qint64 processId) mutable {
        if (report)
            report(processId);
        if (const qint64 now = bytesMovedBy(processId); std::exchange(moved, now) != now)
            noteLife(login.server.id);
        throwIfDead(login, since, stop);
    };
}

void SFTPProcessRunner::noteLife(const QUuid &connection)
{
    const std::lock_guard lock(m_lifeMutex);
    m_life.insert(connection, Clock::now());
}

void SFTPProcessRunner::throwIfDead(const SSHLogin &login, Clock::time_point since, const std::stop_token &stop)
{
    const auto isSilent = [&] {
        const std::lock_guard lock(m_lifeMutex);
        return Clock::now() - std::max(since, m_life.value(login.server.id, since)) > m_patience.silence;
    };
    const std::unique_lock asking(m_asking, std::try_to_lock);
    if (!asking || !isSilent())
        return;
    if (answers(login.server, stop)) {
        noteLife(login.server.id);
        return;
    }
    // Whoever comes next would wait on it as well.
    closeMaster(login.server);
    throw FileServiceError::connectionFailed(
        QStringLiteral("%1 has not answered for %2 seconds.")
            .arg(login.server.host)
            .arg(std::chrono::ceil<std::chrono::seconds>(m_patience.silence + m_patience.answer).count()));
}

/// Asks over the shared connection, never over one of its own. Whatever comes back, refusals too, comes from the
/// server.
bool SFTPProcessRunner::answers(const ServerConnection &server, const std::stop_token &stop)
{
    ProcessRequest question;
    question.program = QStringLiteral("/usr/bin/ssh");
    question.arguments =
        QStringList{QStringLiteral("-o"),         QStringLiteral("ControlPath=") + ControlSocket::path(server),
                    QStringLiteral("-o"),         QStringLiteral("ControlMaster=no"),
                    QStringLiteral("-o"),         QStringLiteral("ProxyCommand=false"),
                    QStringLiteral("-p"),         QString::number(server.port),
                    SSHDestination::text(server), QStringLiteral("true")};
    question.whileRunning = [limit = Clock::now() + m_patience.answer](qint64) {
        if (Clock::now() > limit)
            throw TooLate();
    };
    try {
        m_processes->run(question, stop);
        return true;
    } catch (const TooLate &) {
        return false;
    }
}

} // namespace moorix
