// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerLibrary.h"
#include "base/Json.h"
#include "support/NamedLibrary.h"
#include "support/TestMain.h"

#include <QJsonDocument>
#include <QRegularExpression>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

namespace {

/// Single quotes stand for double ones.
QByteArray json(QByteArray text)
{
    return text.replace('\'', '"');
}

/// Every key in its order; white space apart, which is the writer's.
const QByteArray wholeLibrary =
    json("{ 'folders': [ { 'id': 'A1B2C3D4-0000-4000-8000-00000000EF01', 'name': 'New Folder', 'sortIndex': 0, "
         "'symbol': 'folder.fill', 'parentID': null, 'colorTag': null } ], 'servers': [ { "
         "'id': 'A1B2C3D4-0000-4000-8000-00000000ABCD', 'name': 'Wéb \\'1\\'', 'networkProtocol': 'FTPS', "
         "'host': '192.0.2.1', 'port': 990, 'username': 'deploy', 'authMethod': 'SSH Key (Provided)', "
         "'privateKeyPath': '~/.ssh/id', 'remotePath': '/srv', 'folderID': 'A1B2C3D4-0000-4000-8000-00000000EF01', "
         "'isFavorite': true, 'colorTag': '#3DDC84', 'symbol': 'bolt', 'sortIndex': -3, 'passiveMode': false, "
         "'useTLS': true, 'keepAliveSeconds': 15, 'strictHostKeyChecking': false, 'charset': 'ISO-8859-1', "
         "'notes': 'two\\nlines' } ], 'lastModified': null }");

/// The server above with one value replaced, or taken out where undefined, decoded: "" or the sentence of the failure.
QString problemWith(const QString &key, const QJsonValue &value)
{
    QJsonObject record = QJsonDocument::fromJson(wholeLibrary)[u"servers"_s][0].toObject();
    if (value.isUndefined())
        record.remove(key);
    else
        record.insert(key, value);
    return messageOf([&] { ServerConnection::fromJson(JsonReader(record, u"server “web”"_s)); });
}

QString problemOf(const QByteArray &text)
{
    return messageOf([&] { ServerLibrary::decode(json(text)); });
}

} // namespace

class ServerLibraryTest final : public QObject
{
    Q_OBJECT

    const QString m_tree =
        u"work/ 1\n  web/ 1\n    live/\n      a\n    b 1\n  mail/ 2\n    c\nhome/ 2\n  d\n  e 1\nf\n"_s;

private slots:
    void aLibraryIsReadAndWrittenKeyByKeyInItsOrder()
    {
        const ServerLibrary library = ServerLibrary::decode(wholeLibrary);
        QCOMPARE(library.encode().simplified(), wholeLibrary);
        const ServerConnection &s = library.servers.first();
        QCOMPARE(
            (QStringList{s.name, rawText(s.networkProtocol), s.host, s.username, rawText(s.authMethod),
                         *s.privateKeyPath, s.remotePath, *s.colorTag, *s.symbol, s.charset, s.notes})
                .join(u'|'),
            u"Wéb \"1\"|FTPS|192.0.2.1|deploy|SSH Key (Provided)|~/.ssh/id|/srv|#3DDC84|bolt|ISO-8859-1|two\nlines"_s);
        QCOMPARE((QList<qint64>{s.port, s.sortIndex, s.keepAliveSeconds}), (QList<qint64>{990, -3, 15}));
        QVERIFY(s.isFavorite && !s.passiveMode && s.useTLS && !s.strictHostKeyChecking);
        QCOMPARE(s.folderID, std::optional(library.folders.first().id));
    }

    void aLibrarySurvivesWritingAndReading()
    {
        ServerLibrary library = ServerLibrary::sample();
        library.folders.first().colorTag = u"#5AA9E6"_s;
        library.folders.first().parentID = newUuid();
        library.servers.first().strictHostKeyChecking = true;
        library.lastModified = QDateTime(QDate(2026, 3, 1), QTime(12, 0, 0, 1), Qt::UTC);
        QVERIFY(ServerLibrary::decode(library.encode()) == library);
        QVERIFY(ServerLibrary::decode(ServerLibrary::empty().encode()) == ServerLibrary::empty());
    }

