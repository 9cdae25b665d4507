// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/AppUpdateManager.h"

#include "endpoints/InstallerDownload.h"
#include "endpoints/ReleaseVersion.h"
#include "platform/HttpClient.h"
#include "settings/SettingsStore.h"

#include <QPointer>

#include <atomic>
#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

Release askServer(HttpClient &http, const HttpRequest &request, const std::stop_token &stop)
{
    const HttpReply reply = http.send(request, stop);
    if (!reply.isSuccess())
        throw Error(u"Moorix.Update"_s, u"The update server returned an unexpected status."_s);
    return Release::fromReply(reply.body, request.url);
}

QByteArray userAgent(const QString &version)
{
    return "Moorix/" + version.toUtf8();
}

} // namespace

AppUpdateManager::AppUpdateManager(SettingsStore &settings, Options options, QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_options(std::move(options))
    , m_periodicTimer(m_options.clock, periodicCheckInterval, [this] { checkForUpdates(false); })
    , m_statusMessage(u"Not checked yet."_s)
{
    connect(&settings, &SettingsStore::settingChanged, this, &AppUpdateManager::followSetting);
}

AppUpdateManager::~AppUpdateManager() = default;

EndpointAddress AppUpdateManager::updateEndpointURL() const
{
    return EndpointAddress::parse(m_settings.updateEndpoint.value());
}

void AppUpdateManager::startPeriodicChecks()
{
    m_isPeriodic = true;
    followSchedule();
}

void AppUpdateManager::followSchedule()
{
    if (m_isPeriodic && m_settings.autoCheckUpdates.value())
        m_periodicTimer.start();
    else
        m_periodicTimer.stop();
}

void AppUpdateManager::followSetting(const QString &key)
{
    if (key == m_settings.updateEndpoint.key())
        return forgetServer();
    if (key != m_settings.autoCheckUpdates.key() || !m_isPeriodic)
        return;
    followSchedule();
    if (m_periodicTimer.isActive()) {
        checkForUpdates(false);
    } else if (m_isChecking && !m_isManual) {
        m_check.cancel();
        m_isChecking = false;
        m_statusMessage = u"Not checked yet."_s;
        emit changed();
    }
}

/// What another server offered is no longer on offer; a download that the user has begun goes on.
void AppUpdateManager::forgetServer()
{
    m_check.cancel();
    m_isChecking = false;
    m_availableRelease.reset();
    m_isShowingPrompt = false;
    m_lastError.reset();
    if (!m_isDownloading)
        m_statusMessage = u"Not checked yet."_s;
    emit changed();
}

void AppUpdateManager::checkForUpdates(bool triggeredManually)
{
    m_isManual = triggeredManually || (m_isChecking && m_isManual);
    if (m_isChecking)
        return;
    const EndpointAddress address = updateEndpointURL();
    if (!address.isUsable()) {
        const QString sentence = address.state == EndpointAddress::State::invalid
                                     ? u"Set a valid update URL first."_s
                                     : u"Update checks are not configured."_s;
        failCheck(sentence, sentence);
        return;
    }
    m_isChecking = true;
    m_lastError.reset();
    m_statusMessage = u"Checking for updates..."_s;
    emit changed();
    HttpRequest request;
    request.url = address.url;
    request.userAgent = userAgent(m_options.version);
    m_check = runJob(
        [http = m_options.http, request](const std::stop_token &stop) { return askServer(*http, request, stop); },
        [this](const Release &release) {
            take(release);
            endCheck();
        },
        [this](const Error &error) {
            m_lastCheckedAt = m_options.clock();
            m_isChecking = false;
            failCheck(error.message(), u"Update check failed: "_s + error.message());
        });
}

void AppUpdateManager::failCheck(const QString &error, const QString &status)
{
    m_lastError = error;
    m_statusMessage = status;
    emit changed();
    if (m_isManual)
        emit noticeRaised(status);
    emit checkEnded();
}

void AppUpdateManager::take(const Release &release)
{
    const bool isNewer = ReleaseVersion::isNewer(release.version, release.build, m_options.version, m_options.build);
    m_availableRelease = isNewer ? std::optional(release) : std::nullopt;
    m_statusMessage = isNewer ? u"Update available: v"_s + release.version
                              : u"You are on the latest version (%1)"_s.arg(m_options.version);
}

void AppUpdateManager::endCheck()
{
    m_lastCheckedAt = m_options.clock();
    m_isChecking = false;
    const bool wasShowing = std::exchange(m_isShowingPrompt, m_availableRelease.has_value());
    emit changed();
    if (m_isShowingPrompt && !wasShowing)
        emit promptRequested();
    else if (!m_availableRelease && m_isManual)
        emit noticeRaised(u"Moorix is up to date."_s);
    emit checkEnded();
}

QString AppUpdateManager::promptTitle() const
{
    return m_availableRelease ? u"Moorix %1 is available"_s.arg(m_availableRelease->version) : QString();
}

QString AppUpdateManager::promptText() const
{
    QString text = u"Current version: "_s + m_options.version;
    if (m_availableRelease && m_availableRelease->notes)
        text += u"\n\nRelease notes:\n"_s + *m_availableRelease->notes;
    return text + u"\n\nDownload and open the installer now?"_s;
}

void AppUpdateManager::closePrompt()
{
    m_isShowingPrompt = false;
    emit changed();
}

void AppUpdateManager::downloadAndOpenLatestDMG()
{
    if (m_isDownloading)
        return;
    if (!m_availableRelease) {
        m_statusMessage = u"No update is available."_s;
        emit changed();
        emit downloadEnded();
        return;
    }
    m_isDownloading = true;
    m_lastError.reset();
    m_downloadProgress.reset();
    m_downloadedPath.clear();
    m_statusMessage = u"Downloading "_s + m_availableRelease->fileName;
    emit changed();
    InstallerDownload::Options options{m_options.http, userAgent(m_options.version), m_options.downloads};
    options.progress = [self = QPointer(this), last = std::make_shared<std::atomic<int>>(-1)](
                           qint64 bytes, const std::optional<qint64> &total) {
        const int permille = total.value_or(0) > 0 ? int(double(bytes) * 1000 / double(*total)) : -1;
        if (permille < 0 || last->exchange(permille) == permille)
            return;
        onMain([self, permille] {
            if (!self || !self->m_isDownloading)
                return;
            self->m_downloadProgress = permille;
            emit self->changed();
        });
    };
    m_download = runJob([release = *m_availableRelease, options](
                            const std::stop_token &stop) { return InstallerDownload::run(release, options, stop); },
                        [this](const QString &path) { finishDownload(path); },
                        [this](const Error &error) {
                            const QString firstLine = error.message().section(u'\n', 0, 0);
                            endDownload(u"Download failed: "_s + firstLine, error.message());
                        });
}

void AppUpdateManager::finishDownload(const QString &path)
{
    m_downloadedPath = path;
    const QString status = u"Downloaded to %1. Opening installer..."_s.arg(path);
    const bool isOpened = !m_options.openFile || m_options.openFile(path);
    endDownload(status, isOpened ? std::nullopt : std::optional(u"No program of this computer opened %1."_s.arg(path)));
}

void AppUpdateManager::endDownload(const QString &status, const std::optional<QString> &error)
{
    m_isDownloading = false;
    m_downloadProgress.reset();
    m_lastError = error;
    m_statusMessage = status;
    emit changed();
    emit downloadEnded();
}

void AppUpdateManager::cancelDownload()
{
    if (!m_isDownloading)
        return;
    m_download.cancel();
    endDownload(u"The download was cancelled."_s, std::nullopt);
}

} // namespace moorix
