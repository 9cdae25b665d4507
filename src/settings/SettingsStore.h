// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/Setting.h"

#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <vector>

namespace moorix {

class KeyValueStore;
class Preferences;

/// All settings at once, as a configuration file holds them: key to value. Keys that are missing keep their value.
using SettingsSnapshot = QJsonObject;

/// The user's preferences as observable values: read at start, each change handed to the preferences at once and
/// mirrored through the cloud key-value store a moment later, one cloud key per setting. What the cloud holds wins at
/// start, when it arrives and when mirroring is turned on; what another cloud folder lacks is sent there.
/// `iCloudSyncEnabled` gates all of it and is not mirrored itself: each machine decides for itself. Main thread.
class SettingsStore final : public QObject
{
    Q_OBJECT

    // First, because each setting below reads its value and enters itself here while it is made.
    Preferences &m_defaults;
    KeyValueStore &m_kv;
    std::vector<AnySetting *> m_settings;

public:
    /// Both stores are given for the life of this one.
    SettingsStore(Preferences &defaults, KeyValueStore &kv, QObject *parent = nullptr);
    /// Sends what is still waiting for the cloud.
    ~SettingsStore() override;

    Setting<QString> themeID{*this, "themeID", QStringLiteral("midnight")};
    Setting<bool> showHiddenFiles{*this, "showHiddenFiles", false};
    Setting<bool> dualPaneEnabled{*this, "dualPaneEnabled", true};
    Setting<bool> iCloudSyncEnabled{*this, "iCloudSyncEnabled", true};
    Setting<QString> defaultLocalPath;
    Setting<double> terminalFontSize{*this, "terminalFontSize", 13, 6, 72};
    Setting<QString> terminalFontName{*this, "terminalFontName", QStringLiteral("Menlo")};
    Setting<QString> terminalThemeID{*this, "terminalThemeID", QStringLiteral("app")};
    Setting<bool> confirmDeletes{*this, "confirmDeletes", true};
    Setting<QString> sortKeyRaw{*this, "sortKeyRaw", QStringLiteral("Name")};
    Setting<bool> sortAscending{*this, "sortAscending", true};
    Setting<bool> autoCheckUpdates{*this, "autoCheckUpdates", true};
    Setting<QString> updateEndpoint;
    Setting<bool> widgetCPU{*this, "widgetCPU", true};
    Setting<bool> widgetRAM{*this, "widgetRAM", true};
    Setting<bool> widgetDisk{*this, "widgetDisk", false};
    Setting<bool> widgetNet{*this, "widgetNet", true};
    Setting<bool> widgetBattery{*this, "widgetBattery", false};
    Setting<bool> openMonitorOnLaunch{*this, "openMonitorOnLaunch", false};
    Setting<bool> showMenuBarIcon{*this, "showMenuBarIcon", true};
    Setting<QString> localFavoritesRaw{*this, "localFavoritesRaw", QString()};
    Setting<qint64> maxConcurrentTransfers{*this, "maxConcurrentTransfers", 3, 1, 8};
    Setting<bool> limitTransferSpeed{*this, "limitTransferSpeed", false};
    /// In kilobytes (1000 bytes) per second.
    Setting<qint64> transferSpeedLimit{*this, "transferSpeedLimit", 1000, 10, 1'000'000};
    Setting<QString> conflictPolicyRaw{*this, "conflictPolicyRaw", QStringLiteral("ask")};
    Setting<double> contentFontSize{*this, "contentFontSize", 13, 8, 32};
    Setting<double> sizeColumnWidth{*this, "sizeColumnWidth", 90, 40, 600};
    Setting<double> dateColumnWidth{*this, "dateColumnWidth", 175, 40, 600};
    Setting<QString> toolbarItemsRaw{*this, "toolbarItemsRaw", QStringLiteral("monitor,sort,info,settings,terminal")};
    Setting<bool> remoteDiagnosticsEnabled{*this, "remoteDiagnosticsEnabled", true};
    Setting<QString> diagnosticsEndpoint;
    Setting<bool> terminalGPURenderer{*this, "terminalGPURenderer", false};
    Setting<bool> terminalLocalEcho{*this, "terminalLocalEcho", false};
    Setting<bool> permissionOnboardingDismissed{*this, "permissionOnboardingDismissed", false};

    /// What transfers to and from servers may use; 0 for no limit.
    qint64 transferBytesPerSecond() const { return limitTransferSpeed.value() ? transferSpeedLimit.value() * 1000 : 0; }

    /// Replaces all settings by those of a snapshot; wrong types and missing keys leave a setting as it is.
    void apply(const SettingsSnapshot &snapshot);
    SettingsSnapshot snapshot() const;

signals:
    /// The setting of this key has another value, whoever changed it.
    void settingChanged(const QString &key);

private:
    friend class AnySetting;
    void publish(const AnySetting &setting);
    void replaceEarlierToolbar();
    void applyRemoteChanges(const QStringList &keys);
    void sendPending();
    void sendWhatTheCloudLacks();

    /// Values that came from the cloud are being applied and must not be sent back.
    bool m_isApplyingRemote = false;
    QHash<QString, QJsonValue> m_pendingCloudKeys;
    QTimer m_persistDebounce;
};

} // namespace moorix