    void onlyFourKeysOfAServerMayBeMissing()
    {
        const QStringList optional{u"privateKeyPath"_s, u"folderID"_s, u"colorTag"_s, u"symbol"_s};
        const QStringList keys = QJsonDocument::fromJson(wholeLibrary)[u"servers"_s][0].toObject().keys();
        for (const QString &key : keys) {
            const QString expected =
                optional.contains(key) ? QString() : u"The key “%1” of server “web” is missing."_s.arg(key);
            QCOMPARE(problemWith(key, QJsonValue::Undefined), expected);
            QCOMPARE(problemWith(key, QJsonValue::Null), expected);
        }
    }

    void mistypedAndUnknownValuesAreRefused()
    {
        QCOMPARE(problemWith(u"port"_s, 22.5), u"The key “port” of server “web” is not a whole number."_s);
        for (const QString &key : {u"networkProtocol"_s, u"authMethod"_s})
            QCOMPARE(problemWith(key, u"sftp"_s),
                     u"The key “%1” of server “web” has the unknown value “sftp”."_s.arg(key));
    }

    void oneBadRecordMakesTheWholeLibraryUnreadable()
    {
        QCOMPARE(problemOf("{'folders':[]}"), u"The key “servers” of the server library is missing."_s);
        QCOMPARE(problemOf("{'folders':[{'name':'Clients'}],'servers':[]}"),
                 u"The key “id” of folder “Clients” is missing."_s);
        QCOMPARE(problemOf("{'folders':[],'servers':[{}]}"),
                 u"The key “id” of server 1 of the server library is missing."_s);
    }

    void theSampleReachesNobody()
    {
        const QRegularExpression reserved(
            u"^(192\\.0\\.2|198\\.51\\.100|203\\.0\\.113)\\.\\d+$|(^|\\.)example\\.(com|org|net)$"_s);
        for (const ServerConnection &server : ServerLibrary::sample().servers)
            QVERIFY2(reserved.match(server.host).hasMatch(), qPrintable(server.host));
    }

    void siblingsAreOrderedByIndexThenByDisplayName()
    {
        QList<ServerConnection> servers = NamedLibrary(u"zebra -1\nA\nb\nC\naardvark 2"_s).library.servers;
        servers[2].name.clear(); // shown by its host
        for (qsizetype index = 1; index < servers.size(); ++index) {
            QVERIFY(isOrderedBefore(servers.at(index - 1), servers.at(index)));
            QVERIFY(!isOrderedBefore(servers.at(index), servers.at(index - 1)));
        }
    }

    void changesMoveWhatTheyShouldAndRefuseWhatTheyMust()
    {
        const std::pair<const char *, const char *> rows[] = {
            {"remove web", "work/\n  live/\n    a\n  mail/\n    c\n  b\nhome/\n  d\n  e\nf\n"},
            {"remove work", "web/\n  live/\n    a\n  b\nhome/\n  d\n  e\nmail/\n  c\nf\n"},
            {"remove nothing", ""},
            {"folder web home", "work/\n  mail/\n    c\nhome/\n  web/\n    live/\n      a\n    b\n  d\n  e\nf\n"},
            {"folder live ", "live/\n  a\nwork/\n  web/\n    b\n  mail/\n    c\nhome/\n  d\n  e\nf\n"},
            {"folder work work", ""},
            {"folder work live", ""},
            {"folder web nothing", ""},
            {"place work work", ""},
            {"place work live", ""},
            {"place work nothing", ""},
            {"server f live", "work/\n  web/\n    live/\n      a\n      f\n    b\n  mail/\n    c\nhome/\n  d\n  e\n"},
            {"server a ", "work/\n  web/\n    live/\n    b\n  mail/\n    c\nhome/\n  d\n  e\na\nf\n"},
            {"server a nothing", ""},
        };
        for (const auto &[change, expected] : rows) {
            NamedLibrary tree(m_tree);
            ServerLibrary &library = tree.library;
            const QStringList words = QString::fromLatin1(change).split(u' ');
            const QUuid id = tree[words.at(1)];
            const std::optional<QUuid> to = tree.parent(words.value(2));
            const bool isDone = words.at(0) == u"remove"   ? serverTree::removeFolder(library, id)
                                : words.at(0) == u"place"  ? serverTree::placeFolder(library, id, to, 0)
                                : words.at(0) == u"folder" ? serverTree::moveFolder(library, id, to)
                                                           : serverTree::moveServer(library, id, to);
            QVERIFY2(isDone == (*expected != 0), change);
            QCOMPARE(shown(library, !isDone),
                     isDone ? QString::fromLatin1(expected) : shown(NamedLibrary(m_tree).library, true));
        }
    }

