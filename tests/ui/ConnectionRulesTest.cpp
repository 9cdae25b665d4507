// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/servers/ConnectionRules.h"

#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;

class ConnectionRulesTest : public QObject
{
    Q_OBJECT

    static ServerConnection usable()
    {
        ServerConnection server;
        server.host = u"web-01"_s;
        server.username = u"deploy"_s;
        return server;
    }

private slots:
    void usableRecordHasNoProblem()
    {
        ServerConnection ftp = usable();
        ftp.networkProtocol = NetworkProtocol::ftp;
        // A method that the protocol does not know asks for nothing.
        ftp.authMethod = AuthMethod::privateKeyPasted;
        QCOMPARE(connectionProblems(ftp, false), {});
        ServerConnection pasted = usable();
        pasted.authMethod = AuthMethod::privateKeyPasted;
        QCOMPARE(connectionProblems(pasted, true), {});
    }

    void problemNamesItsField()
    {
        using Field = ConnectionField;
        using Server = ServerConnection;
        QList<std::pair<Server, Field>> rows;
        const auto row = [&rows](Field field, auto Server::*member, auto value) {
            Server server = usable();
            server.*member = value;
            rows.append({server, field});
        };
        for (const QString &host : {u""_s, u"-oX"_s, u"me@web"_s, u"web/var"_s, u"web\nx"_s})
            row(Field::host, &Server::host, host);
        for (const QString &user : {u""_s, u"-l"_s})
            row(Field::username, &Server::username, user);
        for (const qint64 port : {0, 65536})
            row(Field::port, &Server::port, port);
        for (const AuthMethod method : {AuthMethod::privateKeyFile, AuthMethod::privateKeyPasted})
            row(Field::privateKey, &Server::authMethod, method); // without a key
        row(Field::remotePath, &Server::remotePath, u"/a\nrm b"_s);
        row(Field::charset, &Server::charset, u" "_s);
        for (const auto &[server, field] : rows) {
            const QList<ConnectionProblem> problems = connectionProblems(server, false);
            QCOMPARE(problems.size(), 1);
            QCOMPARE(int(problems.first().field), int(field));
        }
    }
};

MOORIX_TEST(ConnectionRulesTest)
#include "ConnectionRulesTest.moc"
