// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerConnection.h"

#include "base/Json.h"
#include "servers/ServerLibrary.h"
#include "support/NamedLibrary.h"
#include "support/Shorthand.h"
#include "support/TestMain.h"

#include <QJsonDocument>
#include <QRegularExpression>
#include <QTest>

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

class ServerLibraryTest : public QObject
{
    Q_OBJECT

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
};

MOORIX_TEST(ServerLibraryTest)
#include "ServerLibraryTest.moc"
