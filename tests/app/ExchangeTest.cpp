// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/exchange/Exchange.h"
#include "ProgramHome.h"
#include "backup/BackupStore.h"
#include "base/Clock.h"
#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "support/SmallFilesOnly.h"
#include "sync/SyncPairStore.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <functional>
#include <sys/stat.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// The stores of one user in a tree, which is the process's home meanwhile.
struct Stores
{
    TestTree tree{{"data/Moorix/servers.json", R"({"folders": [], "servers": []})"}, {"data/Moorix/sync/", ""}};
    bool isHome = qputenv("XDG_DATA_HOME", tree.path("data").toUtf8()) &&
                  qputenv("XDG_CONFIG_HOME", tree.path("config").toUtf8());
    Preferences preferences{tree.path("config/Moorix/preferences.json")};
    KeyValueStore cloud{QString()};
    SettingsStore settings{preferences, cloud};
    ServerStore servers{{.path = tree.path("data/Moorix/servers.json")}, cloud};
    BackupStore backups{{.path = tree.path("data/Moorix/backups.json")}, cloud};
    SyncPairStore pairs{tree.path("data/Moorix/sync/pairs.json"), cloud};
    Exchange exchange{{settings, preferences, servers, backups, pairs}};

    Stores()
    {
        servers.upsert(serverAt(u"old.example.org"_s, u"me"_s));
        backups.upsert(BackupJob());
        settings.themeID.set(u"paper"_s);
        preferences.flush();
    }
    ~Stores()
    {
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_CONFIG_HOME");
    }
    QString hosts() const
    {
        QStringList all;
        for (const ServerConnection &server : servers.library().servers)
            all += server.host;
        return all.join(u' ');
    }
};

/// A configuration that differs from that of `Stores` in everything.
ExchangeContent configuration()
{
    ExchangeContent content;
    content.kind = ExchangeContent::Kind::configuration;
    content.documents.library.servers = {serverAt(u"new.example.org"_s, u"me"_s)};
    content.documents.backups = {BackupJob()};
    content.documents.backups.first().name = u"Other"_s;
    SyncPair pair;
    pair.id = QUuid::createUuid();
    pair.serverID = content.documents.library.servers.constFirst().id;
    pair.localPath = u"/home/me"_s;
    content.documents.syncPairs = {pair};
    content.documents.settings = {{u"themeID"_s, u"midnight"_s}, {u"contentFontSize"_s, 15.0}};
    return content;
}

const ImportChoice replaceAll{ImportChoice::Mode::replace, {}};

} // namespace

/// Imports into the stores, and the program's own commands for them in two homes.
class ExchangeTest final : public QObject
{
    Q_OBJECT

private slots:
    void replacingImportIsUndoneAsAWholeAndNotOverLaterChanges()
    {
        Stores here;
        const ExchangeDocuments before = here.exchange.documents();
        const auto copies = documentCopies::make(systemNow());
        QCOMPARE(copies.size(), 3);
        for (const documentCopies::Copy &copy : copies)
            QCOMPARE(contentOf(copy.copy), contentOf(copy.document));
        const ExchangeDocuments after = here.exchange.apply(configuration(), replaceAll, copies);
        QCOMPARE(here.hosts(), u"new.example.org"_s);
        QCOMPARE(here.settings.contentFontSize.value(), 15.0);
        QCOMPARE(here.pairs.pairs().size(), 1);
        QVERIFY(here.tree.read("config/Moorix/preferences.json").contains("midnight"));
        here.exchange.undo(before, after, copies);
        const ExchangeDocuments undone = here.exchange.documents();
        QVERIFY(undone.library.servers == before.library.servers && undone.settings == before.settings);
        QVERIFY(undone.backups == before.backups && undone.syncPairs.isEmpty());
        const ExchangeDocuments again = here.exchange.apply(configuration(), replaceAll, copies);
        here.servers.upsert(serverAt(u"later.example.org"_s, u"me"_s));
        QVERIFY(messageOf([&] { here.exchange.undo(before, again, copies); }).contains(u"has changed since"_s));
        QVERIFY(here.hosts().contains(u"later"_s));
    }

    void whatOneStoreCannotWriteIsImportedIntoNone()
    {
        const QString big(100000, u'x');
        const std::pair<QString, std::function<void(ExchangeDocuments &)>> rows[] = {
            {u"servers.json"_s, [&](ExchangeDocuments &file) { file.library.servers.first().notes = big; }},
            {u"backups.json"_s, [&](ExchangeDocuments &file) { file.backups.first().destinationPath = big; }},
            {u"pairs.json"_s, [&](ExchangeDocuments &file) { file.syncPairs.first().remotePath = big; }},
            {u"preferences.json"_s, [&](ExchangeDocuments &file) { file.settings[u"localFavoritesRaw"_s] = big; }}};
        for (const auto &[document, enlarge] : rows) {
            Stores here;
            ExchangeContent content = configuration();
            enlarge(content.documents);
            const ExchangeDocuments before = here.exchange.documents();
            const auto copies = documentCopies::make(systemNow());
            QString message;
            {
                const SmallFilesOnly fullDisk;
                message = messageOf([&] { here.exchange.apply(content, replaceAll, copies); });
            }
            QVERIFY2(message.startsWith(u"Nothing was imported. "_s) && message.contains(document),
                     qPrintable(message));
            QCOMPARE(here.hosts(), u"old.example.org"_s);
            QVERIFY(here.backups.jobs() == before.backups && here.pairs.pairs().isEmpty());
            QCOMPARE(here.settings.snapshot(), before.settings);
            for (const QByteArray &written : snapshotOf(here.tree.path()))
                QVERIFY(!written.contains("new.example") && !written.contains("Other") && !written.contains("xxx"));
        }
    }

