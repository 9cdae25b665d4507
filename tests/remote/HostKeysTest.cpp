// SPDX-License-Identifier: GPL-3.0-or-later
#include "RemoteTestSupport.h"

#include "platform/SystemProcessRunner.h"
#include "remote/HostKeys.h"
#include "remote/SFTPService.h"
#include "remote/SSHConfigHosts.h"
#include "support/TestMain.h"
#include "support/TestServer.h"

#include <QTest>

using namespace moorix;
using namespace moorix::test;

class HostKeysTest final : public QObject
{
    Q_OBJECT

    static QByteArray hostKeyOf(const TestServer &server)
    {
        return contentOf(QFileInfo(server.keyPath()).path() + QStringLiteral("/host_key.pub")).trimmed();
    }
    static QByteArray known(const TestServer &server, const QByteArray &key)
    {
        return QStringLiteral("[127.0.0.1]:%1 ").arg(server.port()).toUtf8() + key;
    }

private slots:
    void keyOfTheHostIsOfferedKnownAndForgotten()
    {
        const TestServer sshd;
        const auto clients = std::make_shared<IsolatedClients>(sshd.knownHostsPath());
        ServerConnection server = sshd.connection();
        const QStringList offered = HostKeys::offeredFingerprints(server, *clients, neverStops);
        QCOMPARE(offered.size(), 1);
        QVERIFY(offered.constFirst().startsWith(QStringLiteral("ED25519 SHA256:")));
        QVERIFY(HostKeys::knownFingerprints(server, *clients, neverStops).isEmpty());
        server.strictHostKeyChecking = true;
        SFTPService strict(server, {}, clients);
        QVERIFY(messageOf([&] { strict.connect(neverStops); }).contains(QStringLiteral("is not known yet")));

        server.strictHostKeyChecking = false;
        SFTPService service(server, {}, clients);
        service.connect(neverStops);
        service.disconnect();
        QCOMPARE(HostKeys::knownFingerprints(server, *clients, neverStops), offered);
        HostKeys::forget(server, *clients, neverStops);
        QVERIFY(HostKeys::knownFingerprints(server, *clients, neverStops).isEmpty());
        HostKeys::forget(server, *clients, neverStops);
    }

    void changedKeyIsRefusedAndExplained()
    {
        const TestServer sshd;
        const TestServer other;
        const auto clients = std::make_shared<IsolatedClients>(sshd.knownHostsPath());
        const ServerConnection server = sshd.connection();
        putFile(sshd.knownHostsPath(), known(sshd, hostKeyOf(other)));
        SFTPService service(server, {}, clients);
        const QString message = messageOf([&] { service.connect(neverStops); });
        QVERIFY2(message.startsWith(QStringLiteral("Could not connect: the key of 127.0.0.1 has changed.")),
                 qPrintable(message));
    }

    void confirmedKeyReplacesTheKnownOneAndNoOther_data()
    {
        QTest::addColumn<bool>("hashesNames");
        QTest::newRow("plain names") << false;
        QTest::newRow("hashed names") << true;
    }

    void confirmedKeyReplacesTheKnownOneAndNoOther()
    {
        QFETCH(bool, hashesNames);
        const TestServer sshd;
        const TestServer other;
        const auto clients = std::make_shared<IsolatedClients>(sshd.knownHostsPath());
        clients->setHashesKnownHosts(hashesNames);
        const QByteArray elsewhere = "elsewhere.example " + hostKeyOf(other);
        putFile(sshd.knownHostsPath(), known(sshd, hostKeyOf(other)) + '\n' + elsewhere);
        ServerConnection server = sshd.connection();
        server.strictHostKeyChecking = true;

        const QStringList shown = HostKeys::offeredFingerprints(server, *clients, neverStops);
        const QStringList before = HostKeys::knownFingerprints(server, *clients, neverStops);
        QVERIFY(messageOf([&] {
                    HostKeys::trust(server, before, *clients, neverStops);
                }).contains(QStringLiteral("now shows other keys")));
        QCOMPARE(HostKeys::knownFingerprints(server, *clients, neverStops), before);

        HostKeys::trust(server, shown, *clients, neverStops);
        QCOMPARE(HostKeys::knownFingerprints(server, *clients, neverStops), shown);
        SFTPService service(server, {}, clients);
        service.connect(neverStops);
        service.disconnect();
        const QByteArray text = contentOf(sshd.knownHostsPath());
        QVERIFY(text.contains(elsewhere + '\n'));
        QCOMPARE(text.contains("127.0.0.1"), !hashesNames);
    }

    void unreachableHostShowsNoKey()
    {
        ServerConnection server;
        server.host = QStringLiteral("127.0.0.1");
        server.port = 1;
        server.username = QStringLiteral("ada");
        SystemProcessRunner runner;
        QVERIFY(messageOf([&] {
                    HostKeys::offeredFingerprints(server, runner, neverStops);
                }).startsWith(QStringLiteral("127.0.0.1 shows no key on port 1.")));
    }

    void hostsOfTheConfigurationBecomeDrafts()
    {
        const QTemporaryDir folder;
        const QString config = folder.filePath(QStringLiteral("config"));
        const QString key = folder.filePath(QStringLiteral("key"));
        putFile(key, "PRIVATE KEY");
        putFile(config, "Include " + folder.path().toUtf8() +
                            "/more-*\nhost = web \"web two\" *.example !not\n  HostName web.example\n"
                            "  Port 2200\n  User ada\n  IdentityFile " +
                            key.toUtf8() +
                            "\nHost web plain\n"
                            "Include missing\n");
        putFile(folder.filePath(QStringLiteral("more-1")), "Host first\n  User bob\n  IdentityFile /nowhere/key\n");
        QCOMPARE(SSHConfigHosts::aliases(config).join(u','), QStringLiteral("first,web,web two,plain"));
        QVERIFY(SSHConfigHosts::aliases(QStringLiteral("/nowhere/config")).isEmpty());

        SystemProcessRunner runner;
        const QList<ServerConnection> drafts = SSHConfigHosts::drafts(config, runner, neverStops);
        QStringList described;
        for (const ServerConnection &draft : drafts) {
            described << QStringLiteral("%1=%2@%3:%4 %5")
                             .arg(draft.name, draft.name == QStringLiteral("plain") ? QString() : draft.username,
                                  draft.host)
                             .arg(draft.port)
                             .arg(draft.privateKeyPath.value_or(QStringLiteral("no key")));
        }
        QCOMPARE(described.join(u'\n'), QStringLiteral("first=bob@first:22 no key\nweb=ada@web.example:2200 %1\n"
                                                       "plain=@plain:22 no key")
                                            .arg(key));
    }
};

MOORIX_TEST(HostKeysTest)
#include "HostKeysTest.moc"
