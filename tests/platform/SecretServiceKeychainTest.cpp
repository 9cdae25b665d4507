// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SecretServiceKeychain.h"

#include "support/TestMain.h"

#include <QTest>

using namespace moorix;

/// Needs an unlocked Secret Service on the session bus: run under support/with-keyring.
class SecretServiceKeychainTest : public QObject
{
    Q_OBJECT

    const QString m_service = QStringLiteral("com.ovlan.moorix.test");

private slots:
    void secretsAreStoredFoundReplacedAndRemovedPerVariant()
    {
        SecretServiceKeychain keychain;
        const QString account = QStringLiteral("A.password");
        const auto value = [&](KeychainVariant variant) { return keychain.value(m_service, account, variant); };
        using enum KeychainVariant;
        QVERIFY(!value(synchronizable));
        keychain.setValue(m_service, account, synchronizable, QStringLiteral("old"));
        keychain.setValue(m_service, account, synchronizable, QStringLiteral("Pässwort ✓\nline 2"));
        QCOMPARE(value(synchronizable), std::optional(QStringLiteral("Pässwort ✓\nline 2")));
        QVERIFY(!value(deviceOnly));
        keychain.setValue(m_service, account, deviceOnly, QStringLiteral("device"));
        QVERIFY(!keychain.value(m_service, QStringLiteral("B.password"), deviceOnly));
        keychain.remove(m_service, account, synchronizable);
        keychain.remove(m_service, account, synchronizable);
        QVERIFY(!value(synchronizable));
        QCOMPARE(value(deviceOnly), std::optional(QStringLiteral("device")));
        keychain.remove(m_service, account, deviceOnly);
    }
};

MOORIX_TEST(SecretServiceKeychainTest)
#include "SecretServiceKeychainTest.moc"
