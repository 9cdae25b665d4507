// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/ArchiveView.h"

#include "app/AppModel.h"
#include "backup/ArchiveCipher.h"
#include "files/Format.h"
#include "platform/AppPaths.h"
#include "ui/MessageBar.h"
#include "ui/backup/ArchiveTreeModel.h"
#include "ui/backup/PassphrasePrompt.h"
#include "ui/backup/RestorePanel.h"
#include "ui/backup/WorkBar.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTreeView>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 reportMilliseconds = 100;
/// So many failures are told; of the others only the number.
constexpr qsizetype mostFailures = 4;

struct Opened
{
    std::shared_ptr<BackupArchive> archive;
    ArchiveTreeModel::Tree tree;
};

/// Runs work that both the page's own stop and the end of the page stop; nothing comes back after the former.
template <class Work>
auto stoppable(const std::stop_source &own, Work work)
{
    return [own, work = std::move(work)](const std::stop_token &stop) mutable {
        const std::stop_callback passOn(stop, [&own] { std::stop_source(own).request_stop(); });
        using Result = std::invoke_result_t<Work, std::stop_token>;
        try {
            return std::optional<Result>(work(own.get_token()));
        } catch (const Cancelled &) {
            return std::optional<Result>();
        }
    };
}

} // namespace

BackupArchive::Progress ArchiveView::reporter()
{
    auto clock = std::make_shared<QElapsedTimer>();
    clock->start();
    return [self = QPointer(this), clock, last = qint64(0)](qint64 done, qint64 total) mutable {
        if (clock->elapsed() - last < reportMilliseconds)
            return;
        last = clock->elapsed();
        onMain([self, done, total] {
            if (self)
                self->m_work->advance(done, total);
        });
    };
}

void ArchiveView::beginWork(const QString &text)
{
    m_stop = std::stop_source();
    m_message->dismiss();
    m_work->begin(text);
    for (QWidget *widget :
         {static_cast<QWidget *>(m_verify), static_cast<QWidget *>(m_decrypt), static_cast<QWidget *>(m_restore)})
        widget->setEnabled(false);
}

void ArchiveView::endWork()
{
    m_work->end();
    m_restore->setEnabled(m_archive != nullptr);
    m_verify->setEnabled(m_archive != nullptr);
    m_decrypt->setEnabled(m_archive != nullptr);
}

void ArchiveView::open()
{
    m_failure->hide();
    m_retry->hide();
    m_prompt->hide();
    if (m_copy) {
        openCopy();
        return;
    }
    beginWork(m_place.server ? tr("Fetching the archive…") : tr("Opening the archive…"));
    m_job = runJob(
        stoppable(m_stop, [source = m_source, place = m_place, passphrase = m_passphrase, report = reporter()](
                              const std::stop_token &stop) { return source.fetch(place, passphrase, report, stop); }),
        [this](std::optional<std::shared_ptr<const ArchiveCopy>> copy) {
            endWork();
            if (!copy) {
                failToOpen(Error(u"Backup"_s, tr("Cancelled before the archive was open.")));
                return;
            }
            m_copy = std::move(*copy);
            openCopy();
        },
        [this](const Error &error) {
            endWork();
            failToOpen(error);
        });
}

void ArchiveView::openCopy()
{
    beginWork(tr("Opening the archive…"));
    m_job = runJob(
        stoppable(m_stop,
                  [source = m_source, place = m_place, copy = m_copy, passphrase = m_passphrase,
                   report = reporter()](const std::stop_token &stop) {
                      auto archive = source.open(place, copy, passphrase, report, stop);
                      auto tree = ArchiveTreeModel::treeOf(archive->entries());
                      return Opened{std::move(archive), std::move(tree)};
                  }),
        [this](std::optional<Opened> opened) {
            if (opened) {
                m_archive = std::move(opened->archive);
                m_entries->setTree(std::move(opened->tree));
                showArchive();
                return;
            }
            endWork();
            failToOpen(Error(u"Backup"_s, tr("Cancelled before the archive was open.")));
        },
        [this](const Error &error) {
            endWork();
            failToOpen(error);
        });
}

void ArchiveView::failToOpen(const Error &error)
{
    if (dynamic_cast<const PassphraseError *>(&error)) {
        m_passphrase.reset();
        m_prompt->ask(error.message());
        return;
    }
    // Another one may be there by the next try.
    m_copy.reset();
    m_failure->setText(error.message());
    m_failure->show();
    m_retry->show();
    m_retry->setFocus();
}

void ArchiveView::showArchive()
{
    endWork();
    m_waiting->hide();
    m_content->show();
    const ArchiveTreeModel::Node &root = m_entries->node({});
    const QString count = root.files == 1 ? tr("1 file") : tr("%n files", nullptr, int(root.files));
    m_summary->setText(tr("%1, %2 when unpacked").arg(count, Format::byteCount(root.size)));
    QModelIndex index = m_entries->index(0, 0);
    // What is backed up lies deep in folders that hold nothing else.
    while (index.isValid() && m_entries->rowCount(index.parent()) == 1 && m_entries->rowCount(index) > 0) {
        m_tree->expand(index);
        index = m_entries->index(0, 0, index);
    }
    m_tree->setCurrentIndex(index);
    m_tree->setFocus();
    const Task task = std::exchange(m_task, Task::browse);
    if (task == Task::verify)
        verify();
    else if (task == Task::decrypt)
        chooseForDecryption();
}