    void aPlacedRecordTakesItsPositionAndAllSiblingsAreRenumbered()
    {
        // From elsewhere to the middle and beyond the end; before the front; later among its siblings; where it is.
        const std::tuple<const char *, qsizetype, const char *> rows[] = {
            {"x", 2, "a b x c"}, {"x", 99, "a b c x"}, {"c", -5, "c a b"}, {"a", 1, "b a c"}, {"b", 1, "a b c"}};
        for (const auto &[name, at, order] : rows) {
            for (const QString &mark : {u"/"_s, QString()}) { // folders, servers
                NamedLibrary tree(u"in/ 1\n  a% 3\n  b% 7\n  c% 7\nout/ 2\n  x% 1\n"_s.replace(u'%', mark));
                const auto place = mark.isEmpty() ? serverTree::placeServer : serverTree::placeFolder;
                QVERIFY(place(tree.library, tree[QLatin1String(name)], tree.parent(u"in"_s), at));
                QString expected = u"in/ 1\n"_s;
                int index = 0;
                for (const QString &sibling : QString::fromLatin1(order).split(u' '))
                    expected += u"  %1%2 %3\n"_s.arg(sibling, mark).arg(index++);
                expected += u"out/ 2\n"_s + (*name == 'x' ? QString() : u"  x%1 1\n"_s.arg(mark));
                QCOMPARE(shown(tree.library, true), expected);
            }
        }
    }

    void swappingStopsAtEitherEnd()
    {
        const QString before = u"a/ 5\nb/ 5\nc/ 9\n"_s;
        NamedLibrary tree(before);
        const auto swap = [&](const QString &name, serverTree::Neighbour with) {
            return serverTree::swapFolder(tree.library, tree[name], with);
        };
        QVERIFY(!swap(u"a"_s, serverTree::Neighbour::previous) && !swap(u"c"_s, serverTree::Neighbour::next));
        QCOMPARE(shown(tree.library, true), before);
        QVERIFY(swap(u"b"_s, serverTree::Neighbour::previous) && swap(u"a"_s, serverTree::Neighbour::next));
        QCOMPARE(shown(tree.library, true), u"b/ 0\nc/ 1\na/ 2\n"_s);
    }

    void foldersAreFlattenedDepthFirstAndGatheredBelowOne()
    {
        const NamedLibrary tree(m_tree);
        QStringList rows;
        for (const auto &[folder, depth] : serverTree::flattened(tree.library))
            rows.append(QString::number(depth) + folder.name);
        QCOMPARE(rows.join(u' '), u"0work 1web 2live 1mail 0home"_s);
        QCOMPARE(serverTree::subtree(tree.library, tree[u"web"_s]), (QSet<QUuid>{tree[u"web"_s], tree[u"live"_s]}));
    }

    void mendingBringsEveryRecordBackIntoReach()
    {
        NamedLibrary tree(u"a/\n  b/\n    c/\n      server\nlost\nkept/\n  inside\n"_s);
        tree.library.folders.first().parentID = tree[u"b"_s];
        tree.library.servers[1].folderID = QUuid::createUuid();
        QVERIFY(serverTree::mend(tree.library));
        QCOMPARE(shown(tree.library), u"a/\n  b/\n    c/\n      server\nkept/\n  inside\nlost\n"_s);
        QVERIFY(!serverTree::mend(tree.library));
    }
};

MOORIX_TEST(ServerLibraryTest)
#include "ServerLibraryTest.moc"
