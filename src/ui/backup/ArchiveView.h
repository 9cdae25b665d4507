// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/ArchiveSource.h"
#include "backup/ArchiveExtraction.h"
#include "base/Job.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QTreeView;

namespace moorix {

class ArchiveTreeModel;
class MessageBar;
class PassphrasePrompt;
class RestorePanel;
class WorkBar;

/// A page that looks into one archive: shows its tree, checks it, brings entries back, and writes an encrypted one as
/// a plain zip file. Asks for the passphrase where the keychain has none that opens it. One thing is done at a time.
class ArchiveView final : public QWidget
{
    Q_OBJECT

public:
    /// What is done once the archive is open.
    enum class Task { browse, verify, decrypt };

    ArchiveView(AppModel &model, ArchivePlace place, Task task, QWidget *parent = nullptr);
    ~ArchiveView() override;

    QString title() const { return m_place.name(); }

signals:
    void closed();
    /// A folder is to be seen in a file list.
    void folderRequested(const QString &path);

private:
    QWidget *makeHeader();
    QWidget *makeWaiting();
    QWidget *makeContent();
    void open();
    void openCopy();
    void showArchive();
    void failToOpen(const Error &error);
    void verify();
    void chooseForDecryption();
    void decrypt(const QString &to);
    void restore(const QStringList &paths);
    void tellOutcome(const RestoreOutcome &outcome, const QString &folder);
    QStringList selectedPaths() const;
    void beginWork(const QString &text);
    void endWork();
    /// For work: tells the bar how far it is, a few times a second.
    BackupArchive::Progress reporter();

    AppModel &m_model;
    ArchivePlace m_place;
    Task m_task;
    ArchiveSource m_source;
    /// Fetched once, however often a passphrase is tried.
    std::shared_ptr<const ArchiveCopy> m_copy;
    std::shared_ptr<BackupArchive> m_archive;
    /// What was typed; kept as long as the page is there.
    std::optional<QString> m_passphrase;
    MessageBar *m_message;
    WorkBar *m_work;
    QPushButton *m_verify = nullptr;
    QPushButton *m_decrypt = nullptr;
    QWidget *m_waiting = nullptr;
    QLabel *m_failure = nullptr;
    QPushButton *m_retry = nullptr;
    PassphrasePrompt *m_prompt = nullptr;
    QWidget *m_content = nullptr;
    QLabel *m_summary = nullptr;
    QTreeView *m_tree = nullptr;
    ArchiveTreeModel *m_entries;
    RestorePanel *m_restore = nullptr;
    /// Stops what is done, whose end is waited for: an archive serves one at a time.
    std::stop_source m_stop;
    Job m_job;
};

} // namespace moorix
