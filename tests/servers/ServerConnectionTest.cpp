// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/ServerConnection.h"

#include "base/Json.h"
#include "servers/ServerLibrary.h"
#include "support/TestMain.h"

#include <QJsonDocument>
#include <QRegularExpression>
#include <QTest>

using namespace moorix;

namespace {

ServerConnection fullServer()
{
    ServerConnection server;
    server.id = QUuid(QStringLiteral("a1b2c3d4-0000-4000-8000-00000000abcd"));
    server.name = QStringLiteral("Wéb \"1\"");
    server.networkProtocol = NetworkProtocol::ftps;
    server.host = QStringLiteral("192.0.2.1");
    server.port = 990;
    server.username = QStringLiteral("deploy");
    server.authMethod = AuthMethod::privateKeyPasted;
    server.privateKeyPath = QStringLiteral("~/.ssh/id");
    server.remotePath = QStringLiteral("/srv");
    server.folderID = QUuid(QStringLiteral("a1b2c3d4-0000-4000-8000-00000000ef01"));
    server.isFavorite = true;
    server.colorTag = QStringLiteral("#3DDC84");
    server.symbol = QStringLiteral("bolt");
    server.sortIndex = -3;
    server.passiveMode = false;
    server.useTLS = true;
    server.keepAliveSeconds = 15;
    server.strictHostKeyChecking = true;
    server.charset = QStringLiteral("ISO-8859-1");
    server.notes = QStringLiteral("two\nlines");
    return server;
}

QByteArray encoded(const ServerConnection &server)
{
    JsonWriter writer;
    server.writeJson(writer);
    return writer.bytes();
}

/// The record with one value replaced, or taken out where undefined, decoded: "fine" or the sentence of the failure.
QString decodeWith(const QString &key, const QJsonValue &value)
{
    QJsonObject record = QJsonDocument::fromJson(encoded(fullServer())).object();
    if (value.isUndefined())
        record.remove(key);
    else
        record.insert(key, value);
    try {
        ServerConnection::fromJson(JsonReader(record, QStringLiteral("server “web”")));
        return QStringLiteral("fine");
    } catch (const Error &error) {
        return error.message();
    }
}

} // namespace

class ServerConnectionTest : public QObject
{
    Q_OBJECT

private slots:
    void onlyFourKeysMayBeMissing()
    {
        const QStringList optional{QStringLiteral("privateKeyPath"), QStringLiteral("folderID"),
                                   QStringLiteral("colorTag"), QStringLiteral("symbol")};
        const QStringList keys = QJsonDocument::fromJson(encoded(fullServer())).object().keys();
        for (const QString &key : keys) {
            const QString expected = optional.contains(key)
                                         ? QStringLiteral("fine")
                                         : QStringLiteral("The key “%1” of server “web” is missing.").arg(key);
            QCOMPARE(decodeWith(key, QJsonValue::Undefined), expected);
            QCOMPARE(decodeWith(key, QJsonValue::Null), expected);
        }
    }

    void mistypedAndUnknownValuesAreRefused()
    {
        const QString problem = QStringLiteral("The key “%1” of server “web” %2.");
        QCOMPARE(decodeWith(QStringLiteral("port"), 22.5),
                 problem.arg(QStringLiteral("port"), QStringLiteral("is not a whole number")));
        for (const QString &key : {QStringLiteral("networkProtocol"), QStringLiteral("authMethod")})
            QCOMPARE(decodeWith(key, QStringLiteral("sftp")),
                     problem.arg(key, QStringLiteral("has the unknown value “sftp”")));
    }

    void draftsDifferFromADefaultRecordAsTheirProtocolNeeds()
    {
        for (const NetworkProtocol protocol : allNetworkProtocols) {
            const ServerConnection draft = ServerConnection::newDraft(protocol);
            ServerConnection expected;
            expected.id = draft.id;
            expected.networkProtocol = protocol;
            const bool isFtp = protocol == NetworkProtocol::ftp || protocol == NetworkProtocol::ftps;
            expected.port = isFtp ? 21 : 22;
            expected.useTLS = protocol == NetworkProtocol::ftps;
            QVERIFY2(draft == expected, qPrintable(rawText(protocol)));
        }
    }

