// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PrivateFile.h"
#include "platform/PrivateFolder.h"
#include "platform/SecretServiceKeychain.h"
#include "support/TestMain.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QFileInfo>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

/// Private files and folders, and the keychain of the desktop. Needs an unlocked Secret Service on the session bus: run
/// under support/with-keyring.
class SecretsTest final : public QObject
{
    Q_OBJECT

private slots:
    void onlyTheUserCanReadAFileAndItGoesWithTheObject()
    {
        QString path;
        {
            const PrivateFile file(u"moorix-test-"_s, "secret", u".key"_s);
            path = file.path();
            QCOMPARE(QFile::permissions(path) & 0x7077, QFile::ReadOwner | QFile::WriteOwner);
            QCOMPARE(QFileInfo(path).size(), 6);
            QVERIFY(QFileInfo(path).fileName().startsWith(u"moorix-test-"_s) && path.endsWith(u".key"));
        }
        QVERIFY(!QFileInfo::exists(path));
    }

    void ownershipOfAFileMovesWithTheObject()
    {
        PrivateFile first(u"moorix-test-"_s);
        const QString firstPath = first.path();
        QString secondPath;
        {
            PrivateFile second(u"moorix-test-"_s);
            secondPath = second.path();
            first = std::move(second);
            QVERIFY(!QFileInfo::exists(firstPath));
            const PrivateFile third(std::move(first));
            QCOMPARE(third.path(), secondPath);
        }
        QVERIFY(!QFileInfo::exists(secondPath));
    }

    void anExistingFileOrLinkIsNeverWrittenTo()
    {
        const TestTree tree{{"taken", "old"}};
        tree.link("trap", tree.path("elsewhere"));
        const auto before = tree.snapshot();
        for (const char *name : {"taken", "trap", "no folder/new"})
            QVERIFY_THROWS_EXCEPTION(Error, writeNewPrivateFile(tree.path(name), "secret", 0600));
        QCOMPARE(tree.snapshot(), before);
        writeNewPrivateFile(tree.path("askpass"), "#!/bin/sh\n", 0700);
        QCOMPARE(QFile::permissions(tree.path("askpass")) & 0x7077, QFile::Permissions(0x7000));
    }

    void onlyTheUserCanEnterAFolderAndItGoesWithReadOnlyFilesInIt()
    {
        QString path;
        {
            PrivateFolder first(u"moorix-test-"_s);
            const PrivateFolder folder(std::move(first));
            path = folder.path();
            QCOMPARE(QFile::permissions(path) & 0x7077, QFile::Permissions(0x7000));
            putFile(path + u"/inside"_s, "secret");
            QFile::setPermissions(path + u"/inside"_s, QFile::ReadOwner);
        }
        QVERIFY(!QFileInfo::exists(path));
        const QString message = messageOf([] { PrivateFolder(u"moorix-no-such-folder/moorix-"_s); });
        QVERIFY2(message.contains(u"/moorix-no-such-folder/moorix-"), qPrintable(message));
    }

    void secretsAreStoredFoundReplacedAndRemovedPerVariant()
    {
        SecretServiceKeychain keychain;
        const QString service = u"com.ovlan.moorix.test"_s;
        const QString account = u"A.password"_s;
        const auto value = [&](KeychainVariant variant) { return keychain.value(service, account, variant); };
        using enum KeychainVariant;
        QVERIFY(!value(synchronizable));
        keychain.setValue(service, account, synchronizable, u"old"_s);
        keychain.setValue(service, account, synchronizable, u"Pässwort ✓\nline 2"_s);
        QCOMPARE(value(synchronizable), std::optional(u"Pässwort ✓\nline 2"_s));
        QVERIFY(!value(deviceOnly));
        keychain.setValue(service, account, deviceOnly, u"device"_s);
        QVERIFY(!keychain.value(service, u"B.password"_s, deviceOnly));
        keychain.remove(service, account, synchronizable);
        keychain.remove(service, account, synchronizable);
        QVERIFY(!value(synchronizable));
        QCOMPARE(value(deviceOnly), std::optional(u"device"_s));
        keychain.remove(service, account, deviceOnly);
    }

    /// The last one, since unlocking again would take a prompt.
    void reportTellsALockedKeyringFromAnOpenOne()
    {
        SecretServiceKeychain keychain;
        QCOMPARE(keychain.report().state, KeychainReport::State::ready);
        const auto call = [](const QString &method, const QVariant &argument) {
            QDBusMessage message =
                QDBusMessage::createMethodCall(u"org.freedesktop.secrets"_s, u"/org/freedesktop/secrets"_s,
                                               u"org.freedesktop.Secret.Service"_s, method);
            message << argument;
            return QDBusConnection::sessionBus().call(message);
        };
        const QDBusReply<QDBusObjectPath> keyring = call(u"ReadAlias"_s, u"default"_s);
        call(u"Lock"_s, QVariant::fromValue(QList<QDBusObjectPath>{keyring.value()}));
        QCOMPARE(keychain.report().state, KeychainReport::State::locked);
    }
};

MOORIX_TEST(SecretsTest)
#include "SecretsTest.moc"
