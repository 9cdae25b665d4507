// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/KeychainStore.h"

#include "platform/Preferences.h"
#include "servers/SecretMigration.h"
#include "support/MemoryKeychain.h"
#include "support/TestMain.h"

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

class KeychainStoreTest : public QObject
{
    Q_OBJECT

    static constexpr auto syncable = KeychainVariant::synchronizable;
    static constexpr auto device = KeychainVariant::deviceOnly;
    const QUuid m_owner{u"a1b2c3d4-0000-4000-8000-00000000abcd"_s};
    std::shared_ptr<MemoryKeychain> m_keychain;
    std::unique_ptr<KeychainStore> m_store;

    const QString m_service = u"com.ovlan.moorix.secrets"_s;
    static QString account(const char *kind)
    {
        return u"A1B2C3D4-0000-4000-8000-00000000ABCD."_s + QLatin1String(kind);
    }
    QString item(KeychainVariant variant, const char *kind) const
    {
        return m_keychain->value(m_service, account(kind), variant).value_or(u"none"_s);
    }
    QString found() const { return m_store->get(m_owner, SecretKind::password).value_or(u"none"_s); }
    bool set(const QString &value) const { return m_store->set(value, m_owner, SecretKind::password); }

private slots:
    void init()
    {
        m_keychain = std::make_shared<MemoryKeychain>();
        m_store = std::make_unique<KeychainStore>(m_keychain);
    }

    void secretsAreKeptPerKindUnderTheirAccount()
    {
        QVERIFY(m_store->set(u"pw"_s, m_owner, SecretKind::password));
        QVERIFY(m_store->set(u"pp"_s, m_owner, SecretKind::passphrase));
        QVERIFY(m_store->set(u"key\n"_s, m_owner, SecretKind::privateKey));
        QCOMPARE(item(syncable, "password"), u"pw"_s);
        QCOMPARE(item(syncable, "passphrase"), u"pp"_s);
        QCOMPARE(item(syncable, "privateKey"), u"key\n"_s);
        QVERIFY(!m_store->get(QUuid::createUuid(), SecretKind::password));
    }

    void theDeviceOnlyKeychainStandsInUntilTheOtherWorksAgain()
    {
        m_keychain->setBroken(syncable, true);
        QVERIFY(set(u"old"_s));
        QCOMPARE(found(), u"old"_s);
        m_keychain->setBroken(syncable, false);
        QCOMPARE(item(syncable, "password"), u"none"_s);
        QVERIFY(set(u"new"_s));
        QCOMPARE(item(device, "password"), u"none"_s);
        QVERIFY(m_store->migrateToSyncable({m_owner}, {}));
        QCOMPARE(found(), u"new"_s);
    }

    void anEmptyOrAbsentValueDeletesBothVariants()
    {
        for (const std::optional<QString> &value : {std::optional(QString()), std::optional<QString>()}) {
            for (const KeychainVariant variant : {syncable, device})
                m_keychain->setValue(m_service, account("password"), variant, u"x"_s);
            QVERIFY(m_store->set(value, m_owner, SecretKind::password));
            QCOMPARE(m_keychain->count(), 0);
        }
    }

    void withoutAKeychainASecretIsKeptForThisRunOnly()
    {
        m_keychain->setBroken(syncable, true);
        m_keychain->setBroken(device, true);
        QVERIFY(!set(u"pw"_s));
        QCOMPARE(m_store->lastProblem(), u"The keychain is locked."_s);
        QCOMPARE(found(), u"none"_s);
        m_store->rememberForThisRun(u"once"_s, m_owner, SecretKind::password);
        QCOMPARE(found(), u"once"_s);
        QVERIFY(!m_store->remove(m_owner, SecretKind::password));
        QCOMPARE(found(), u"none"_s);

        m_keychain->setBroken(syncable, false);
        m_store->rememberForThisRun(u"once"_s, m_owner, SecretKind::password);
        QCOMPARE(m_keychain->count(), 0);
        QVERIFY(set(u"stored"_s));
        QCOMPARE(found(), u"stored"_s);
    }

    void migrationCopiesEveryDeviceOnlySecretOnce()
    {
        const TestTree tree;
        Preferences preferences(tree.path("preferences.json"));
        const std::shared_ptr<KeychainStore> store = std::move(m_store);
        const QString doneKey = u"moorix.secretsMigratedToICloud.v1"_s;
        const QUuid backup = QUuid::createUuid();
        m_keychain->setBroken(syncable, true);
        QVERIFY(store->set(u"pp"_s, m_owner, SecretKind::passphrase));
        QVERIFY(store->set(u"zip"_s, backup, SecretKind::password));

        const auto migrate = [&] {
            const Job job = migrateSecretsOnce(preferences, store, {m_owner}, {backup});
            // The job holds the store until its outcome is delivered.
            QTRY_COMPARE(store.use_count(), 1);
        };
        migrate();
        QVERIFY(preferences.value(doneKey).isUndefined());

        m_keychain->setBroken(syncable, false);
        migrate();
        QCOMPARE(preferences.value(doneKey), QJsonValue(true));
        QCOMPARE(item(syncable, "passphrase"), u"pp"_s);
        QCOMPARE(m_keychain->count(), 4);

        m_keychain->remove(m_service, account("passphrase"), syncable);
        migrate();
        QCOMPARE(m_keychain->count(), 3);
    }
};

MOORIX_TEST(KeychainStoreTest)
#include "KeychainStoreTest.moc"
