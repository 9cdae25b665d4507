// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/SettingsStore.h"

#include "base/Json.h"
#include "platform/AppPaths.h"
#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"

#include <QScopedValueRollback>

#include <chrono>

namespace moorix {

SettingsStore::SettingsStore(Preferences &defaults, KeyValueStore &kv, QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_kv(kv)
    , defaultLocalPath(*this, "defaultLocalPath", AppPaths::home())
    , updateEndpoint(*this, "updateEndpoint", QStringLiteral("https://updates.moorix.example/update.php"))
    , diagnosticsEndpoint(*this, "diagnosticsEndpoint", QString())
{
    // A dragged font slider is one write to a folder that a cloud client uploads from.
    m_persistDebounce.setSingleShot(true);
    m_persistDebounce.setInterval(std::chrono::seconds(1));
    connect(&m_persistDebounce, &QTimer::timeout, this, &SettingsStore::sendPending);
    connect(&m_kv, &KeyValueStore::changedExternally, this, &SettingsStore::applyRemoteChanges);
    connect(&m_kv, &KeyValueStore::folderChanged, this, &SettingsStore::sendWhatTheCloudLacks);
    applyRemoteChanges(snapshot().keys());
    replaceEarlierToolbar();
}

SettingsStore::~SettingsStore()
{
    sendPending();
}

void SettingsStore::replaceEarlierToolbar()
{
    // Standard layouts of earlier versions: whoever has one of them never arranged the toolbar. Any other layout is the
    // user's own.
    const QString earlier = toolbarItemsRaw.value();
    if (earlier == u"monitor,sort,info,settings" || earlier == u"monitor,sort,info,settings,terminal,localTerminal")
        toolbarItemsRaw.set(toolbarItemsRaw.fallBack());
}

void SettingsStore::publish(const AnySetting &setting)
{
    m_defaults.setValue(setting.key(), setting.toJson());
    const bool isSwitch = &setting == &iCloudSyncEnabled;
    if (iCloudSyncEnabled.value() && m_kv.isAvailable() && !m_isApplyingRemote && !isSwitch) {
        m_pendingCloudKeys.insert(setting.key(), setting.toJson());
        m_persistDebounce.start();
    }
    emit settingChanged(setting.key());
    if (!isSwitch)
        return;
    if (iCloudSyncEnabled.value())
        applyRemoteChanges(snapshot().keys());
    else
        sendPending();
}

void SettingsStore::applyRemoteChanges(const QStringList &keys)
{
    if (!iCloudSyncEnabled.value())
        return;
    const QScopedValueRollback guard(m_isApplyingRemote, true);
    for (AnySetting *setting : m_settings) {
        // A value set here that is still waiting to be sent is the newer one.
        const bool isWaiting = m_pendingCloudKeys.contains(setting->key());
        if (setting == &iCloudSyncEnabled || isWaiting || !keys.contains(setting->key()))
            continue;
        const std::optional<QByteArray> text = m_kv.value(setting->key());
        const std::optional<QJsonValue> value = text ? scalarFromText(*text) : std::nullopt;
        if (value && setting->take(*value))
            publish(*setting);
    }
}

void SettingsStore::sendPending()
{
    m_persistDebounce.stop();
    // What could not be written stays and goes with the next change.
    m_pendingCloudKeys.removeIf(
        [this](const auto &entry) { return m_kv.setValue(entry.key(), scalarText(entry.value())); });
}

/// Settings that were never changed here stay out: other machines may have better ones.
void SettingsStore::sendWhatTheCloudLacks()
{
    if (!iCloudSyncEnabled.value() || !m_kv.isAvailable())
        return;
    for (const AnySetting *setting : m_settings) {
        const bool wasChanged = !m_defaults.value(setting->key()).isUndefined();
        if (setting != &iCloudSyncEnabled && wasChanged && !m_kv.value(setting->key()))
            m_pendingCloudKeys.insert(setting->key(), setting->toJson());
    }
    sendPending();
}

void SettingsStore::apply(const SettingsSnapshot &snapshot)
{
    const auto applyTo = [&](AnySetting &setting) {
        const auto value = snapshot.constFind(setting.key());
        if (value != snapshot.constEnd() && setting.take(*value))
            publish(setting);
    };
    // The switch first: turning it on brings the cloud's values in, which those of the snapshot then replace.
    applyTo(iCloudSyncEnabled);
    for (AnySetting *setting : m_settings)
        applyTo(*setting);
}

SettingsSnapshot SettingsStore::snapshot() const
{
    SettingsSnapshot values;
    for (const AnySetting *setting : m_settings)
        values.insert(setting->key(), setting->toJson());
    return values;
}

} // namespace moorix

#include "moc_SettingsStore.cpp"
