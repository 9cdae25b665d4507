// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/RemoteStatsMonitor.h"

#include "files/FileServiceError.h"
#include "remote/FileServiceFactory.h"
#include "remote/SFTPService.h"

namespace moorix {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto interval = 5000ms;
/// A server that is alive answers long before; the client itself waits for a dead one without end.
constexpr qint64 patienceSeconds = 30;
constexpr qint64 pauseSeconds = 300;
/// Readings that take longer than this are told: what is shown is getting old.
constexpr qint64 overdueSeconds = 12;

bool isRefusal(const Error &error)
{
    const auto *ofService = dynamic_cast<const FileServiceError *>(&error);
    return (ofService && ofService->kind() == FileServiceError::Case::authFailed) ||
           error.message().contains(u"Permission denied ("_s);
}

} // namespace

/// What one job brings back, whether or not it succeeded.
struct RemoteStatsMonitor::Reading
{
    std::shared_ptr<SFTPService> service;
    bool isConnected = false;
    RemoteStats stats;
    std::optional<QString> failure;
    bool isRefused = false;
    QString notice;
};

const QString RemoteStatsMonitor::script =
    u"echo @@LOAD@@; cat /proc/loadavg 2>/dev/null || uptime; "
    "echo @@CORES@@; nproc 2>/dev/null || getconf _NPROCESSORS_ONLN 2>/dev/null; "
    "echo @@MEM@@; grep -E '^(MemTotal|MemAvailable)' /proc/meminfo 2>/dev/null; "
    "echo @@DISK@@; df -kP / 2>/dev/null | tail -1; "
    "echo @@UPTIME@@; cat /proc/uptime 2>/dev/null; "
    "echo @@HOST@@; hostname 2>/dev/null; uname -sr 2>/dev/null; "
    "echo @@PS@@; ps -A -o pid=,pcpu=,pmem=,comm= 2>/dev/null | sort -rn -k2 | head -8; "
    "echo @@COUNT@@; ps -A 2>/dev/null | wc -l"_s;

QString RemoteStatsMonitor::needsSSH()
{
    return u"Server metrics need SSH"_s;
}

QString RemoteStatsMonitor::needsSSHBecause()
{
    return u"FTP servers can't run commands — server metrics are available for SFTP and SSH connections."_s;
}

RemoteStatsMonitor::RemoteStatsMonitor(Tools tools, QObject *parent)
    : QObject(parent)
    , m_tools(std::move(tools))
{
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, &RemoteStatsMonitor::tick);
}

RemoteStatsMonitor::~RemoteStatsMonitor()
{
    m_job.cancel();
    endConnection();
}

void RemoteStatsMonitor::start(const ServerConnection &server)
{
    if (m_serverID == server.id && m_timer.isActive())
        return;
    stop();
    m_serverID = server.id;
    m_server = server;
    m_timer.start();
    sample();
}

void RemoteStatsMonitor::endConnection()
{
    m_service.reset();
    m_connected = false;
    if (!m_serverID || (m_tools.isUsedElsewhere && m_tools.isUsedElsewhere(*m_serverID)))
        return;
    runJob([processes = m_tools.processes,
            server = m_server](const std::stop_token &) { SFTPProcessRunner(processes).closeMaster(server); },
           [] {}, [](const Error &) {})
        .detach();
}

void RemoteStatsMonitor::stop()
{
    m_timer.stop();
    m_job.cancel();
    endConnection();
    m_serverID.reset();
    m_sampleInFlight = false;
    m_isSampling = false;
    m_stats.reset();
    m_readAt.reset();
    m_errorMessage.reset();
    m_pausedUntil.reset();
    emit changed();
}

void RemoteStatsMonitor::tick()
{
    if (!m_serverID)
        return;
    if (m_sampleInFlight) {
        giveUpOverdue();
        return;
    }
    if (!m_pausedUntil || m_tools.clock() >= *m_pausedUntil)
        sample();
}

void RemoteStatsMonitor::sample()
{
    if (!m_serverID || m_sampleInFlight)
        return;
    m_sampleInFlight = true;
    m_isSampling = !m_stats;
    m_begunAt = m_tools.clock();
    m_job = runJob(
        [tools = m_tools, server = m_server, service = m_service,
         connected = m_connected](const std::stop_token &stop) {
            Reading reading{service, connected, {}, {}, false, {}};
            try {
                if (!reading.service) {
                    const ConnectionCredentials secrets =
                        tools.credentials ? *tools.credentials
                                          : FileServiceFactory::credentials(server, *tools.keychain);
                    reading.service = std::make_shared<SFTPService>(server, secrets, tools.processes);
                }
                if (!reading.isConnected && tools.connect)
                    reading.notice = tools.connect(*reading.service, server, stop);
                else if (!reading.isConnected)
                    reading.service->connect(stop);
                reading.isConnected = true;
                reading.stats = parse(reading.service->commandOutput(script, stop));
            } catch (const Cancelled &) {
                throw;
            } catch (const Error &error) {
                reading.failure = error.message();
                reading.isRefused = isRefusal(error);
            }
            return reading;
        },
        [this](const Reading &reading) { take(reading); }, [this](const Error &error) { fail(error.message()); });
    emit changed();
}

void RemoteStatsMonitor::take(const Reading &reading)
{
    m_connected = reading.isConnected && !reading.isRefused;
    // Without a login the next reading looks into the keychain anew: the user may have corrected a password.
    m_service = m_connected ? reading.service : nullptr;
    if (!reading.notice.isEmpty())
        emit noticeRaised(reading.notice);
    m_pausedUntil.reset();
    if (reading.isRefused)
        m_pausedUntil = m_tools.clock().addSecs(pauseSeconds);
    if (reading.failure) {
        fail(*reading.failure);
        return;
    }
    m_stats = reading.stats;
    m_readAt = m_tools.clock();
    m_errorMessage.reset();
    finish();
}

void RemoteStatsMonitor::fail(const QString &message)
{
    m_errorMessage = message;
    finish();
}

void RemoteStatsMonitor::finish()
{
    m_sampleInFlight = false;
    m_isSampling = false;
    emit changed();
}

void RemoteStatsMonitor::giveUpOverdue()
{
    const qint64 waited = m_begunAt.secsTo(m_tools.clock());
    if (waited >= patienceSeconds) {
        // Ends the client; the next tick begins another one, over a connection of its own if this one may be dead.
        m_job.cancel();
        endConnection();
        fail(u"%1 has not answered for %2 seconds."_s.arg(m_server.displayName()).arg(waited));
    } else if (waited >= overdueSeconds) {
        emit changed();
    }
}

std::optional<QDateTime> RemoteStatsMonitor::staleSince() const
{
    if (!m_stats)
        return std::nullopt;
    const bool isOverdue = m_sampleInFlight && m_begunAt.secsTo(m_tools.clock()) >= overdueSeconds;
    return m_errorMessage || isOverdue ? m_readAt : std::nullopt;
}

} // namespace moorix
