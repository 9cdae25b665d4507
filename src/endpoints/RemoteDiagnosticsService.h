// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Clock.h"
#include "base/Job.h"
#include "endpoints/DiagnosticActions.h"
#include "endpoints/DiagnosticsApp.h"
#include "endpoints/DiagnosticsExchange.h"
#include "endpoints/PeriodicTimer.h"

#include <QObject>

#include <optional>

namespace moorix {

class Preferences;
class SettingsStore;
struct DiagnosticsFacts;

/// Checks in with the diagnostics server that the user has set, every ten minutes while that is switched on, and
/// answers the commands it gets, one after the other, by the actions of a fixed table. Where no server is set nothing
/// is sent. Failures end in `statusMessage` and `lastError`; the next tick tries again. Main thread; requests and
/// programs are run on workers.
class RemoteDiagnosticsService final : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::seconds checkInterval{600};

    struct Options
    {
        std::shared_ptr<HttpClient> http;
        std::shared_ptr<ProcessRunner> processes;
        QString version;
        QString build;
        Clock clock = systemNow;
    };

    /// Shown to the user before anything is switched on.
    static QString securityRule();

    /// Both stores outlive it.
    RemoteDiagnosticsService(SettingsStore &settings, Preferences &preferences, Options options,
                             QObject *parent = nullptr);
    ~RemoteDiagnosticsService() override;

    bool isRunning() const { return m_isRunning; }
    bool isCheckingIn() const { return m_isCheckingIn; }
    const QString &statusMessage() const { return m_statusMessage; }
    const std::optional<QDateTime> &lastCheckinAt() const { return m_lastCheckinAt; }
    const std::optional<QString> &lastError() const { return m_lastError; }
    /// Whether there is a server to check in with, on or off.
    bool hasEndpoint() const;
    /// Random, made when it is first asked for and kept in the preferences as "moorix_diagnostics_device_id".
    QString deviceId() const;
    /// What a check-in would send at this moment, to the byte.
    QByteArray buildPayload() const;

    /// Reads the program through `app` from then on.
    void observe(const DiagnosticsApp &app) { m_app = app; }
    /// Observes `app`, checks in at once and then every `checkInterval`. From then on follows the switch and the
    /// address.
    void start(const DiagnosticsApp &app);
    /// Also drops what is under way.
    void stop();
    /// Looks whether a check-in is due.
    void tick() { m_timer.tick(); }
    /// One check-in and the commands it brings; not a second one at the same time. Results that could not be posted
    /// before are posted first, once.
    void performCheckin();
    /// Answers an action for `done`.
    [[nodiscard]] Job runDiagnosticAction(const QString &action,
                                          std::function<void(const DiagnosticResult &)> done) const;

signals:
    void changed();
    void checkinEnded();

private:
    /// A command's answer, as it is posted.
    struct PendingResult
    {
        QByteArray json;
        bool isSecondTry = false;
    };

    DiagnosticsFacts facts() const;
    void followSetting(const QString &key);
    void setStatus(const QString &status);
    void sendNext();
    void checkIn();
    void take(const DiagnosticsReply &reply);
    void runNext();
    void postResult(const QString &commandId, const QString &output, int exitCode);
    void post(PendingResult result);
    void noteFailure(const Error &error);
    void end();

    SettingsStore &m_settings;
    Preferences &m_preferences;
    Options m_options;
    DiagnosticsApp m_app;
    PeriodicTimer m_timer;
    bool m_hasStarted = false;
    bool m_isRunning = false;
    bool m_isCheckingIn = false;
    QString m_statusMessage;
    std::optional<QDateTime> m_lastCheckinAt;
    std::optional<QString> m_lastError;
    /// The server of the check-in in progress.
    std::shared_ptr<const DiagnosticsExchange> m_exchange;
    QList<DiagnosticCommand> m_commands;
    /// Of earlier check-ins, to be posted in this one.
    QList<PendingResult> m_waiting;
    /// Of this check-in, for the next one.
    QList<PendingResult> m_unposted;
    bool m_hasCheckedIn = false;
    Job m_job;
};

} // namespace moorix
