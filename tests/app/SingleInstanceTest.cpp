// SPDX-License-Identifier: GPL-3.0-or-later
#include "ProgramHome.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalSocket>

#include <csignal>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// A window of the program itself, ended with the object.
struct OpenWindow
{
    explicit OpenWindow(const ProgramHome &home)
        : m_home(home)
    {
        home.start(process, {});
        if (!QTest::qWaitFor([this] { return listens(); }, 20000))
            qFatal("moorix did not open its window.");
    }
    ~OpenWindow() { quit(); }

    void quit()
    {
        if (process.state() == QProcess::NotRunning)
            return;
        process.terminate();
        process.waitForFinished(10000);
    }
    QString socket() const { return own(u"moorix-*.socket"_s); }
    /// Whether it is this very process that can be spoken to.
    bool listens() const
    {
        QLocalSocket caller;
        if (contentOf(own(u"moorix-*.lock"_s)) == QByteArray::number(process.processId()))
            caller.connectToServer(socket());
        return caller.waitForConnected(100);
    }
    /// The local folders of a side's tabs, as they are remembered when the window has closed.
    QStringList tabs()
    {
        quit();
        const QJsonDocument preferences = QJsonDocument::fromJson(m_home.tree.read("config/Moorix/preferences.json"));
        QStringList paths;
        for (const char *side : {"window.leftTabs", "window.rightTabs"}) {
            for (const QJsonValue &tab : preferences[QLatin1String(side)].toArray())
                paths += tab.toString();
        }
        return paths;
    }

    QProcess process;

private:
    QString own(const QString &pattern) const
    {
        const QStringList names = QDir(m_home.tree.path()).entryList({pattern}, QDir::Files | QDir::System);
        return names.isEmpty() ? QString() : m_home.tree.path(names.constFirst());
    }

    const ProgramHome &m_home;
};

/// What a window answers to these bytes; empty when it hangs up.
QByteArray answerTo(const QString &path, const QByteArray &bytes)
{
    QLocalSocket socket;
    socket.connectToServer(path);
    if (!socket.waitForConnected(5000))
        return "no connection";
    socket.write(bytes);
    QByteArray answer;
    while (socket.waitForReadyRead(10000))
        answer += socket.readAll();
    return answer;
}

} // namespace

/// Several starts of the program in one home, each a process of its own.
class SingleInstanceTest final : public QObject
{
    Q_OBJECT

private slots:
    void secondStartOpensItsFoldersInTheFirstWindow()
    {
        ProgramHome home;
        home.tree.write("home/here/", {});
        home.tree.write("home/a:b/", {});
        OpenWindow window(home);
        QCOMPARE(QFileInfo(window.socket()).permissions() & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteOther),
                 QFile::Permissions());
        home.run({u"here"_s, u"./a:b"_s, home.tree.path()});
        QVERIFY2(home.code == 0, qPrintable(home.err));
        home.run({});
        QCOMPARE(home.code, 0);
        // Commands are no windows.
        home.run({u"ls"_s, u"."_s});
        QCOMPARE(home.code, 0);
        const QStringList tabs = window.tabs();
        for (const QString &path : {home.tree.path("home/here"), home.tree.path("home/a:b"), home.tree.path()})
            QVERIFY2(tabs.contains(path), qPrintable(tabs.join(u' ')));
    }

    void windowOfAnotherHomeIsLeftAlone()
    {
        ProgramHome one;
        OpenWindow window(one);
        ProgramHome two;
        OpenWindow other(two);
        QCOMPARE(window.process.state(), QProcess::Running);
        QCOMPARE(other.process.state(), QProcess::Running);
    }

    void windowTakesTheNameOfOneThatWasKilled()
    {
        ProgramHome home;
        OpenWindow killed(home);
        ::kill(pid_t(killed.process.processId()), SIGKILL);
        QVERIFY(killed.process.waitForFinished(10000));
        QVERIFY(!killed.socket().isEmpty());
        OpenWindow window(home);
        home.run({});
        QCOMPARE(home.code, 0);
        QCOMPARE(window.process.state(), QProcess::Running);
    }

    void windowThatDoesNotAnswerIsNamedAndNothingIsOpened()
    {
        ProgramHome home;
        home.tree.write("home/late/", {});
        OpenWindow window(home);
        home.run({});
        QCOMPARE(home.code, 0);
        ::kill(pid_t(window.process.processId()), SIGSTOP);
        home.run({u"late"_s});
        ::kill(pid_t(window.process.processId()), SIGCONT);
        QCOMPARE(home.code, 1);
        QVERIFY2(home.err.contains(u"process %1) but does not answer"_s.arg(window.process.processId())),
                 qPrintable(home.err));
        // Nor is it when the window is awake again.
        home.run({});
        QCOMPARE(home.code, 0);
        QVERIFY(!window.tabs().contains(home.tree.path("home/late")));
    }

    void windowThatCannotListenTellsFurtherStartsWhy()
    {
        ProgramHome home;
        QString socket;
        {
            OpenWindow window(home);
            socket = window.socket();
        }
        // One that was ended early leaves it. A folder that is not empty cannot be replaced by a socket.
        QFile::remove(socket);
        QVERIFY(QDir().mkpath(socket + u"/in the way"_s));
        QProcess process;
        home.start(process, {});
        const QString lock = QString(socket).replace(u".socket"_s, u".lock"_s);
        QTRY_VERIFY_WITH_TIMEOUT(contentOf(lock).startsWith(QByteArray::number(process.processId()) + '\n'), 20000);
        home.run({});
        process.terminate();
        QVERIFY2(home.code == 1 &&
                     home.err.contains(u"could not set up where it hears of further starts: “%1” could not be made: Is "
                                       "a directory."_s.arg(socket)),
                 qPrintable(home.err));
        QVERIFY(process.waitForFinished(10000));
    }

    void wordsThatAreNoneOfOursAreTurnedAway()
    {
        ProgramHome home;
        OpenWindow window(home);
        const QString path = window.socket();
        QVERIFY(answerTo(path, "{\"moorix\":2,\"targets\":[]}\n").contains("\"accepted\":false"));
        QVERIFY(answerTo(path, "{\"moorix\":1,\"targets\":[1]}\n").contains("\"accepted\":false"));
        QVERIFY(answerTo(path, "GET / HTTP/1.1\r\n").contains("\"accepted\":false"));
        QCOMPARE(answerTo(path, QByteArray(400 * 1024, 'x')), QByteArray());
        QVERIFY(answerTo(path, "{\"moorix\":1,\"targets\":[]}\n").contains("\"accepted\":true"));
        QCOMPARE(window.process.state(), QProcess::Running);
    }

    void importOfSettingsBesideAWindowIsRefused()
    {
        ProgramHome home;
        home.run({u"config"_s, u"export"_s, home.tree.path("config.json")});
        QByteArray file = home.tree.read("config.json");
        home.tree.write("config.json", file.replace("\"midnight\"", "\"paper\""));
        {
            OpenWindow window(home);
            home.run({u"config"_s, u"import"_s, home.tree.path("config.json")});
            QVERIFY2(home.code == 1 && home.err.contains(u"window is open"_s), qPrintable(home.err));
            home.run({u"servers"_s, u"import"_s, home.tree.path("config.json")});
            QCOMPARE(home.code, 0);
        }
        home.run({u"config"_s, u"import"_s, home.tree.path("config.json")});
        QVERIFY2(home.code == 0 && home.out.contains(u"1 changed"_s), qPrintable(home.out + home.err));
    }
};

MOORIX_TEST(SingleInstanceTest)
#include "SingleInstanceTest.moc"
