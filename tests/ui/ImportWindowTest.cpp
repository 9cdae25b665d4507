// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"
#include "app/exchange/ExchangeFile.h"
#include "base/Clock.h"
#include "support/SmallFilesOnly.h"
#include "ui/exchange/ImportDialog.h"
#include "ui/exchange/ImportTree.h"

#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QRadioButton>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using Kind = ExchangeContent::Kind;

namespace {

/// The window with the preview of a file open.
struct Preview
{
    explicit Preview(const QByteArray &file)
        : bench({{"file", file}})
    {
    }
    void open()
    {
        (new ImportDialog(*bench.model, bench.home.path("file"), bench.window.get()))->open();
        QTRY_VERIFY(tree() || !state().startsWith(u"Reading"_s));
    }
    ImportTree *tree() const { return bench.find<ImportTree>("importTree"); }
    QString state() const { return bench.find<QLabel>("importState")->text(); }
    QString counts() const { return bench.find<QLabel>("importCounts")->text(); }
    QTreeWidgetItem *group(const QString &title) const
    {
        for (int i = 0; i < tree()->topLevelItemCount(); ++i) {
            if (tree()->topLevelItem(i)->text(0).startsWith(title))
                return tree()->topLevelItem(i);
        }
        return nullptr;
    }
    QString hosts() const
    {
        QStringList all;
        for (const ServerConnection &server : bench.model->servers().library().servers)
            all += server.host;
        return sorted(all).join(u' ');
    }

    WindowBench bench;
};

QByteArray exportOf(const ServerLibrary &library)
{
    ExchangeDocuments documents;
    documents.library = library;
    return exchangeFile::encode(documents, Kind::servers, systemNow());
}

} // namespace

/// Exports and imports by the window.
class ImportWindowTest final : public QObject
{
    Q_OBJECT

private slots:
    void previewShowsEachRecordAndTheUserDecides()
    {
        ServerConnection known = serverAt(u"known.example.org"_s, u"me"_s);
        ServerConnection changed = serverAt(u"changed.example.org"_s, u"me"_s, 2222);
        const ServerConnection fresh = serverAt(u"fresh.example.org"_s, u"me"_s);
        Preview preview(exportOf({{}, {known, changed, fresh}, {}}));
        known.id = QUuid::createUuid();
        changed.port = 22;
        preview.bench.model->servers().upsert(known);
        preview.bench.model->servers().upsert(changed);
        preview.open();
        QCOMPARE(preview.group(u"Different"_s)->child(0)->text(2), u"Port: 22 → 2222"_s);
        QCOMPARE(preview.group(u"Here under"_s)->checkState(0), Qt::Unchecked);
        QCOMPARE(preview.counts(), u"1 to add, 1 to change, 1 stays as it is."_s);
        preview.group(u"Different"_s)->setCheckState(0, Qt::Unchecked);
        QCOMPARE(preview.group(u"Different"_s)->child(0)->checkState(0), Qt::Unchecked);
        preview.group(u"Here under"_s)->child(0)->setCheckState(0, Qt::Checked);
        QCOMPARE(preview.group(u"Here under"_s)->checkState(0), Qt::Checked);
        QCOMPARE(preview.counts(), u"2 to add, 1 stays as it is."_s);
        preview.bench.click(preview.bench.find("runImport"));
        QTRY_VERIFY(preview.bench.find("undoImport"));
        QCOMPARE(preview.hosts(), u"changed.example.org fresh.example.org known.example.org known.example.org"_s);
        QCOMPARE(preview.bench.model->servers().server(changed.id)->port, 22);
        QCOMPARE(preview.bench.find<QLabel>("importEnd")->text(), u"2 added, 1 left as it is."_s);
        preview.bench.click(preview.bench.find("undoImport"));
        QTRY_COMPARE(preview.hosts(), u"changed.example.org known.example.org"_s);
    }

    void replacingShowsWhatGoesAndKeepsACopy()
    {
        Preview preview(exportOf({{}, {serverAt(u"fresh.example.org"_s, u"me"_s)}, {}}));
        preview.bench.addServer(u"old"_s);
        preview.open();
        QVERIFY(!preview.group(u"Will be removed"_s));
        preview.bench.find<QRadioButton>("importReplace")->click();
        QTRY_VERIFY(preview.group(u"Will be removed"_s));
        QCOMPARE(preview.counts(), u"1 to add, 1 to remove."_s);
        preview.bench.click(preview.bench.find("runImport"));
        QTRY_VERIFY(preview.bench.find("undoImport"));
        QCOMPARE(preview.hosts(), u"fresh.example.org"_s);
        const QStringList copies =
            QDir(preview.bench.home.path("data/Moorix")).entryList({u"servers.before-import-*.json"_s});
        QCOMPARE(copies.size(), 1);
        QVERIFY(preview.bench.home.read(u"data/Moorix/"_s + copies.constFirst()).contains("\"old\""));
    }

