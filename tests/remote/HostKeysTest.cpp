// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/HostKeys.h"
#include "platform/SystemProcessRunner.h"
#include "remote/SFTPService.h"
#include "remote/SSHConfigHosts.h"
#include "support/Shorthand.h"
#include "support/TestMain.h"
#include "support/TestServer.h"
#include "support/TestTree.h"

#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

class HostKeysTest final : public QObject
{
    Q_OBJECT

    static QByteArray known(const TestServer &server, const QByteArray &key)
    {
        return u"[127.0.0.1]:%1 "_s.arg(server.port()).toUtf8() + key;
    }

private slots:
    void firstConnectionMakesTheOfferedKeyKnownUnlessCheckingIsStrict()
    {
        const TestServer sshd;
        const auto clients = std::make_shared<IsolatedClients>(sshd.knownHostsPath());
        ServerConnection server = sshd.connection();
        const QStringList offered = HostKeys::offeredFingerprints(server, *clients, neverStops);
        QCOMPARE(offered.size(), 1);
        QVERIFY(offered.constFirst().startsWith(u"ED25519 SHA256:"_s));
        QVERIFY(HostKeys::knownFingerprints(server, *clients, neverStops).isEmpty());
        server.strictHostKeyChecking = true;
        SFTPService strict(server, {}, clients);
        QVERIFY(messageOf([&] { strict.connect(neverStops); }).contains(u"is not known yet"_s));

        server.strictHostKeyChecking = false;
        SFTPService service(server, {}, clients);
        service.connect(neverStops);
        service.disconnect();
        QCOMPARE(HostKeys::knownFingerprints(server, *clients, neverStops), offered);
        // Behind what has no line end of its own, a key stands on a line of its own.
        putFile(sshd.knownHostsPath(), "# by hand");
        HostKeys::trust(server, offered, *clients, neverStops);
        QCOMPARE(HostKeys::knownFingerprints(server, *clients, neverStops), offered);
    }

    void changedKeyIsRefusedUntilItIsConfirmedAndReplacesNoOther()
    {
        const TestServer sshd;
        for (const bool hashesNames : {false, true})
            checkChangedKey(sshd, hashesNames);
    }

    void unreachableHostShowsNoKey()
    {
        ServerConnection server;
        server.host = u"127.0.0.1"_s;
        server.port = 1;
        server.username = u"ada"_s;
        SystemProcessRunner runner;
        QVERIFY(messageOf([&] {
                    HostKeys::offeredFingerprints(server, runner, neverStops);
                }).startsWith(u"127.0.0.1 shows no key on port 1."_s));
    }

    void hostsOfTheConfigurationBecomeDrafts()
    {
        const TestTree tree{{"key", "PRIVATE KEY"},
                            {"more-1", "Host first\n  User bob\n  IdentityFile /nowhere/key\n"}};
        const QString config = tree.path("config");
        const QString key = tree.path("key");
        tree.write("config", u"Include %1/more-*\nhost = web \"web two\" *.example !not\n  HostName web.example\n"
                             "  Port 2200\n  User ada\n  IdentityFile %1/key\nHost web plain\nInclude missing\n"_s
                                 .arg(tree.path())
                                 .toUtf8());
        QCOMPARE(SSHConfigHosts::aliases(config).join(u','), u"first,web,web two,plain"_s);
        QVERIFY(SSHConfigHosts::aliases(u"/nowhere/config"_s).isEmpty());

        SystemProcessRunner runner;
        const QList<ServerConnection> drafts = SSHConfigHosts::drafts(config, runner, neverStops);
        QStringList described;
        for (const ServerConnection &draft : drafts) {
            described << u"%1=%2@%3:%4 %5"_s
                             .arg(draft.name, draft.name == u"plain"_s ? QString() : draft.username, draft.host)
                             .arg(draft.port)
                             .arg(draft.privateKeyPath.value_or(u"no key"_s));
        }
        QCOMPARE(described.join(u'\n'), u"first=bob@first:22 no key\nweb=ada@web.example:2200 %1\n"
                                        "plain=@plain:22 no key"_s.arg(key));
    }

private:
    static void checkChangedKey(const TestServer &sshd, bool hashesNames)
    {
        const QByteArray otherKey = contentOf(sshd.keyPath() + u".pub"_s).trimmed();
        const auto clients = std::make_shared<IsolatedClients>(sshd.knownHostsPath());
        clients->setHashesKnownHosts(hashesNames);
        const QByteArray elsewhere = "elsewhere.example " + otherKey;
        putFile(sshd.knownHostsPath(), known(sshd, otherKey) + '\n' + elsewhere);
        ServerConnection server = sshd.connection();
        server.strictHostKeyChecking = true;
        SFTPService service(server, {}, clients);
        const QString message = messageOf([&] { service.connect(neverStops); });
        QVERIFY2(message.startsWith(u"Could not connect: the key of 127.0.0.1 has changed."_s), qPrintable(message));

        const QStringList shown = HostKeys::offeredFingerprints(server, *clients, neverStops);
        const QStringList before = HostKeys::knownFingerprints(server, *clients, neverStops);
        QVERIFY(messageOf([&] {
                    HostKeys::trust(server, before, *clients, neverStops);
                }).contains(u"now shows other keys"_s));
        QCOMPARE(HostKeys::knownFingerprints(server, *clients, neverStops), before);

        HostKeys::trust(server, shown, *clients, neverStops);
        QCOMPARE(HostKeys::knownFingerprints(server, *clients, neverStops), shown);
        service.connect(neverStops);
        service.disconnect();
        const QByteArray text = contentOf(sshd.knownHostsPath());
        QVERIFY(text.contains(elsewhere + '\n'));
        QCOMPARE(text.contains("127.0.0.1"), !hashesNames);
    }
};

MOORIX_TEST(HostKeysTest)
#include "HostKeysTest.moc"
