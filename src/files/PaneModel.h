// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "files/FileService.h"
#include "files/FileSortKey.h"
#include "files/FolderWatcher.h"
#include "files/ItemOrder.h"
#include "files/PaneOperations.h"

#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>

namespace moorix {

class PaneListing;

/// One-shot requests from menus and toolbar to the view, which opens what was asked for and clears the request.
enum class PaneRequest {
    requestNewFolder,
    requestNewFile,
    requestGetInfo,
    requestGoTo,
    requestDelete,
    requestQuickLook
};

/// One component of the breadcrumb.
struct PathComponent
{
    QString name;
    /// The path up to and including the component.
    QString path;

    bool operator==(const PathComponent &) const = default;
};

/// The observable state of one file list: the folder shown, its entries, selection, order, filter and history. Never
/// blocks: the service is called on workers, and sorting a fresh listing happens there too. A local pane follows
/// changes that other programs make to its folder. Main thread.
class PaneModel final : public QObject
{
    Q_OBJECT

public:
    /// `service` is fixed for the pane's life.
    PaneModel(std::shared_ptr<FileService> service, QString title, bool isLocal, QObject *parent = nullptr);
    ~PaneModel() override;

    const std::shared_ptr<FileService> &service() const { return m_service; }
    const QString &title() const { return m_title; }
    bool isLocal() const { return m_isLocal; }

    // What is shown.
    const QString &currentPath() const { return m_currentPath; }
    const QList<PathComponent> &pathComponents() const { return m_pathComponentCache; }
    /// Entries as last read, unsorted.
    const QList<FileItem> &items() const;
    /// The rows of the list: sorted and filtered. `displayedItem` is cheap, `displayed` copies them all.
    qsizetype displayedCount() const;
    const FileItem &displayedItem(qsizetype row) const;
    QList<FileItem> displayed() const;
    /// The row of an entry, or nothing when it is not shown.
    std::optional<qsizetype> displayedIndex(const QString &id) const;
    bool isLoading() const { return m_isLoading; }
    /// What a load in progress is for; empty otherwise.
    const QString &loadingPath() const { return m_loadingPath; }
    /// The last failure, until the next success.
    const std::optional<QString> &errorMessage() const { return m_errorMessage; }
    void clearError();

    // Navigation.
    /// Lists `path` and shows it. A later call replaces one that is still under way, whose result is dropped. With
    /// `pushHistory` and another path than the current one, the current path joins the history when the load
    /// succeeds. A load that fails leaves everything but `errorMessage` as it was. An empty path stands for the
    /// service's default folder; repeated and trailing slashes are dropped. The path of a local file shows its folder,
    /// with the file selected.
    void load(const QString &path, bool pushHistory);
    void reload();
    /// Something of the program's has changed the folder. Another one that the user has asked for comes all the same.
    void reloadUnlessLeaving();
    void cancelLoading();
    bool canGoBack() const { return !m_history.isEmpty(); }
    bool canGoForward() const { return !m_forwardStack.isEmpty(); }
    bool canGoUp() const;
    void goBack();
    void goForward();
    void goUp();
    const QStringList &history() const { return m_history; }
    const QStringList &forwardStack() const { return m_forwardStack; }
    /// Enters a folder or a link to one; files go out through `openFileRequested`.
    void open(const FileItem &item);

    // Selection, by item id. Entries that are gone after a reload leave it.
    const QSet<QString> &selection() const { return m_selection; }
    void setSelection(const QSet<QString> &ids);
    /// Entries of the rows shown that are selected, in row order.
    QList<FileItem> selectedItems() const;
    /// The same, but not more than `most`: what can be done with a selection shows in its first two entries.
    QList<FileItem> selectedItems(qsizetype most) const;
    /// Once the next load is shown, only the entry of this name is selected and made current.
    void selectWhenLoaded(const QString &name);

    // Order and filter.
    FileSortKey sortKey() const { return m_sortKey; }
    bool sortAscending() const { return m_sortAscending; }
    bool showHidden() const { return m_showHidden; }
    const QString &searchQuery() const { return m_searchQuery; }
    void setSortKey(FileSortKey key);
    void setSortAscending(bool ascending);
    /// Reads the folder again when the source leaves hidden entries out of an ordinary listing.
    void setShowHidden(bool show);
    /// Shown 120 ms after the last change.
    void setSearchQuery(const QString &query);