    void siblingsAreOrderedByIndexThenByDisplayName()
    {
        QList<ServerConnection> servers(5);
        servers[0].name = QStringLiteral("zebra");
        servers[0].sortIndex = -1;
        servers[1].name = QStringLiteral("A");
        servers[2].host = QStringLiteral("b");
        servers[3].name = QStringLiteral("C");
        servers[4].name = QStringLiteral("aardvark");
        servers[4].sortIndex = 2;
        for (qsizetype index = 1; index < servers.size(); ++index) {
            QVERIFY(isOrderedBefore(servers.at(index - 1), servers.at(index)));
            QVERIFY(!isOrderedBefore(servers.at(index), servers.at(index - 1)));
        }
    }
};

MOORIX_TEST(ServerConnectionTest)

class ServerLibraryTest : public QObject
{
    Q_OBJECT

private slots:
    void aLibrarySurvivesWritingAndReading()
    {
        ServerFolder folder;
        folder.colorTag = QStringLiteral("#5AA9E6");
        folder.parentID = newUuid();
        ServerLibrary library;
        library.folders = {folder, ServerFolder()};
        library.servers = {fullServer(), ServerConnection()};
        library.lastModified = QDateTime(QDate(2026, 3, 1), QTime(12, 0, 0, 1), Qt::UTC);
        QVERIFY(ServerLibrary::decode(library.encode()) == library);
        QVERIFY(ServerLibrary::decode(ServerLibrary::empty().encode()) == ServerLibrary::empty());
    }

    void aLibraryIsWrittenKeyByKeyInItsOrder()
    {
        ServerLibrary library;
        library.folders = {ServerFolder()};
        library.folders.first().id = *fullServer().folderID;
        library.servers = {fullServer()};
        // Single quotes stand for double ones.
        QByteArray expected("{\n"
                            "  'folders': [\n"
                            "    {\n"
                            "      'id': 'A1B2C3D4-0000-4000-8000-00000000EF01',\n"
                            "      'name': 'New Folder',\n"
                            "      'sortIndex': 0,\n"
                            "      'symbol': 'folder.fill',\n"
                            "      'parentID': null,\n"
                            "      'colorTag': null\n"
                            "    }\n"
                            "  ],\n"
                            "  'servers': [\n"
                            "    {\n"
                            "      'id': 'A1B2C3D4-0000-4000-8000-00000000ABCD',\n"
                            "      'name': 'Wéb \\'1\\'',\n"
                            "      'networkProtocol': 'FTPS',\n"
                            "      'host': '192.0.2.1',\n"
                            "      'port': 990,\n"
                            "      'username': 'deploy',\n"
                            "      'authMethod': 'SSH Key (Provided)',\n"
                            "      'privateKeyPath': '~/.ssh/id',\n"
                            "      'remotePath': '/srv',\n"
                            "      'folderID': 'A1B2C3D4-0000-4000-8000-00000000EF01',\n"
                            "      'isFavorite': true,\n"
                            "      'colorTag': '#3DDC84',\n"
                            "      'symbol': 'bolt',\n"
                            "      'sortIndex': -3,\n"
                            "      'passiveMode': false,\n"
                            "      'useTLS': true,\n"
                            "      'keepAliveSeconds': 15,\n"
                            "      'strictHostKeyChecking': true,\n"
                            "      'charset': 'ISO-8859-1',\n"
                            "      'notes': 'two\\nlines'\n"
                            "    }\n"
                            "  ],\n"
                            "  'lastModified': null\n"
                            "}\n");
        QCOMPARE(library.encode(), expected.replace('\'', '"'));
    }

    void oneBadRecordMakesTheWholeLibraryUnreadable()
    {
        const auto problemOf = [](QByteArray text) {
            try {
                ServerLibrary::decode(text.replace('\'', '"'));
            } catch (const Error &error) {
                return error.message();
            }
            return QStringLiteral("none");
        };
        QCOMPARE(problemOf("{'folders':[]}"), QStringLiteral("The key “servers” of the server library is missing."));
        QCOMPARE(problemOf("{'folders':[{'name':'Clients'}],'servers':[]}"),
                 QStringLiteral("The key “id” of folder “Clients” is missing."));
        QCOMPARE(problemOf("{'folders':[],'servers':[{}]}"),
                 QStringLiteral("The key “id” of server 1 of the server library is missing."));
    }

    void theSampleReachesNobody()
    {
        const QRegularExpression reserved(
            QStringLiteral("^(192\\.0\\.2|198\\.51\\.100|203\\.0\\.113)\\.\\d+$|(^|\\.)example\\.(com|org|net)$"));
        for (const ServerConnection &server : ServerLibrary::sample().servers)
            QVERIFY2(reserved.match(server.host).hasMatch(), qPrintable(server.host));
    }
};

MOORIX_TEST(ServerLibraryTest)
#include "ServerConnectionTest.moc"