    void configurationOfOneHomeComesIntoAnother()
    {
        ProgramHome one;
        one.run({u"servers"_s, u"add"_s, u"--host"_s, u"web.example.org"_s, u"--name"_s, u"web"_s});
        one.run({u"servers"_s, u"add"_s, u"--host"_s, u"odd.example.org"_s, u"--name"_s, u"\x1b[2Jodd"_s});
        one.run({u"backup"_s, u"add"_s, u"--name"_s, u"Photos"_s, u"--source"_s, one.tree.path("home"), u"--to"_s,
                 one.tree.path("backups")});
        const QString file = one.tree.path("Moorix-Config.json");
        one.run({u"config"_s, u"export"_s, file});
        QVERIFY2(one.code == 0, qPrintable(one.err));
        QCOMPARE(QFileInfo(file).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
        one.run({u"config"_s, u"export"_s, file});
        QVERIFY(one.code == 1 && one.err.contains(u"--force"_s));
        const QString pipe = one.tree.path("pipe");
        QCOMPARE(::mkfifo(pipe.toUtf8().constData(), 0600), 0);
        one.run({u"config"_s, u"export"_s, pipe, u"--force"_s});
        QVERIFY(one.code == 1 && one.err.contains(u"is no file"_s) && !QFileInfo(pipe).isFile());
        const QJsonObject document = QJsonDocument::fromJson(contentOf(file)).object();
        QCOMPARE(document[u"format"_s].toString() + document[u"version"_s].toVariant().toString(),
                 u"moorix-configuration1"_s);

        ProgramHome two;
        QDir(one.tree.path("home")).removeRecursively();
        const TreeSnapshot untouched = snapshotOf(two.tree.path("data"));
        two.run({u"config"_s, u"import"_s, file, u"--dry-run"_s});
        QVERIFY2(two.code == 0 && two.out.contains(u"add     server       web  (SFTP web.example.org)"_s),
                 qPrintable(two.out + two.err));
        QVERIFY(two.out.contains(u"to add, "_s) && two.out.contains(u"[2Jodd"_s) && !two.out.contains(u'\x1b'));
        QCOMPARE(snapshotOf(two.tree.path("data")), untouched);
        // A folder of the other home is left out, so that nothing of this one is lost.
        QVERIFY(two.out.contains(u"keep    setting      defaultLocalPath"_s));
        two.run({u"config"_s, u"import"_s, file});
        QVERIFY2(two.code == 0 && !two.err.contains(u"before-import"_s), qPrintable(two.err));
        two.run({u"servers"_s, u"show"_s, u"web"_s, u"--json"_s});
        QCOMPARE(QJsonDocument::fromJson(two.out.toUtf8())[u"host"_s].toString(), u"web.example.org"_s);
        two.run({u"servers"_s, u"add"_s, u"--host"_s, u"mine.example.org"_s, u"--name"_s, u"mine"_s});
        two.run({u"servers"_s, u"import"_s, file, u"--replace"_s});
        QVERIFY2(two.code == 0 && two.err.contains(u"servers.before-import-"_s), qPrintable(two.err));
        two.run({u"servers"_s, u"list"_s, u"--json"_s});
        QVERIFY(!two.out.contains(u"mine.example.org"_s));
        const QStringList copies = QDir(two.tree.path("data/Moorix")).entryList({u"servers.before-import-*"_s});
        two.run({u"servers"_s, u"import"_s, two.tree.path("data/Moorix/") + copies.value(copies.size() - 1),
                 u"--replace"_s});
        two.run({u"servers"_s, u"show"_s, u"mine"_s});
        QCOMPARE(two.code, 0);
    }

    void fileThatCannotBeImportedChangesNothing()
    {
        ProgramHome home;
        home.tree.write("broken.json", R"({"format": "moorix-servers", "version": 1, "folders": [], "servers": [{}]})");
        home.tree.write("sites.xml", "<FileZilla3><Servers/></FileZilla3>");
        const QByteArray before = home.tree.read("data/Moorix/servers.json");
        const std::tuple<QStringList, int, QString> rows[] = {
            {{u"broken.json"_s}, 1, u"damaged"_s},
            {{u"home"_s}, 1, u"is no file"_s},
            {{u"sites.xml"_s, u"--replace"_s}, 2, u"--replace is for exports"_s},
            {{u"sites.xml"_s, u"--from"_s, u"moorix"_s}, 1, u"damaged"_s},
            {{u"sites.xml"_s, u"--from"_s, u"other"_s}, 2, u"“other”"_s}};
        for (const auto &[words, code, sentence] : rows) {
            home.run(QStringList{u"servers"_s, u"import"_s, home.tree.path(words.constFirst())} + words.mid(1));
            QVERIFY2(home.code == code && home.err.contains(sentence), qPrintable(home.err));
        }
        QCOMPARE(home.tree.read("data/Moorix/servers.json"), before);
    }
};

MOORIX_TEST(ExchangeTest)
#include "ExchangeTest.moc"
