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
    void aRecordIsWrittenKeyByKeyInItsOrder()
    {
        const QByteArray expected("{\n"
                                  "  \"id\": \"A1B2C3D4-0000-4000-8000-00000000ABCD\",\n"
                                  "  \"name\": \"Wéb \\\"1\\\"\",\n"
                                  "  \"networkProtocol\": \"FTPS\",\n"
                                  "  \"host\": \"192.0.2.1\",\n"
                                  "  \"port\": 990,\n"
                                  "  \"username\": \"deploy\",\n"
                                  "  \"authMethod\": \"SSH Key (Provided)\",\n"
                                  "  \"privateKeyPath\": \"~/.ssh/id\",\n"
                                  "  \"remotePath\": \"/srv\",\n"
                                  "  \"folderID\": \"A1B2C3D4-0000-4000-8000-00000000EF01\",\n"
                                  "  \"isFavorite\": true,\n"
                                  "  \"colorTag\": \"#3DDC84\",\n"
                                  "  \"symbol\": \"bolt\",\n"
                                  "  \"sortIndex\": -3,\n"
                                  "  \"passiveMode\": false,\n"
                                  "  \"useTLS\": true,\n"
                                  "  \"keepAliveSeconds\": 15,\n"
                                  "  \"strictHostKeyChecking\": true,\n"
                                  "  \"charset\": \"ISO-8859-1\",\n"
                                  "  \"notes\": \"two\\nlines\"\n"
                                  "}\n");
        QCOMPARE(encoded(fullServer()), expected);
    }

    void recordsSurviveWritingAndReading()
    {
        for (const ServerConnection &server : {fullServer(), ServerConnection()}) {
            const auto reader = JsonReader::parse(encoded(server), QStringLiteral("it"));
            QVERIFY(ServerConnection::fromJson(reader) == server);
        }
    }

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

    void mistypedAndUnknownValuesAreRefused_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QString>("problem");
        const auto row = [](const QString &key, const QJsonValue &value, const QString &problem) {
            QTest::newRow(qPrintable(key)) << key << value << problem;
        };
        row(QStringLiteral("port"), 22.5, QStringLiteral("is not a whole number"));
        row(QStringLiteral("networkProtocol"), QStringLiteral("sftp"), QStringLiteral("has the unknown value “sftp”"));
        row(QStringLiteral("authMethod"), QStringLiteral("Kerberos"),
            QStringLiteral("has the unknown value “Kerberos”"));
        row(QStringLiteral("isFavorite"), 1, QStringLiteral("is not true or false"));
        row(QStringLiteral("folderID"), QString(), QStringLiteral("is not an identifier (“”)"));
        row(QStringLiteral("symbol"), 3, QStringLiteral("is not a text"));
    }
    void mistypedAndUnknownValuesAreRefused()
    {
        QFETCH(const QString, key);
        QFETCH(const QJsonValue, value);
        QFETCH(const QString, problem);
        QCOMPARE(decodeWith(key, value), QStringLiteral("The key “%1” of server “web” %2.").arg(key, problem));
    }

    void draftsDifferFromADefaultRecordAsTheirProtocolNeeds_data()
    {
        QTest::addColumn<NetworkProtocol>("protocol");
        QTest::addColumn<qint64>("port");
        QTest::addColumn<bool>("useTLS");
        QTest::newRow("sftp") << NetworkProtocol::sftp << qint64(22) << false;
        QTest::newRow("ssh") << NetworkProtocol::ssh << qint64(22) << false;
        QTest::newRow("ftp") << NetworkProtocol::ftp << qint64(21) << false;
        QTest::newRow("ftps") << NetworkProtocol::ftps << qint64(21) << true;
    }
    void draftsDifferFromADefaultRecordAsTheirProtocolNeeds()
    {
        QFETCH(const NetworkProtocol, protocol);
        QFETCH(const qint64, port);
        QFETCH(const bool, useTLS);
        const ServerConnection draft = ServerConnection::newDraft(protocol);
        ServerConnection expected;
        expected.id = draft.id;
        expected.networkProtocol = protocol;
        expected.port = port;
        expected.useTLS = useTLS;
        QVERIFY(draft == expected);
        QVERIFY(draft.id != ServerConnection::newDraft(protocol).id);
    }

    void siblingsAreOrderedByIndexThenByDisplayName_data()
    {
        QTest::addColumn<QStringList>("names"); // "index:name" or "index:=host", in the expected order
        QTest::newRow("case does not matter") << QStringList{QStringLiteral("0:A"), QStringLiteral("0:b")};
        QTest::newRow("index first") << QStringList{QStringLiteral("-1:z"), QStringLiteral("2:a")};
        QTest::newRow("host stands in for a name")
            << QStringList{QStringLiteral("0:alpha"), QStringLiteral("0:=Beta"), QStringLiteral("0:gamma")};
    }
    void siblingsAreOrderedByIndexThenByDisplayName()
    {
        QFETCH(const QStringList, names);
        QList<ServerConnection> servers;
        for (const QString &name : names) {
            ServerConnection server;
            server.sortIndex = name.section(u':', 0, 0).toLongLong();
            const QString label = name.section(u':', 1);
            (label.startsWith(u'=') ? server.host : server.name) = label.startsWith(u'=') ? label.mid(1) : label;
            servers.append(server);
        }
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
        library.servers = {fullServer()};
        library.lastModified = QDateTime(QDate(2026, 3, 1), QTime(12, 0, 0, 1), Qt::UTC);
        QVERIFY(ServerLibrary::decode(library.encode()) == library);
        QVERIFY(ServerLibrary::decode(ServerLibrary::empty().encode()) == ServerLibrary::empty());
        QVERIFY(library.encode().startsWith("{\n  \"folders\": [\n    {\n      \"id\""));
    }

    void oneBadRecordMakesTheWholeLibraryUnreadable_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("problem");
        const auto row = [](const char *name, const char *text, const QString &problem) {
            QTest::newRow(name) << QByteArray(text).replace('\'', '"') << problem;
        };
        row("no servers", "{'folders':[]}", QStringLiteral("The key “servers” of the server library is missing."));
        row("no folders", "{'servers':[]}", QStringLiteral("The key “folders” of the server library is missing."));
        row("named record", "{'folders':[{'name':'Clients'}],'servers':[]}",
            QStringLiteral("The key “id” of folder “Clients” is missing."));
        row("record without a name", "{'folders':[],'servers':[{}]}",
            QStringLiteral("The key “id” of server 1 of the server library is missing."));
        row("folder without a symbol",
            "{'folders':[{'id':'A1B2C3D4-0000-4000-8000-00000000ABCD','name':'x','sortIndex':0}],'servers':[]}",
            QStringLiteral("The key “symbol” of folder “x” is missing."));
    }
    void oneBadRecordMakesTheWholeLibraryUnreadable()
    {
        QFETCH(const QByteArray, text);
        QFETCH(const QString, problem);
        QString message;
        try {
            ServerLibrary::decode(text);
        } catch (const Error &error) {
            message = error.message();
        }
        QCOMPARE(message, problem);
    }

    void theSampleReachesNobody()
    {
        const ServerLibrary sample = ServerLibrary::sample();
        QCOMPARE(sample.folders.size(), 1);
        QCOMPARE(sample.servers.size(), 5);
        QVERIFY(!sample.lastModified);
        const QRegularExpression reserved(
            QStringLiteral("^(192\\.0\\.2|198\\.51\\.100|203\\.0\\.113)\\.\\d+$|(^|\\.)example\\.(com|org|net)$"));
        for (const ServerConnection &server : sample.servers)
            QVERIFY2(reserved.match(server.host).hasMatch(), qPrintable(server.host));
        QVERIFY(ServerLibrary::decode(sample.encode()) == sample);
    }
};

MOORIX_TEST(ServerLibraryTest)
#include "ServerConnectionTest.moc"
