// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Clock.h"
#include "base/Job.h"
#include "endpoints/EndpointAddress.h"
#include "endpoints/PeriodicTimer.h"
#include "endpoints/Release.h"

#include <QObject>

namespace moorix {

class HttpClient;
class SettingsStore;

/// Asks the update server of the settings whether there is a newer build, and downloads it when the user wants that.
/// Where no server is set nothing is sent, not even a question for its address. Failures end in `statusMessage` and
/// `lastError`; nothing is tried again before the next period. Main thread; requests and files are done on workers.
class AppUpdateManager final : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::seconds periodicCheckInterval{14400};

    struct Options
    {
        std::shared_ptr<HttpClient> http;
        QString version;
        QString build;
        /// Where installers are put.
        QString downloads;
        /// Has the desktop open a file; false where nothing took it.
        std::function<bool(const QString &path)> openFile;
        Clock clock = systemNow;
    };

    /// The settings outlive it.
    AppUpdateManager(SettingsStore &settings, Options options, QObject *parent = nullptr);
    ~AppUpdateManager() override;

    bool isChecking() const { return m_isChecking; }
    bool isDownloading() const { return m_isDownloading; }
    /// The newer release that the last check found; kept where a later check fails.
    const std::optional<Release> &availableRelease() const { return m_availableRelease; }
    /// The prompt for `availableRelease` is open.
    bool isShowingPrompt() const { return m_isShowingPrompt; }
    const QString &statusMessage() const { return m_statusMessage; }
    const std::optional<QDateTime> &lastCheckedAt() const { return m_lastCheckedAt; }
    /// May have a second line with the reason.
    const std::optional<QString> &lastError() const { return m_lastError; }
    /// The path of the last installer that was downloaded; empty before.
    const QString &downloadedPath() const { return m_downloadedPath; }
    /// In thousandths; nothing while that is unknown.
    const std::optional<int> &downloadProgress() const { return m_downloadProgress; }
    const QString &currentVersionString() const { return m_options.version; }
    EndpointAddress updateEndpointURL() const;

    /// From then on checks every `periodicCheckInterval`, as long as `autoCheckUpdates` is on. Switching that on checks
    /// at once, too; switching it off stops a check that nobody asked for.
    void startPeriodicChecks();
    /// Looks whether a periodic check is due.
    void tick() { m_periodicTimer.tick(); }
    /// One check; not a second one at the same time. `triggeredManually`: the user wants to hear of the outcome.
    void checkForUpdates(bool triggeredManually);
    /// Downloads `availableRelease` into the Downloads folder and opens it.
    void downloadAndOpenLatestDMG();
    void cancelDownload();

    QString promptTitle() const;
    QString promptText() const;
    /// The user has answered the prompt, or closed it.
    void closePrompt();

signals:
    void changed();
    /// A newer release is there and no prompt is open.
    void promptRequested();
    /// The outcome of a check that the user asked for, where there is nothing to prompt for.
    void noticeRaised(const QString &sentence);
    void checkEnded();
    void downloadEnded();

private:
    void followSetting(const QString &key);
    void followSchedule();
    void forgetServer();
    void take(const Release &release);
    void failCheck(const QString &error, const QString &status);
    void endCheck();
    void finishDownload(const QString &path);
    void endDownload(const QString &status, const std::optional<QString> &error);

    SettingsStore &m_settings;
    Options m_options;
    PeriodicTimer m_periodicTimer;
    bool m_isPeriodic = false;
    bool m_isChecking = false;
    bool m_isManual = false;
    bool m_isDownloading = false;
    bool m_isShowingPrompt = false;
    std::optional<Release> m_availableRelease;
    QString m_statusMessage;
    std::optional<QDateTime> m_lastCheckedAt;
    std::optional<QString> m_lastError;
    QString m_downloadedPath;
    std::optional<int> m_downloadProgress;
    Job m_check;
    Job m_download;
};

} // namespace moorix
