// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/AppModel.h"

#include <QUuid>
#include <QWidget>

class QVBoxLayout;

namespace moorix {

class MessageBar;
class PaneView;
class RemoteFileService;
class ServerLibraryView;
struct Comparison;
struct FileItem;
struct PaneContext;
class Session;
class WindowTerminals;

/// The content of one tab, whatever its session is at the moment: a file list, the server library, a terminal, a
/// connection being made or one that failed.
class SessionView final : public QWidget
{
    Q_OBJECT
    Q_MOC_INCLUDE("app/Comparison.h")

public:
    SessionView(AppModel &model, WindowTerminals &terminals, Side side, Session &session, QWidget *parent = nullptr);
    ~SessionView() override;

    /// Null unless a file list is shown.
    PaneView *pane() const { return m_pane; }
    /// Null unless the server library is shown.
    ServerLibraryView *library() const { return m_library; }
    /// Gives the keyboard to what is shown.
    void focusContent();

signals:
    void editServerRequested(const QUuid &server);
    void disconnectRequested(const QUuid &server);
    void newServerRequested(const std::optional<QUuid> &folder);
    void importRequested();
    /// An encrypted archive of a backup was opened, for which the desktop has no program.
    void archiveRequested(const QString &path);
    /// A text file of this machine; `place` is what the user knows it by where that is not its path, or empty.
    void editRequested(const QString &path, const QString &place);
    void comparisonRequested(const moorix::Comparison &comparison);

private:
    void followState();
    void followNotice();
    QWidget *makeContent();
    PaneContext paneContext();
    void openRemoteFile(const std::shared_ptr<RemoteFileService> &service, const FileItem &file);
    void editRemoteFile(const std::shared_ptr<RemoteFileService> &service, const FileItem &file);
    /// False while the file is being fetched; a try that has failed gives way.
    bool makeWayFor(const FileItem &file) const;
    std::optional<QString> compareFiles();
    QWidget *makePane();
    QWidget *makeLibrary();
    QWidget *makeFailure();
    QWidget *makeTerminal();
    void closeTab();
    void openElsewhere(const QString &folder, Side side, bool inNewTab);

    AppModel &m_model;
    WindowTerminals &m_terminals;
    Side m_side;
    Session &m_session;
    QVBoxLayout *m_column;
    MessageBar *m_notice;
    QWidget *m_content = nullptr;
    PaneView *m_pane = nullptr;
    ServerLibraryView *m_library = nullptr;
};

} // namespace moorix