void ArchiveView::verify()
{
    beginWork(tr("Reading everything in it…"));
    m_job = runJob(
        stoppable(m_stop, [archive = m_archive,
                           report = reporter()](const std::stop_token &stop) { return archive->verify(report, stop); }),
        [this](const std::optional<QString> &verdict) {
            endWork();
            if (verdict)
                m_message->tell(*verdict, MessageBar::Tone::information);
            else
                m_message->tell(tr("Not verified: you stopped it."), MessageBar::Tone::warning);
        },
        [this](const Error &error) {
            endWork();
            m_message->tell(tr("The archive is not whole. %1").arg(error.message()), MessageBar::Tone::danger);
        });
}

void ArchiveView::chooseForDecryption()
{
    auto *dialog = new QFileDialog(this, tr("Decrypt & Save"), AppPaths::home());
    dialog->setObjectName(u"decryptDialog"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    // A file that is there is not replaced, so there is nothing to confirm.
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    dialog->selectFile(m_place.name().chopped(4));
    connect(dialog, &QFileDialog::fileSelected, this, &ArchiveView::decrypt);
    dialog->open();
}

void ArchiveView::decrypt(const QString &to)
{
    beginWork(tr("Decrypting to %1…").arg(Format::display(to)));
    m_job = runJob(
        stoppable(m_stop,
                  [source = m_source, place = m_place, copy = m_copy, to, passphrase = m_passphrase,
                   report = reporter()](const std::stop_token &stop) {
                      source.decrypt(place, *copy, to, passphrase, report, stop);
                      return true;
                  }),
        [this, to](const std::optional<bool> &isDone) {
            endWork();
            if (!isDone) {
                m_message->tell(tr("Stopped; nothing was saved."), MessageBar::Tone::warning);
                return;
            }
            m_message->offer(
                tr("The decrypted archive is %1. Everybody who gets it can read it.").arg(Format::display(to)),
                tr("Show it"), MessageBar::Tone::information, [this, to] { emit folderRequested(Format::parent(to)); });
        },
        [this, to](const Error &error) {
            endWork();
            m_message->offer(error.message(), tr("Choose another file…"), MessageBar::Tone::danger,
                             [this] { chooseForDecryption(); });
        });
}

QStringList ArchiveView::selectedPaths() const
{
    // A folder brings all that lies below it.
    return m_entries->outermostPaths(m_tree->selectionModel()->selection());
}

void ArchiveView::restore(const QStringList &paths)
{
    const QString folder = m_restore->folder();
    if (!folder.startsWith(u'/')) {
        m_message->tell(tr("Choose the folder to restore to."), MessageBar::Tone::warning);
        return;
    }
    beginWork(tr("Restoring to %1…").arg(Format::display(folder)));
    m_job = runJob(
        stoppable(m_stop,
                  [archive = m_archive, folder, paths, policy = m_restore->policy(),
                   report = reporter()](const std::stop_token &stop) {
                      if (!QDir().mkpath(folder))
                          throw Error(u"Backup"_s, tr("The folder “%1” could not be made.").arg(folder));
                      ArchiveExtraction::Callbacks callbacks;
                      callbacks.policy = policy;
                      callbacks.progress = [report](const QString &, qint64 done, qint64 total) {
                          report(done, total);
                      };
                      return ArchiveExtraction(archive->content(), folder, std::move(callbacks)).run(paths, stop);
                  }),
        [this, folder](const std::optional<RestoreOutcome> &outcome) {
            endWork();
            tellOutcome(outcome.value_or(RestoreOutcome{0, 0, 0, {}, true}), folder);
        },
        [this](const Error &error) {
            endWork();
            m_message->tell(error.message(), MessageBar::Tone::danger);
        });
}

void ArchiveView::tellOutcome(const RestoreOutcome &outcome, const QString &folder)
{
    QStringList sentences;
    if (outcome.wasCancelled)
        sentences << tr("Stopped.");
    const QString place = Format::display(folder);
    if (outcome.files == 0)
        sentences << tr("Nothing was restored to %1.").arg(place);
    else
        sentences << (outcome.files == 1 ? tr("1 file was restored to %1.").arg(place)
                                         : tr("%n files were restored to %1.", nullptr, int(outcome.files)).arg(place));
    if (outcome.skipped > 0)
        sentences << (outcome.skipped == 1 ? tr("1 file was there already and was left as it is.")
                                           : tr("%n files were there already and were left as they are.", nullptr,
                                                int(outcome.skipped)));
    QString text = sentences.join(u' ');
    for (const QString &failure : outcome.failures.first(std::min(mostFailures, outcome.failures.size())))
        text += u'\n' + failure;
    if (outcome.failures.size() > mostFailures)
        text += u'\n' + tr("%1 more were not restored.").arg(outcome.failures.size() - mostFailures);
    auto tone = MessageBar::Tone::information;
    if (!outcome.failures.isEmpty())
        tone = MessageBar::Tone::danger;
    else if (outcome.wasCancelled || outcome.skipped > 0)
        tone = MessageBar::Tone::warning;
    m_message->offer(text, tr("Show the folder"), tone, [this, folder] { emit folderRequested(folder); });
}

} // namespace moorix
