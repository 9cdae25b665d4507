// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/AppModel.h"
#include "app/exchange/ExchangeContent.h"
#include "editor/RecoveryCopies.h"
#include "ui/WindowActions.h"

#include <QMainWindow>
#include <QPointer>
#include <QSet>
#include <QUuid>

#include <array>
#include <memory>

class QSplitter;
class QStackedWidget;

namespace moorix {

class BackupArea;
class CommandPalette;
class DesktopNotifier;
class DiffPage;
class EditorArea;
class IntroductionPage;
class LeftOperationNotices;
class MainToolBar;
class MessageBar;
class MonitorArea;
class PaneModel;
struct PaletteEntry;
class PreferencesWindow;
class RecentPlaces;
class Session;
class ShortcutsOverview;
class SideView;
class Sidebar;
class StatusStrip;
class SyncArea;
class TransferDrawer;
class UnsentEdits;
class UpdateBar;
class WindowTerminals;
struct Comparison;

/// The window: two sides with their tabs, the sidebar, and the bars around them. Observes the model, which outlives it,
/// and calls its operations.
class MainWindow final : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(AppModel &model);
    ~MainWindow() override;

    /// Shows what the command line names (launchTarget) in the active side, then the other, and so on. A server that is
    /// not saved is offered only: a page of the web may have named it.
    void openTargets(const QStringList &targets);
    /// The same in new tabs, and comes to the front, as another start of the program asks for. `activationToken` is the
    /// desktop's leave to do so.
    void openFromOutside(const QStringList &targets, const QString &activationToken);
    /// Shows the introduction where this is the user's first window and they have not dismissed it.
    void offerIntroduction();
    void showIntroduction();
    /// Ends the program without asking, as after a signal.
    void quitNow();

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void build();
    QWidget *makeCentre();
    void connectParts();
    void connectSidebar();
    void connectSide(SideView &side);
    void connectCommands();
    void addTabCommands();
    void addServerCommands();
    void addViewCommands();
    void addSyncCommands();
    void connectSync();
    void addTerminalCommands();
    void connectTerminals();
    void addBackupCommands();
    void connectBackups();
    void notifyOfBackups();
    void openArchive(const QString &path);
    void connectComparisons();
    void showComparison(const Comparison &comparison);
    void leaveComparison();
    void dropComparison();
    void runComparisonCommand(PaneCommand command);
    void connectMonitor();
    void runMonitorCommand(PaneCommand command);
    void connectEditor();
    void showEditor();
    void offerUnsavedText(const QList<RecoveryCopies::Found> &found);
    bool keepUnsavedText();
    void runEditorCommand(PaneCommand command);

    void openTarget(const QString &target, PaneTabs &tabs, bool takesCurrentTab);
    PaneTabs &activeTabs() const;
    SideView &activeView() const;
    void runCommand(WindowCommand command);
    void runPaneCommand(PaneCommand command);
    void runSyncCommand(PaneCommand command);
    void prepareMenus();
    void showPaneState();
    /// Why a command would do nothing now; nothing where it would do something, an empty text where there are no words.
    /// `entries` are those that commands of file lists would act on (entriesActedOn), looked up once for all of them.
    std::optional<QString> refusal(const WindowActions::Entry &command, const QList<FileItem> &entries) const;
    std::optional<QString> refusal(WindowCommand command) const;
    std::optional<QString> refusal(PaneCommand command, const QList<FileItem> &entries) const;
    QList<FileItem> entriesActedOn() const;
    std::optional<QString> refusalBesideSides(PaneCommand command) const;
    std::optional<QString> refusalOfTransfers(WindowCommand command) const;
    void addTransferCommands();
    /// Opens the folder that a transfer goes to in a new tab.
    void showTargetOf(const QUuid &transfer);
    /// Gives the keyboard back to what is shown above the drawer.
    void leaveDrawer();
    void connectPalette();
    void showPalette();
    /// Remembers the folder that the active side shows.
    void noteFolder();
    QList<PaletteEntry> paletteEntries();
    void addCommandsTo(QList<PaletteEntry> &entries);
    void addTabsTo(QList<PaletteEntry> &entries);
    void addFoldersTo(QList<PaletteEntry> &entries);
    void addServersTo(QList<PaletteEntry> &entries);
    void openServer(const QUuid &id, bool inNewTab);
    void openForm(const ServerConnection &server, bool isNew);
    void editServer(const QUuid &id);
    void newServer(const std::optional<QUuid> &folder);
    void addExchangeCommands();
    void importServers();
    void chooseImport();
    void chooseExport(ExchangeContent::Kind kind);
    void exportTo(const QString &path, ExchangeContent::Kind kind);
    void addFavorite();
    void showPreferences();
    void stepTab(int step);
    void showSameFolderThere();
    void swapSides();

    bool showsSides() const;
    /// In place of a sync, of backups or of the monitor.
    void showSides();
    /// Whether a sync stands in place of the two sides.
    bool showsSync() const;
    void showSync();
    /// Whether backups stand in place of the two sides.
    bool showsBackups() const;
    bool showsComparison() const;
    bool showsIntroduction() const;
    QSet<QUuid> knownServers() const;
    /// Whether the monitor stands in place of the two sides.
    bool showsMonitor() const;
    /// Whether the editor stands in place of the two sides.
    bool showsEditor() const;

    void followActiveSide();
    void followSession();
    void showLocation();
    void followSetting(const QString &key);
    void applyLook();
    void applyTwoSides();
    /// False after asking what is to become of what is left undone.
    bool mayQuit();

    AppModel &m_model;
    std::unique_ptr<WindowTerminals> m_terminals;
    WindowActions *m_actions = nullptr;
    QHash<WindowCommand, std::function<void()>> m_handlers;
    MainToolBar *m_toolBar = nullptr;
    Sidebar *m_sidebar = nullptr;
    QSplitter *m_outer = nullptr;
    QSplitter *m_sides = nullptr;
    QStackedWidget *m_middle = nullptr;
    SyncArea *m_sync = nullptr;
    BackupArea *m_backups = nullptr;
    QPointer<DiffPage> m_comparison;
    QPointer<IntroductionPage> m_introduction;
    /// What the comparison stands in place of.
    QWidget *m_comparedFrom = nullptr;
    MonitorArea *m_monitor = nullptr;
    EditorArea *m_editor = nullptr;
    Job m_leftOver;
    DesktopNotifier *m_notifier = nullptr;
    std::array<SideView *, 2> m_sideViews{};
    TransferDrawer *m_drawer = nullptr;
    MessageBar *m_question = nullptr;
    LeftOperationNotices *m_leftNotices = nullptr;
    UpdateBar *m_updateBar = nullptr;
    UnsentEdits *m_unsent = nullptr;
    StatusStrip *m_status = nullptr;
    std::unique_ptr<RecentPlaces> m_recent;
    /// Made when it is opened for the first time.
    CommandPalette *m_palette = nullptr;
    QPointer<PreferencesWindow> m_preferences;
    QPointer<Session> m_followed;
    QPointer<PaneModel> m_followedPane;
    Job m_export;
    bool m_mayClose = false;
    bool m_hasWarnedOfLoss = false;
};

} // namespace moorix