    void undoThatCannotBeWrittenLeavesTheImport()
    {
        const QString big(100000, u'x');
        ServerConnection fresh = serverAt(u"fresh.example.org"_s, u"me"_s);
        fresh.notes = big;
        Preview preview(exportOf({{}, {fresh}, {}}));
        ServerConnection old = serverAt(u"old.example.org"_s, u"me"_s);
        old.notes = big;
        preview.bench.model->servers().upsert(old);
        preview.open();
        preview.bench.find<QRadioButton>("importReplace")->click();
        QTRY_VERIFY(preview.group(u"Will be removed"_s));
        preview.bench.click(preview.bench.find("runImport"));
        QTRY_VERIFY(preview.bench.find("undoImport"));
        {
            const SmallFilesOnly fullDisk;
            preview.bench.click(preview.bench.find("undoImport"));
            QTRY_VERIFY(preview.bench.find<QLabel>("importEnd")->text().startsWith(u"The import was not undone. "_s));
        }
        QCOMPARE(preview.hosts(), u"fresh.example.org"_s);
        QVERIFY(preview.bench.home.read("data/Moorix/servers.json").contains("fresh.example.org"));
    }

    void savedPasswordsGoToTheKeychainOnlyWhenTicked()
    {
        const QByteArray sites = R"(<FileZilla3><Servers><Server><Host>web.example.org</Host><Port>22</Port>
            <Protocol>1</Protocol><User>me</User><Pass encoding="base64">aHVudGVyMg==</Pass></Server></Servers>
            </FileZilla3>)";
        for (const bool isTicked : {false, true}) {
            Preview preview(sites);
            preview.open();
            auto *box = preview.bench.find<QCheckBox>("importPasswords");
            QVERIFY(box && !box->isChecked() && !preview.bench.find("importReplace"));
            box->setChecked(isTicked);
            preview.bench.click(preview.bench.find("runImport"));
            QTRY_COMPARE(preview.hosts(), u"web.example.org"_s);
            const QUuid id = preview.bench.model->servers().library().servers.constFirst().id;
            const auto stored = [&] { return preview.bench.model->keychain()->get(id, SecretKind::password); };
            if (isTicked)
                QTRY_COMPARE(stored(), u"hunter2"_s);
            QCOMPARE(preview.bench.keychain->count(), isTicked ? 1 : 0);
            for (const QByteArray &content : snapshotOf(preview.bench.home.path("data")))
                QVERIFY(!content.contains("hunter2") && !content.contains("aHVudGVyMg"));
            auto *undo = preview.bench.find<QPushButton>("undoImport");
            QTRY_VERIFY(undo->isEnabled());
            preview.bench.click(undo);
            QTRY_VERIFY(preview.hosts().isEmpty() && preview.bench.keychain->count() == 0);
        }
    }

    void fileThatCannotBeReadSaysWhyAndOffersNothing()
    {
        Preview preview(R"({"format": "moorix-servers", "version": 7, "folders": [], "servers": []})");
        preview.open();
        QVERIFY2(preview.state().contains(u"newer version of Moorix"_s), qPrintable(preview.state()));
        QVERIFY(!preview.bench.find("runImport"));
        preview.bench.click(preview.bench.find("cancelImport"));
        QTRY_VERIFY(!preview.bench.find("importDialog"));
    }

    void exportHoldsNoSecretOfTheKeychain()
    {
        WindowBench bench({});
        const ServerConnection server = bench.addServer(u"web"_s);
        bench.model->keychain()->set(u"hunter2"_s, server.id, SecretKind::password);
        bench.model->keychain()->set(u"opensesame"_s, server.id, SecretKind::passphrase);
        bench.model->keychain()->set(u"PRIVATE KEY b3Blbn"_s, server.id, SecretKind::privateKey);
        const QString path = bench.home.path("Moorix-Config.json");
        bench.choose(bench.window->actions(), "Export configuration");
        auto *dialog = bench.find<QFileDialog>("exportFileDialog");
        QVERIFY(dialog);
        dialog->selectFile(path);
        static_cast<QDialog *>(dialog)->accept();
        QTRY_VERIFY(QFileInfo::exists(path));
        QTRY_VERIFY(bench.find<QLabel>("statusMessage")->text().contains(u"no passwords"_s));
        const QByteArray file = contentOf(path);
        QVERIFY(file.contains("\"web\"") && file.contains("\"themeID\""));
        for (const char *secret : {"hunter2", "opensesame", "b3Blbn"})
            QVERIFY2(!file.contains(secret), secret);
    }
};

MOORIX_TEST(ImportWindowTest)
#include "ImportWindowTest.moc"
