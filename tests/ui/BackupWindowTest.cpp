// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupEngine.h"
#include "backup/BackupHistoryStore.h"
#include "backup/BackupStore.h"
#include "platform/SystemProcessRunner.h"
#include "transfers/TransferEngine.h"
#include "ui/WindowBench.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDropEvent>
#include <QFileDialog>
#include <QListWidget>
#include <QMimeData>
#include <QSpinBox>
#include <QTreeView>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

const QString secret = u"six words nobody would guess"_s;

/// The program with the real zip tool, something to back up on the left and a place for archives.
struct BackupBench
{
    WindowBench window{{{"left/notes.txt", "remember"}, {"left/site/index.html", "<html>"}, {"disk/", ""}},
                       std::make_shared<SystemProcessRunner>()};
    AppModel &model = *window.model;
    const TestTree &home = window.home;

    QString textOf(const char *name) const
    {
        const QLabel *label = window.find<QLabel>(name);
        return label ? label->text() : QString();
    }
    void press(const char *name) const { window.click(window.find(name)); }
    void type(const char *field, const QString &text) const
    {
        window.find<QLineEdit>(field)->selectAll();
        QTest::keyClicks(window.find(field), text);
    }
    /// Of the site, to the disk.
    BackupJob addJob(const QString &name, bool isEncrypted = false) const
    {
        BackupJob job;
        job.name = name;
        job.sourcePaths = {home.path("left/site")};
        job.destinationPath = home.path("disk");
        job.encrypt = isEncrypted;
        model.backups().upsert(job);
        return job;
    }
    void showBackups() const { window.key(Qt::Key_B, Qt::ControlModifier | Qt::ShiftModifier); }
    /// To its end.
    void runJob(const BackupJob &job) const
    {
        QVERIFY(!model.backupEngine().run(job.id));
        QTRY_VERIFY(!model.backupEngine().runningJobID());
        QCOMPARE(model.backups().job(job.id)->lastStatus, u"Completed"_s);
    }
    /// Selects the only entry of this name in the archive that is shown.
    void chooseInTree(const QString &name) const
    {
        auto *tree = window.find<QTreeView>("archiveTree");
        const QModelIndexList found = tree->model()->match(tree->model()->index(0, 0), Qt::DisplayRole, name, 1,
                                                           Qt::MatchExactly | Qt::MatchRecursive);
        QCOMPARE(found.size(), 1);
        tree->setCurrentIndex(found.constFirst());
    }
    QStringList archives() const { return home.snapshot().keys().filter(QRegularExpression(u"^disk/.+"_s)); }
};

} // namespace

