// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/KeychainStore.h"

#include "platform/Preferences.h"
#include "servers/SecretMigration.h"
#include "support/MemoryKeychain.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QTest>

using namespace moorix;
using moorix::test::MemoryKeychain;
using moorix::test::TestTree;

class KeychainStoreTest : public QObject
{
    Q_OBJECT

    static constexpr auto syncable = KeychainVariant::synchronizable;
    static constexpr auto device = KeychainVariant::deviceOnly;
    const QUuid m_owner{QStringLiteral("a1b2c3d4-0000-4000-8000-00000000abcd")};
    std::shared_ptr<MemoryKeychain> m_keychain;
    std::unique_ptr<KeychainStore> m_store;

    std::optional<QString> item(KeychainVariant variant, const char *kind) const
    {
        return m_keychain->value(QStringLiteral("com.ovlan.moorix.secrets"),
                                 QStringLiteral("A1B2C3D4-0000-4000-8000-00000000ABCD.") + QLatin1String(kind),
                                 variant);
    }
    std::optional<QString> found() const { return m_store->get(m_owner, SecretKind::password); }
    bool set(const QString &value) const { return m_store->set(value, m_owner, SecretKind::password); }

private slots:
    void init()
    {
        m_keychain = std::make_shared<MemoryKeychain>();
        m_store = std::make_unique<KeychainStore>(m_keychain);
    }

    void secretsAreKeptPerKindUnderTheirAccount()
    {
        QVERIFY(m_store->set(QStringLiteral("pw"), m_owner, SecretKind::password));
        QVERIFY(m_store->set(QStringLiteral("pp"), m_owner, SecretKind::passphrase));
        QVERIFY(m_store->set(QStringLiteral("key\n"), m_owner, SecretKind::privateKey));
        QCOMPARE(item(syncable, "password"), std::optional(QStringLiteral("pw")));
        QCOMPARE(item(syncable, "passphrase"), std::optional(QStringLiteral("pp")));
        QCOMPARE(item(syncable, "privateKey"), std::optional(QStringLiteral("key\n")));
        QVERIFY(!m_store->get(QUuid::createUuid(), SecretKind::password));
    }

    void theDeviceOnlyKeychainStandsInUntilTheOtherWorksAgain()
    {
        m_keychain->breakVariant(syncable);
        QVERIFY(set(QStringLiteral("old")));
        QCOMPARE(found(), std::optional(QStringLiteral("old")));
        m_keychain->mendVariant(syncable);
        QVERIFY(!item(syncable, "password"));
        QVERIFY(set(QStringLiteral("new")));
        QVERIFY(!item(device, "password"));
        QVERIFY(m_store->migrateToSyncable({m_owner}, {}));
        QCOMPARE(found(), std::optional(QStringLiteral("new")));
    }

    void anEmptyOrAbsentValueDeletesBothVariants()
    {
        const QString account = QStringLiteral("A1B2C3D4-0000-4000-8000-00000000ABCD.password");
        for (const std::optional<QString> &value : {std::optional(QString()), std::optional<QString>()}) {
            for (const KeychainVariant variant : {syncable, device})
                m_keychain->setValue(QStringLiteral("com.ovlan.moorix.secrets"), account, variant, QStringLiteral("x"));
            QVERIFY(m_store->set(value, m_owner, SecretKind::password));
            QCOMPARE(m_keychain->count(), 0);
        }
    }

    void withoutAKeychainASecretIsKeptForThisRunOnly()
    {
        m_keychain->breakVariant(syncable);
        m_keychain->breakVariant(device);
        QVERIFY(!set(QStringLiteral("pw")));
        QCOMPARE(m_store->lastProblem(), QStringLiteral("The keychain is locked."));
        QVERIFY(!found());
        m_store->rememberForThisRun(QStringLiteral("once"), m_owner, SecretKind::password);
        QCOMPARE(found(), std::optional(QStringLiteral("once")));
        QVERIFY(!m_store->remove(m_owner, SecretKind::password));
        QVERIFY(!found());

        m_keychain->mendVariant(syncable);
        m_store->rememberForThisRun(QStringLiteral("once"), m_owner, SecretKind::password);
        QCOMPARE(m_keychain->count(), 0);
        QVERIFY(set(QStringLiteral("stored")));
        QCOMPARE(found(), std::optional(QStringLiteral("stored")));
    }

    void migrationCopiesEveryDeviceOnlySecretOnce()
    {
        const TestTree tree;
        Preferences preferences(tree.path("preferences.json"));
        const std::shared_ptr<KeychainStore> store = std::move(m_store);
        const QString doneKey = QStringLiteral("moorix.secretsMigratedToICloud.v1");
        const QUuid backup = QUuid::createUuid();
        m_keychain->breakVariant(syncable);
        QVERIFY(store->set(QStringLiteral("pp"), m_owner, SecretKind::passphrase));
        QVERIFY(store->set(QStringLiteral("zip"), backup, SecretKind::password));

        const auto migrate = [&] {
            const Job job = migrateSecretsOnce(preferences, store, {m_owner}, {backup});
            // The job holds the store until its outcome is delivered.
            QTRY_COMPARE(store.use_count(), 1);
        };
        migrate();
        QVERIFY(preferences.value(doneKey).isUndefined());

        m_keychain->mendVariant(syncable);
        migrate();
        QCOMPARE(preferences.value(doneKey), QJsonValue(true));
        QCOMPARE(item(syncable, "passphrase"), std::optional(QStringLiteral("pp")));
        QCOMPARE(m_keychain->count(), 4);

        m_keychain->remove(QStringLiteral("com.ovlan.moorix.secrets"),
                           QStringLiteral("A1B2C3D4-0000-4000-8000-00000000ABCD.passphrase"), syncable);
        migrate();
        QCOMPARE(m_keychain->count(), 3);
    }
};

MOORIX_TEST(KeychainStoreTest)
#include "KeychainStoreTest.moc"
