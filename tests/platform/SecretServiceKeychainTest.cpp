// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SecretServiceKeychain.h"

#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;

/// Needs an unlocked Secret Service on the session bus: run under support/with-keyring.
class SecretServiceKeychainTest : public QObject
{
    Q_OBJECT

    const QString m_service = u"com.ovlan.moorix.test"_s;

private slots:
    void secretsAreStoredFoundReplacedAndRemovedPerVariant()
    {
        SecretServiceKeychain keychain;
        const QString account = u"A.password"_s;
        const auto value = [&](KeychainVariant variant) { return keychain.value(m_service, account, variant); };
        using enum KeychainVariant;
        QVERIFY(!value(synchronizable));
        keychain.setValue(m_service, account, synchronizable, u"old"_s);
        keychain.setValue(m_service, account, synchronizable, u"Pässwort ✓\nline 2"_s);
        QCOMPARE(value(synchronizable), std::optional(u"Pässwort ✓\nline 2"_s));
        QVERIFY(!value(deviceOnly));
        keychain.setValue(m_service, account, deviceOnly, u"device"_s);
        QVERIFY(!keychain.value(m_service, u"B.password"_s, deviceOnly));
        keychain.remove(m_service, account, synchronizable);
        keychain.remove(m_service, account, synchronizable);
        QVERIFY(!value(synchronizable));
        QCOMPARE(value(deviceOnly), std::optional(u"device"_s));
        keychain.remove(m_service, account, deviceOnly);
    }
};

MOORIX_TEST(SecretServiceKeychainTest)
#include "SecretServiceKeychainTest.moc"