class BackupWindowTest final : public QObject
{
    Q_OBJECT

private slots:
    void aJobIsMadeFromTheSelectionRunAndItsResultSeen()
    {
        BackupBench bench;
        bench.window.key(Qt::Key_B, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(bench.window.find("backupEmpty"));
        QCOMPARE(bench.textOf("backupSchedulingNote"), u"Scheduled while Moorix is running"_s);
        bench.window.key(Qt::Key_Escape);
        QVERIFY(!bench.window.find("backupArea"));
        bench.window.activateList(Side::left);
        bench.window.select(Side::left, "site");
        bench.window.key(Qt::Key_B, Qt::ControlModifier | Qt::ShiftModifier);
        bench.press("backupFirst");
        bench.type("backupJobName", u"My site"_s);
        QVERIFY(bench.textOf("backupArchivePreview").contains(u"My_site-"_s));
        bench.press("backupSave");
        QVERIFY(!bench.textOf("backupProblemSources").isEmpty());
        QVERIFY(!bench.textOf("backupProblemDestination").isEmpty());
        QVERIFY(bench.model.backups().jobs().isEmpty());
        bench.press("backupAddSelection");
        bench.type("backupFolder", bench.home.path("left/site/inside"));
        QVERIFY(bench.textOf("backupProblemSources").isEmpty());
        QVERIFY(bench.textOf("backupProblemDestination").contains(u"inside the source"_s));
        bench.type("backupFolder", bench.home.path("disk"));
        bench.window.find<QComboBox>("backupFrequency")->setCurrentIndex(1);
        bench.window.find<QComboBox>("backupWeekday")->setCurrentIndex(4);
        bench.window.find<QSpinBox>("backupHour")->setValue(7);
        bench.window.find<QSpinBox>("backupMinute")->setValue(5);
        QCOMPARE(bench.textOf("backupSchedulePreview"), u"Every Friday at 07:05"_s);
        bench.window.key(Qt::Key_Return, Qt::ControlModifier);
        QTRY_VERIFY(bench.window.find("backupCard"));
        QCOMPARE(bench.model.backups().jobs().constFirst().sourcePaths, QStringList{bench.home.path("left/site")});
        QVERIFY(bench.textOf("backupSchedule").startsWith(u"Every Friday at 07:05"_s));
        QCOMPARE(bench.textOf("backupLastGood"), u"No good backup yet"_s);
        bench.press("backupRun");
        QCOMPARE(bench.textOf("backupProgress"), u"Starting “My site”…"_s);
        QTRY_COMPARE(bench.textOf("backupLastGood"), u"Last good backup just now"_s);
        QCOMPARE(bench.textOf("backupStatus"), u"Completed"_s);
        QCOMPARE(bench.archives().size(), 1);
    }

    void aFailedRunSaysWhyAndCanBeTriedAgain()
    {
        BackupBench bench;
        const BackupJob job = bench.addJob(u"Site"_s, true);
        bench.showBackups();
        bench.press("backupRun");
        QTRY_COMPARE(bench.textOf("backupStatus"), u"Encryption passphrase unavailable — backup not run"_s);
        QCOMPARE(bench.window.find<QPushButton>("backupRun")->text(), u"Try again"_s);
        QCOMPARE(bench.window.find("backupStatus")->property("tone"), u"danger"_s);
        QVERIFY(bench.archives().isEmpty());
        bench.press("backupArchives");
        auto *runs = bench.window.find<QTreeWidget>("runList");
        QCOMPARE(runs->topLevelItemCount(), 1);
        QVERIFY(runs->topLevelItem(0)->text(1).startsWith(u"Encryption passphrase unavailable"_s));
        QTRY_VERIFY(bench.textOf("archiveListState").startsWith(u"No archive"_s));
        // The removal says what stays, and Escape means no.
        bench.window.key(Qt::Key_Escape);
        bench.window.key(Qt::Key_Delete);
        QVERIFY(bench.textOf("messageBarText").contains(u"archives it has made stay"_s));
        bench.window.key(Qt::Key_Escape);
        QCOMPARE(bench.model.backups().jobs().size(), 1);
        bench.window.key(Qt::Key_Delete);
        bench.window.key(Qt::Key_Return);
        QVERIFY(bench.model.backups().jobs().isEmpty());
        QVERIFY(bench.window.find("backupEmpty"));
    }

    void thePassphraseIsTypedTwiceAndKeptNowhereButInTheKeychain()
    {
        BackupBench bench;
        bench.addJob(u"Site"_s);
        bench.showBackups();
        bench.window.key(Qt::Key_F4);
        bench.window.find<QCheckBox>("backupEncrypt")->click();
        bench.type("backupPassphrase", secret);
        bench.type("backupPassphraseAgain", u"another"_s);
        bench.press("backupSave");
        QVERIFY(!bench.textOf("backupProblemPassphrase").isEmpty());
        bench.type("backupPassphraseAgain", secret);
        QCOMPARE(bench.window.find<QLineEdit>("backupPassphrase")->echoMode(), QLineEdit::Password);
        bench.press("backupSave");
        QTRY_VERIFY(bench.window.find("backupCard"));
        bench.press("backupRun");
        QTRY_COMPARE(bench.textOf("backupStatus"), u"Completed"_s);
        bench.press("backupEdit");
        QTRY_VERIFY(bench.window.find<QLineEdit>("backupPassphrase")->placeholderText().contains(u"stored"_s));
        QVERIFY(bench.window.find<QLineEdit>("backupPassphrase")->text().isEmpty());
        for (const QWidget *widget : bench.window.window->findChildren<QWidget *>()) {
            if (const auto *label = qobject_cast<const QLabel *>(widget))
                QVERIFY(!label->text().contains(secret));
        }
        const TreeSnapshot files = bench.home.snapshot();
        for (auto file = files.cbegin(); file != files.cend(); ++file)
            QVERIFY2(!file.value().contains(secret.toUtf8()), qPrintable(file.key()));
    }

    void oneFileIsRestoredAndWhatIsThereStays()
    {
        BackupBench bench;
        const BackupJob job = bench.addJob(u"Site"_s);
        bench.runJob(job);
        bench.home.write("back/index.html", "mine");
        bench.showBackups();
        bench.window.key(Qt::Key_Return);
        QTRY_VERIFY(bench.window.find("archiveRestore") && bench.window.find("archiveRestore")->isEnabled());
        bench.press("archiveRestore");
        QTRY_VERIFY(bench.window.find("archiveTree"));
        bench.chooseInTree(u"index.html"_s);
        bench.type("restoreFolder", bench.home.path("back"));
        bench.press("restoreSelected");
        QTRY_VERIFY(bench.textOf("messageBarText").contains(u"left as it is"_s));
        QCOMPARE(bench.home.read("back/index.html"), "mine");
        bench.window.find<QComboBox>("restorePolicy")->setCurrentIndex(1);
        bench.press("restoreSelected");
        QTRY_VERIFY(bench.textOf("messageBarText").startsWith(u"1 file was restored"_s));
        QCOMPARE(bench.home.read("back/index.html"), "mine");
        QCOMPARE(snapshotOf(bench.home.path("back")).values().count("<html>"), 1);
        bench.window.find<QComboBox>("restorePolicy")->setCurrentIndex(2);
        bench.press("restoreSelected");
        QTRY_VERIFY(bench.textOf("messageBarText").startsWith(u"1 file was restored"_s));
        QCOMPARE(bench.home.read("back/index.html"), "<html>");
        bench.press("archiveVerify");
        QTRY_VERIFY(bench.textOf("messageBarText").contains(u"are whole"_s));
    }

    void anEncryptedArchiveAsksUntilThePassphraseOpensIt()
    {
        BackupBench bench;
        BackupJob job = bench.addJob(u"Site"_s, true);
        KeychainStore(bench.window.keychain).set(secret, job.id, SecretKind::passphrase);
        bench.runJob(job);
        KeychainStore(bench.window.keychain).remove(job.id, SecretKind::passphrase);
        bench.showBackups();
        bench.press("backupArchives");
        QTRY_VERIFY(bench.window.find("archiveRestore") && bench.window.find("archiveRestore")->isEnabled());
        bench.press("archiveRestore");
        QTRY_VERIFY(bench.window.find("archivePassphrase"));
        QTest::keyClicks(QApplication::focusWidget(), u"wrong"_s);
        bench.window.key(Qt::Key_Return);
        QTRY_VERIFY(bench.textOf("passphraseReason").contains(u"passphrase is wrong"_s));
        QTest::keyClicks(QApplication::focusWidget(), secret);
        bench.window.key(Qt::Key_Return);
        QTRY_VERIFY(bench.window.find("archiveTree"));
        bench.press("archiveDecrypt");
        auto *dialog = bench.window.find<QFileDialog>("decryptDialog");
        QVERIFY(dialog);
        emit dialog->fileSelected(bench.home.path("plain.zip"));
        QTRY_VERIFY(bench.textOf("messageBarText").contains(u"Everybody who gets it can read it"_s));
        QVERIFY(bench.home.read("plain.zip").startsWith("PK"));
    }

    void whatIsDroppedOnABackupBecomesASource()
    {
        BackupBench bench;
        bench.addJob(u"Site"_s);
        auto *sidebar = bench.window.find<QTreeWidget>("sidebar");
        const QTreeWidgetItem *entry =
            sidebar->findItems(u"Site"_s, Qt::MatchExactly | Qt::MatchRecursive).constFirst();
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile(bench.home.path("left/notes.txt"))});
        const Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction;
        const QPoint place = sidebar->visualItemRect(entry).center();
        QDragEnterEvent enter(place, actions, &files, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(sidebar->viewport(), &enter);
        QDropEvent drop(place, actions, &files, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(sidebar->viewport(), &drop);
        QCOMPARE(drop.dropAction(), Qt::CopyAction);
        QCOMPARE(bench.window.find<QListWidget>("backupSources")->count(), 2);
        bench.press("backupSave");
        QTRY_VERIFY(bench.window.find("backupCard"));
        QCOMPARE(bench.model.backups().jobs().constFirst().sourcePaths.last(), bench.home.path("left/notes.txt"));
    }

    void commandsOfTheListsDoNothingWhileBackupsHideThem()
    {
        BackupBench bench;
        bench.window.select(Side::left, "notes.txt");
        bench.addJob(u"Site"_s);
        bench.showBackups();
        bench.window.key(Qt::Key_F8);
        bench.window.key(Qt::Key_F5);
        QVERIFY(bench.model.transfers().transfers().isEmpty());
        // What is typed into the editor stays while the lists are looked at.
        bench.window.key(Qt::Key_F4);
        bench.type("backupJobName", u"Renamed"_s);
        bench.window.key(Qt::Key_B, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(bench.window.list(Side::left)->isVisible());
        QVERIFY(bench.home.exists("left/notes.txt"));
        bench.showBackups();
        QCOMPARE(bench.window.find<QLineEdit>("backupJobName")->text(), u"Renamed"_s);
        bench.window.key(Qt::Key_Escape);
        QVERIFY(bench.textOf("messageBarText").contains(u"not saved"_s));
        bench.press("messageBarConfirm");
        QCOMPARE(bench.textOf("backupName"), u"Site"_s);
    }
};

MOORIX_TEST(BackupWindowTest)

#include "BackupWindowTest.moc"
