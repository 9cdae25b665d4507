// SPDX-License-Identifier: GPL-3.0-or-later
// update check|download and diagnostics checkin.
#include "app/ProgramInfo.h"
#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "base/Json.h"
#include "endpoints/AppUpdateManager.h"
#include "endpoints/RemoteDiagnosticsService.h"
#include "platform/AppPaths.h"
#include "platform/KeyValueStore.h"
#include "platform/NetworkHttpClient.h"
#include "platform/Preferences.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"

#include <QCommandLineParser>
#include <QEventLoop>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// The user's settings, without the exchange with the cloud.
struct Settings
{
    Preferences preferences{AppPaths::configuration() + u"/preferences.json"_s};
    KeyValueStore noCloud{QString()};
    SettingsStore store{preferences, noCloud};
};

/// Begins something and waits until its owner says that it has ended. Throws Cancelled after a stop.
template <class Owner>
void carryOut(Owner &owner, void (Owner::*ended)(), const std::stop_token &stop, const std::function<void()> &begin)
{
    QEventLoop loop;
    // Queued: what fails at once ends before the loop begins.
    QObject::connect(&owner, ended, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    const std::stop_callback onStop(
        stop, [&loop] { QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection); });
    begin();
    loop.exec();
    if (stop.stop_requested())
        throw Cancelled();
}

AppUpdateManager::Options updateOptions()
{
    AppUpdateManager::Options options;
    options.http = std::make_shared<NetworkHttpClient>();
    options.version = ProgramInfo::version();
    options.build = ProgramInfo::build();
    options.downloads = AppPaths::downloads();
    return options;
}

void checkNow(AppUpdateManager &updates, const std::stop_token &stop)
{
    carryOut(updates, &AppUpdateManager::checkEnded, stop, [&updates] { updates.checkForUpdates(true); });
    if (updates.lastError())
        throw Error(u"Moorix.Update"_s, updates.statusMessage());
}

void printJson(const AppUpdateManager &updates)
{
    const std::optional<Release> &release = updates.availableRelease();
    JsonWriter writer;
    writer.beginObject();
    writer.field(u"currentVersion", updates.currentVersionString());
    writer.field(u"isNewer", release.has_value());
    writer.field(u"version", release ? std::optional(release->version) : std::nullopt);
    writer.field(u"build", release ? release->build : std::nullopt);
    writer.field(u"downloadURL", release ? std::optional(release->downloadURL.toString()) : std::nullopt);
    writer.field(u"fileName", release ? std::optional(release->fileName) : std::nullopt);
    writer.field(u"notes", release ? release->notes : std::nullopt);
    writer.endObject();
    console::printBytes(writer.bytes());
}

ExitCode runCheck(const QCommandLineParser &parser, CommandContext &context)
{
    Settings settings;
    AppUpdateManager updates(settings.store, updateOptions());
    checkNow(updates, context.stop());
    if (parser.isSet(u"json"_s)) {
        printJson(updates);
        return ExitCode::done;
    }
    console::print(updates.statusMessage() + u'\n');
    if (updates.availableRelease() && updates.availableRelease()->notes)
        console::print(u"\n%1\n"_s.arg(*updates.availableRelease()->notes));
    return ExitCode::done;
}

ExitCode runDownload(const QCommandLineParser &, CommandContext &context)
{
    Settings settings;
    AppUpdateManager updates(settings.store, updateOptions());
    checkNow(updates, context.stop());
    if (!updates.availableRelease()) {
        console::print(updates.statusMessage() + u'\n');
        return ExitCode::done;
    }
    QObject::connect(&updates, &AppUpdateManager::changed, &updates, [&updates] {
        if (console::showsProgress() && updates.downloadProgress())
            console::showProgress(updates.availableRelease()->fileName +
                                  u": %1 %"_s.arg(*updates.downloadProgress() / 10));
    });
    carryOut(updates, &AppUpdateManager::downloadEnded, context.stop(),
             [&updates] { updates.downloadAndOpenLatestDMG(); });
    if (console::showsProgress())
        console::showProgress({});
    if (updates.lastError())
        throw Error(u"Moorix.Update"_s, *updates.lastError());
    console::print(updates.downloadedPath() + u'\n');
    return ExitCode::done;
}

ExitCode runCheckin(const QCommandLineParser &parser, CommandContext &context)
{
    Settings settings;
    RemoteDiagnosticsService::Options options;
    options.http = std::make_shared<NetworkHttpClient>();
    options.processes = context.processes();
    options.version = ProgramInfo::version();
    options.build = ProgramInfo::build();
    RemoteDiagnosticsService service(settings.store, settings.preferences, std::move(options));
    DiagnosticsApp app;
    app.savedServers = [&context] { return context.servers().library().servers; };
    if (parser.isSet(u"dry-run"_s)) {
        service.observe(app);
        console::printBytes(service.buildPayload());
        return ExitCode::done;
    }
    carryOut(service, &RemoteDiagnosticsService::checkinEnded, context.stop(), [&] { service.start(app); });
    if (!service.lastCheckinAt())
        throw Error(u"Moorix.Diagnostics"_s, service.statusMessage());
    console::print(service.statusMessage() + u'\n');
    return service.lastError() ? ExitCode::partly : ExitCode::done;
}

} // namespace

QList<Command> endpointCommands()
{
    Command check;
    check.name = u"update check"_s;
    check.arguments = u"[--json]"_s;
    check.summary = u"Ask the update server for a newer version."_s;
    check.details =
        u"The address is that of the preferences; without one, nothing is asked and the command fails.\n"
        "--json prints currentVersion and isNewer, and of a newer version its version, build, downloadURL,\n"
        "fileName and notes, which are null otherwise."_s;
    check.examples = {u"update check"_s, u"update check --json"_s};
    check.options = {QCommandLineOption(u"json"_s, u"Print JSON."_s)};
    check.run = runCheck;

    Command download;
    download.name = u"update download"_s;
    download.summary = u"Download a newer version, if there is one."_s;
    download.details = u"The installer is put into the Downloads folder, where it replaces nothing, and its path is\n"
                       "printed. It is neither opened nor run."_s;
    download.examples = {u"update download"_s};
    download.run = runDownload;

    Command checkin;
    checkin.name = u"diagnostics checkin"_s;
    checkin.arguments = u"[--dry-run]"_s;
    checkin.summary = u"Check in with the diagnostics server once."_s;
    checkin.details =
        RemoteDiagnosticsService::securityRule() +
        u"\nSwitch and address are those of the preferences. Exit code 3: checked in, but a result could\n"
        "not be posted."_s;
    checkin.examples = {u"diagnostics checkin"_s, u"diagnostics checkin --dry-run"_s};
    checkin.options = {QCommandLineOption(u"dry-run"_s, u"Print what would be sent, and send nothing."_s)};
    checkin.run = runCheckin;
    return {check, download, checkin};
}

} // namespace moorix
