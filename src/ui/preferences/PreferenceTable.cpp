// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/PreferenceTable.h"

#include "app/AppModel.h"
#include "endpoints/RemoteDiagnosticsService.h"
#include "files/FileSortKey.h"
#include "platform/AppPaths.h"
#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"
#include "settings/SettingsStore.h"
#include "terminal/TerminalTheme.h"
#include "transfers/TransferConflict.h"
#include "ui/Theme.h"
#include "ui/preferences/DiagnosticsPanel.h"
#include "ui/preferences/UpdatesPanel.h"

#include <QCoreApplication>
#include <QFontInfo>

namespace moorix {

namespace {

using Kind = PreferenceRow::Kind;

QString tr(const char *text)
{
    return QCoreApplication::translate("moorix", text);
}

template <class Value>
PreferenceRow row(Kind kind, Setting<Value> &setting, const QString &label, const QString &help)
{
    PreferenceRow row;
    row.kind = kind;
    row.key = setting.key();
    row.label = label;
    row.help = help;
    row.value = [&setting] { return QVariant::fromValue(setting.value()); };
    row.set = [&setting](const QVariant &value) { setting.set(value.value<Value>()); };
    row.fallBack = QVariant::fromValue(setting.fallBack());
    return row;
}

PreferenceRow toggle(Setting<bool> &setting, const QString &label, const QString &help = {})
{
    return row(Kind::toggle, setting, label, help);
}

template <class Value>
PreferenceRow number(Setting<Value> &setting, const QString &label, const QString &unit, double minimum, double maximum)
{
    PreferenceRow made = row(Kind::number, setting, label, {});
    made.unit = unit;
    made.minimum = minimum;
    made.maximum = maximum;
    return made;
}

PreferenceRow text(Setting<QString> &setting, const QString &label, const QString &help, const QString &placeholder)
{
    PreferenceRow made = row(Kind::text, setting, label, help);
    made.placeholder = placeholder;
    return made;
}

PreferenceRow choice(Setting<QString> &setting, const QString &label, const QString &help,
                     const QList<std::pair<QString, QString>> &choices)
{
    PreferenceRow made = row(Kind::choice, setting, label, help);
    made.choices = choices;
    // Stored texts are compared without regard to capitals ("Name" and "name" are one order).
    made.value = [&setting, choices] {
        for (const auto &[value, name] : choices) {
            if (value.compare(setting.value(), Qt::CaseInsensitive) == 0)
                return QVariant(value);
        }
        return QVariant(setting.value());
    };
    return made;
}

QList<std::pair<QString, QString>> themes()
{
    QList<std::pair<QString, QString>> all;
    for (const Theme::Description &theme : Theme::all())
        all.append({theme.id, theme.label});
    return all;
}

QList<std::pair<QString, QString>> terminalThemes()
{
    QList<std::pair<QString, QString>> all;
    for (const TerminalTheme &theme : TerminalThemeCatalog::all())
        all.append({theme.id, theme.name});
    return all;
}

PreferencePage general(SettingsStore &settings)
{
    return {tr("General"),
            QStringLiteral("configure"),
            {},
            {
                choice(settings.themeID, tr("Theme"), {}, themes()),
                row(Kind::folder, settings.defaultLocalPath, tr("Start folder"), tr("Where new local tabs open.")),
                toggle(settings.dualPaneEnabled, tr("Two sides"), tr("Ctrl+2 switches too.")),
                toggle(settings.showHiddenFiles, tr("Show hidden files"),
                       tr("For new tabs; Ctrl+H switches the one shown.")),
                toggle(settings.confirmDeletes, tr("Ask before deleting")),
                choice(settings.sortKeyRaw, tr("Order of new tabs"), {},
                       {{QStringLiteral("Name"), tr("Name")},
                        {rawText(FileSortKey::size), tr("Size")},
                        {rawText(FileSortKey::date), tr("Date")},
                        {rawText(FileSortKey::kind), tr("Kind")}}),
                toggle(settings.sortAscending, tr("Ascending"), tr("Folders come first either way.")),
            }};
}

PreferencePage appearance(SettingsStore &settings)
{
    return {tr("Appearance"),
            QStringLiteral("draw-text"),
            {},
            {
                number(settings.contentFontSize, tr("Text size"), tr(" px"), 8, 32),
                number(settings.sizeColumnWidth, tr("Width of the size column"), tr(" px"), 40, 600),
                number(settings.dateColumnWidth, tr("Width of the date column"), tr(" px"), 40, 600),
            }};
}

PreferencePage transfers(SettingsStore &settings)
{
    return {tr("Transfers"),
            QStringLiteral("document-send"),
            {},
            {
                choice(settings.conflictPolicyRaw, tr("When a file exists already"), {},
                       {{rawText(TransferConflictPolicy::ask), tr("Ask")},
                        {rawText(TransferConflictPolicy::skip), tr("Skip it")},
                        {rawText(TransferConflictPolicy::overwrite), tr("Overwrite it")},
                        {rawText(TransferConflictPolicy::rename), tr("Keep both")}}),
                number(settings.maxConcurrentTransfers, tr("Files at the same time"), {}, 1, 8),
                toggle(settings.limitTransferSpeed, tr("Limit the speed of transfers to servers"),
                       tr("For all servers and both directions together, with syncs and backups. Files then travel "
                          "one at a time. A change counts at once, but for small files under way.")),
                number(settings.transferSpeedLimit, tr("Speed limit"), tr(" kB/s"), 10, 1'000'000),
            }};
}

PreferencePage terminal(SettingsStore &settings)
{
    return {
        tr("Terminal"),
        QStringLiteral("dialog-scripts"),
        {},
        {
            row(Kind::font, settings.terminalFontName, tr("Font"),
                tr("Where it is not installed, “%1” stands in for it.").arg(QFontInfo(Theme::monospace()).family())),
            number(settings.terminalFontSize, tr("Font size"), tr(" px"), 6, 72),
            choice(settings.terminalThemeID, tr("Colours"), {}, terminalThemes()),
            toggle(settings.terminalGPURenderer, tr("Draw with the graphics card")),
            toggle(settings.terminalLocalEcho, tr("Show typed characters at once"),
                   tr("Hides the delay of slow connections; never where nothing is echoed, as for passwords.")),
        }};
}

PreferencePage monitor(SettingsStore &settings)
{
    return {tr("Monitor"),
            QStringLiteral("view-statistics"),
            {},
            {
                toggle(settings.openMonitorOnLaunch, tr("Open the monitor at start")),
                toggle(settings.showMenuBarIcon, tr("Icon in the system tray"),
                       tr("Where the desktop has a tray. It shows of this computer:")),
                toggle(settings.widgetCPU, tr("Processor")),
                toggle(settings.widgetRAM, tr("Memory")),
                toggle(settings.widgetDisk, tr("Disk")),
                toggle(settings.widgetNet, tr("Network")),
                toggle(settings.widgetBattery, tr("Battery")),
            }};
}

PreferencePage cloud(AppModel &model)
{
    PreferenceRow folder;
    folder.kind = Kind::folder;
    folder.key = QStringLiteral("cloudFolder");
    folder.label = tr("Cloud folder");
    folder.help = tr("A folder that your cloud client mirrors (Nextcloud, Syncthing, Dropbox). Empty: no mirroring.");
    folder.value = [&model] { return model.preferences().value(QStringLiteral("cloudFolder")).toString(); };
    folder.set = [&model](const QVariant &value) {
        const QString path = AppPaths::expandTilde(value.toString());
        model.preferences().setValue(QStringLiteral("cloudFolder"), path);
        model.cloud().setFolder(path);
    };
    folder.fallBack = QString();
    return {
        tr("Sync & cloud"),
        QStringLiteral("folder-cloud"),
        {},
        {
            toggle(model.settings().iCloudSyncEnabled, tr("Mirror through a cloud folder"),
                   tr("Servers and settings follow you to your other computers. Passwords never leave the keychain.")),
            folder,
        }};
}

PreferencePage updates(AppModel &model)
{
    SettingsStore &settings = model.settings();
    return {
        tr("Updates"),
        QStringLiteral("download"),
        tr("Moorix asks the server at this address for the newest version, and sends it nothing but its own name and "
           "version."),
        {
            toggle(settings.autoCheckUpdates, tr("Check for updates"), tr("Every four hours.")),
            text(settings.updateEndpoint, tr("Update address"),
                 tr("Addresses of the domain “example” are placeholders: nothing is asked."), tr("None")),
        },
        [&model](QWidget *parent) { return new UpdatesPanel(model.updates(), parent); }};
}

PreferencePage diagnostics(AppModel &model)
{
    SettingsStore &settings = model.settings();
    return {tr("Diagnostics"),
            QStringLiteral("tools-report-bug"),
            RemoteDiagnosticsService::securityRule(),
            {
                toggle(settings.remoteDiagnosticsEnabled, tr("Remote diagnostics"),
                       tr("Checks in every ten minutes with the server below. Nothing is sent without an address.")),
                text(settings.diagnosticsEndpoint, tr("Diagnostics address"),
                     tr("The first check-in follows as soon as an address is entered."), tr("None")),
            },
            [&model](QWidget *parent) { return new DiagnosticsPanel(model.diagnostics(), parent); }};
}

} // namespace

QList<PreferencePage> preferencePages(AppModel &model)
{
    SettingsStore &settings = model.settings();
    return {general(settings), appearance(settings), transfers(settings), terminal(settings),
            monitor(settings), cloud(model),         updates(model),      diagnostics(model)};
}

} // namespace moorix
