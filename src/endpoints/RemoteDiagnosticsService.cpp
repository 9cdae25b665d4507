// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/RemoteDiagnosticsService.h"

#include "base/Json.h"
#include "endpoints/DiagnosticsFacts.h"
#include "endpoints/EndpointAddress.h"
#include "platform/HttpClient.h"
#include "platform/Preferences.h"
#include "platform/ProcessRunner.h"
#include "settings/SettingsStore.h"

#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;

QString RemoteDiagnosticsService::securityRule()
{
    return u"Diagnostics execute only built-in read-only actions from the admin page, not arbitrary shell commands."_s;
}

RemoteDiagnosticsService::RemoteDiagnosticsService(SettingsStore &settings, Preferences &preferences, Options options,
                                                   QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_preferences(preferences)
    , m_options(std::move(options))
    , m_timer(m_options.clock, checkInterval, [this] { performCheckin(); })
    , m_statusMessage(u"Remote diagnostics are off."_s)
{
    connect(&settings, &SettingsStore::settingChanged, this, &RemoteDiagnosticsService::followSetting);
}

RemoteDiagnosticsService::~RemoteDiagnosticsService() = default;

bool RemoteDiagnosticsService::hasEndpoint() const
{
    return EndpointAddress::parse(m_settings.diagnosticsEndpoint.value()).isUsable();
}

QString RemoteDiagnosticsService::deviceId() const
{
    const QString key = u"moorix_diagnostics_device_id"_s;
    if (const QString known = m_preferences.value(key).toString(); !known.isEmpty())
        return known;
    const QString made = uuidText(newUuid());
    m_preferences.setValue(key, made);
    return made;
}

DiagnosticsFacts RemoteDiagnosticsService::facts() const
{
    DiagnosticsFacts facts = DiagnosticsFacts::read(m_app);
    facts.deviceId = deviceId();
    facts.appVersion = u"%1 (%2)"_s.arg(m_options.version, m_options.build);
    facts.isEnabled = m_settings.remoteDiagnosticsEnabled.value();
    return facts;
}

QByteArray RemoteDiagnosticsService::buildPayload() const
{
    return facts().buildPayload();
}

void RemoteDiagnosticsService::start(const DiagnosticsApp &app)
{
    observe(app);
    m_hasStarted = true;
    m_isRunning = m_settings.remoteDiagnosticsEnabled.value();
    if (m_isRunning) {
        m_timer.start();
        setStatus(u"Remote diagnostics are waiting for commands."_s);
    }
    performCheckin();
}

void RemoteDiagnosticsService::stop()
{
    m_timer.stop();
    m_isRunning = false;
    m_unposted.clear();
    m_lastError.reset();
    setStatus(u"Remote diagnostics are off."_s);
    if (m_isCheckingIn)
        end();
}

void RemoteDiagnosticsService::followSetting(const QString &key)
{
    const bool isSwitch = key == m_settings.remoteDiagnosticsEnabled.key();
    if (!m_hasStarted || (!isSwitch && key != m_settings.diagnosticsEndpoint.key()))
        return;
    // Nothing that one server asked for is told to another.
    stop();
    start(m_app);
}

void RemoteDiagnosticsService::setStatus(const QString &status)
{
    m_statusMessage = status;
    emit changed();
}

void RemoteDiagnosticsService::performCheckin()
{
    if (m_isCheckingIn)
        return;
    const EndpointAddress address = EndpointAddress::parse(m_settings.diagnosticsEndpoint.value());
    const bool isOn = m_settings.remoteDiagnosticsEnabled.value();
    if (!isOn || !address.isUsable()) {
        setStatus(isOn ? u"Set a diagnostics URL to enable check-ins."_s : u"Remote diagnostics are off."_s);
        emit checkinEnded();
        return;
    }
    m_exchange =
        std::make_shared<DiagnosticsExchange>(m_options.http, address.url, "Moorix/" + m_options.version.toUtf8());
    m_isCheckingIn = true;
    m_hasCheckedIn = false;
    m_lastError.reset();
    m_waiting = std::exchange(m_unposted, {});
    emit changed();
    sendNext();
}

void RemoteDiagnosticsService::sendNext()
{
    if (!m_waiting.isEmpty())
        post(m_waiting.takeFirst());
    else if (!std::exchange(m_hasCheckedIn, true))
        checkIn();
    else
        runNext();
}

void RemoteDiagnosticsService::checkIn()
{
    m_job = runJob([exchange = m_exchange,
                    payload = buildPayload()](const std::stop_token &stop) { return exchange->checkIn(payload, stop); },
                   [this](const DiagnosticsReply &reply) { take(reply); },
                   [this](const Error &error) {
                       noteFailure(error);
                       end();
                   });
}

void RemoteDiagnosticsService::take(const DiagnosticsReply &reply)
{
    m_lastCheckinAt = m_options.clock();
    m_commands = reply.commands;
    setStatus(reply.latestVersion.isEmpty() ? u"Checked in."_s
                                            : u"Checked in. Latest website build: "_s + reply.latestVersion);
    runNext();
}

void RemoteDiagnosticsService::runNext()
{
    if (m_commands.isEmpty())
        return end();
    const DiagnosticCommand command = m_commands.takeFirst();
    m_job = runDiagnosticAction(command.action, [this, id = command.id](const DiagnosticResult &result) {
        postResult(id, result.output, result.exitCode);
    });
}

Job RemoteDiagnosticsService::runDiagnosticAction(const QString &action,
                                                  std::function<void(const DiagnosticResult &)> done) const
{
    return runJob(DiagnosticActions::prepare(action, facts(), m_app, m_options.processes), done,
                  [done](const Error &error) {
                      done({error.message(), 1});
                  });
}

void RemoteDiagnosticsService::postResult(const QString &commandId, const QString &output, int exitCode)
{
    JsonWriter writer;
    writer.beginObject();
    writer.field(u"device_id", deviceId());
    writer.field(u"command_id", commandId);
    writer.field(u"output", output);
    writer.field(u"exit_code", exitCode);
    writer.endObject();
    post({writer.bytes()});
}

void RemoteDiagnosticsService::post(PendingResult result)
{
    m_job =
        runJob([exchange = m_exchange, json = result.json](const std::stop_token &stop) { exchange->post(json, stop); },
               [this] { sendNext(); },
               [this, result](const Error &error) {
                   noteFailure(error);
                   if (!result.isSecondTry)
                       m_unposted.append({result.json, true});
                   sendNext();
               });
}

void RemoteDiagnosticsService::noteFailure(const Error &error)
{
    m_lastError = error.message();
    setStatus(u"Diagnostics check-in failed: "_s + error.message());
}

void RemoteDiagnosticsService::end()
{
    m_job.cancel();
    m_waiting.clear();
    m_commands.clear();
    m_isCheckingIn = false;
    emit changed();
    emit checkinEnded();
}

} // namespace moorix
