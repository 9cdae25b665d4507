// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/servers/ConnectionRules.h"

#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

using Change = std::function<void(ServerConnection &)>;

} // namespace
Q_DECLARE_METATYPE(Change)
Q_DECLARE_METATYPE(moorix::ConnectionField)

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

    void problemNamesItsField_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<ConnectionField>("field");
        const auto row = [](const char *name, ConnectionField field, Change change) {
            QTest::newRow(name) << std::move(change) << field;
        };
        row("no host", ConnectionField::host, [](auto &server) { server.host.clear(); });
        row("host is an option", ConnectionField::host, [](auto &server) { server.host = u"-oX"_s; });
        row("host with its user", ConnectionField::host, [](auto &server) { server.host = u"me@web"_s; });
        row("host with a folder", ConnectionField::host, [](auto &server) { server.host = u"web/var"_s; });
        row("host with a line break", ConnectionField::host, [](auto &server) { server.host = u"web\nx"_s; });
        row("port 0", ConnectionField::port, [](auto &server) { server.port = 0; });
        row("port too high", ConnectionField::port, [](auto &server) { server.port = 65536; });
        row("no user", ConnectionField::username, [](auto &server) { server.username.clear(); });
        row("user is an option", ConnectionField::username, [](auto &server) { server.username = u"-l"_s; });
        row("no key file", ConnectionField::privateKey,
            [](auto &server) { server.authMethod = AuthMethod::privateKeyFile; });
        row("nothing pasted", ConnectionField::privateKey,
            [](auto &server) { server.authMethod = AuthMethod::privateKeyPasted; });
        row("folder with a line break", ConnectionField::remotePath,
            [](auto &server) { server.remotePath = u"/a\nrm b"_s; });
        row("no charset", ConnectionField::charset, [](auto &server) { server.charset = u" "_s; });
    }

    void problemNamesItsField()
    {
        QFETCH(Change, change);
        QFETCH(ConnectionField, field);
        ServerConnection server = usable();
        change(server);
        const QList<ConnectionProblem> problems = connectionProblems(server, false);
        QCOMPARE(problems.size(), 1);
        QCOMPARE(int(problems.first().field), int(field));
    }
};

MOORIX_TEST(ConnectionRulesTest)
#include "ConnectionRulesTest.moc"
