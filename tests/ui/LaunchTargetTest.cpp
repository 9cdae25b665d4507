// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/LaunchTarget.h"
#include "files/NativePath.h"
#include "support/TestMain.h"

#include <QDir>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// What desktops and users name on the command line of the window.
class LaunchTargetTest final : public QObject
{
    Q_OBJECT

    QList<ServerConnection> m_servers{serverAt(u"web.example"_s, u"deploy"_s), serverAt(u"twin.example"_s, u"ada"_s),
                                      serverAt(u"twin.example"_s, u"bob"_s)};

private slots:
    void namesAndUrlsOfThisComputerBecomePaths()
    {
        const std::pair<QString, QString> rows[] = {
            {u"sub/../a b"_s, QDir::currentPath() + u"/a b"_s},
            {u"/srv/x:y"_s, u"/srv/x:y"_s},
            {u"file:///srv/a%20b%23%3Fc"_s, u"/srv/a b#?c"_s},
            {u"FILE://localhost/srv/"_s, u"/srv"_s},
            {u"file:/srv"_s, u"/srv"_s},
            {u"file:///srv/%FF"_s, NativePath::text("/srv/\xFF")},
        };
        for (const auto &[text, path] : rows)
            QCOMPARE(launchTarget(text, m_servers).path, std::optional(path));
        for (const QString &text : {u"file://elsewhere.example/srv"_s, u"file:///srv/a%00b"_s, u"nobody:/srv"_s})
            QVERIFY2(launchTarget(text, m_servers).problem.contains(text.section(u':', 0, 0)), qPrintable(text));
    }

    void urlMeansTheOneSavedServerThatFitsAndElseIsOnlyOffered()
    {
        QCOMPARE(launchTarget(u"sftp://WEB.example/var/a%20b"_s, m_servers),
                 (LaunchTarget{m_servers[0], u"/var/a b"_s, {}, {}}));
        QCOMPARE(launchTarget(u"ssh://bob@twin.example"_s, m_servers), (LaunchTarget{m_servers[2], {}, {}, {}}));
        QCOMPARE(launchTarget(u"web.example:"_s, m_servers), (LaunchTarget{m_servers[0], {}, {}, {}}));
        for (const QString &text : {u"sftp://twin.example/"_s, u"sftp://eve@web.example/"_s, u"ftp://web.example/"_s,
                                    u"sftp://web.example:2222/"_s})
            QCOMPARE(launchTarget(text, m_servers), (LaunchTarget{{}, {}, text, {}}));
        QVERIFY(!launchTarget(u"sftp://-oProxyCommand=x/"_s, m_servers).problem.isEmpty());
        QVERIFY(!launchTarget(u"https://web.example/"_s, m_servers).problem.isEmpty());
    }
};

MOORIX_TEST(LaunchTargetTest)
#include "LaunchTargetTest.moc"