    // Operations: done by the service in the background, followed by a reload that keeps selection and position. A
    // failure becomes `errorMessage`. Names that are taken are refused, never overwritten.
    void createFolder(const QString &named);
    void createFile(const QString &named);
    void rename(const FileItem &item, const QString &to);
    void move(const QList<FileItem> &items, const QString &toDirectory);
    void remove(const QList<FileItem> &items);
    /// On the local disk only. `moved` is called once all of them are in the bin.
    void moveToTrash(const QList<FileItem> &items, std::function<void()> moved);
    void duplicate(const QList<FileItem> &items);
    void setPermissions(const QList<FileItem> &items, const QString &octal, Recursive recursive);
    /// An operation is under way; its description for the user ("Deleting 3 items").
    const std::optional<QString> &operation() const { return m_operations->current(); }
    /// Also drops operations that wait. The one under way ends soon, with a reload.
    void cancelOperation();
    /// Gives away what is under way and waits, to go on without this list; null when there is nothing.
    std::unique_ptr<PaneOperations> releaseOperations();

    // Requests.
    void request(PaneRequest request);
    bool isRequested(PaneRequest request) const;
    /// Clears the request and tells whether it was pending.
    bool takeRequest(PaneRequest request);

signals:
    void currentPathChanged();
    /// The rows were replaced (load, sort, filter, hidden switch).
    void displayedChanged();
    void selectionChanged();
    void isLoadingChanged();
    void errorMessageChanged();
    void orderChanged();
    void showHiddenChanged();
    void searchQueryChanged();
    void historyChanged();
    void operationChanged();
    void requested(moorix::PaneRequest request);
    void openFileRequested(const moorix::FileItem &item);
    /// A load asked for with `selectWhenLoaded`, or an operation that made a new entry, wants this row in view.
    void currentItemRequested(const QString &id);

private:
    /// What a load is for, which decides whether it shows and what it does to an earlier failure.
    enum class LoadKind { navigation, afterOperation, background };

    struct PendingLoad
    {
        QString path;
        LoadKind kind = LoadKind::navigation;
        bool pushesHistory = false;
        /// Steps to take in the history once the load succeeds: negative back, positive forward.
        qsizetype historyOffset = 0;
    };
    struct LoadResult;

    ItemView itemView() const;
    void applyView();

    void start(PendingLoad pending);
    void refresh(LoadKind kind);
    void finishLoad(LoadResult result);
    void failLoad(const Error &error);
    void showLoading();
    void goInHistory(qsizetype delta);
    bool applyHistory(const PendingLoad &load, const QString &path);
    void replaceListing(std::shared_ptr<PaneListing> listing);
    QString selectRequested();
    void readHiddenIfMissing();
    void setError(const std::optional<QString> &message, LoadKind origin);

    void takeUpOperations();
    bool acceptName(const QString &name);
    void operate(const QString &description, PaneOperations::Work work, std::function<void()> succeeded = {});
    void finishOperation(const QString &folder, const FileActions::Outcome &outcome);

    std::shared_ptr<FileService> m_service;
    QString m_title;
    bool m_isLocal;
    QString m_currentPath;
    QString m_loadingPath;
    bool m_isLoading = false;
    std::optional<QString> m_errorMessage;
    LoadKind m_errorOrigin = LoadKind::navigation;
    std::shared_ptr<PaneListing> m_listing;
    QSet<QString> m_selection;
    QStringList m_namesToSelect;
    FileSortKey m_sortKey = FileSortKey::name;
    bool m_sortAscending = true;
    bool m_showHidden = false;
    QString m_searchQuery;
    QStringList m_history;
    QStringList m_forwardStack;
    QList<PathComponent> m_pathComponentCache;
    QTimer m_searchDebounce;
    QSet<PaneRequest> m_requests;
    std::optional<PendingLoad> m_pending;
    /// The folder changed while a load was under way.
    bool m_refreshWanted = false;
    FolderWatcher m_watcher;
    std::unique_ptr<PaneOperations> m_operations;
    Job m_loadJob;
    Job m_openJob;
};

} // namespace moorix
