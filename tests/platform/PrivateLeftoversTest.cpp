// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PrivateLeftovers.h"

#include "platform/PrivateFile.h"
#include "platform/PrivateFolder.h"
#include "support/TestMain.h"

#include <array>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using namespace moorix;
using namespace Qt::StringLiterals;
using moorix::test::TestTree;

namespace {

/// A program of this user that has private files, one of them given up, and does nothing more.
pid_t startProgram()
{
    std::array<int, 2> ready{};
    if (::pipe(ready.data()) != 0)
        return -1;
    const pid_t id = ::fork();
    if (id == 0) {
        const PrivateFile secret(u"moorix-pw-"_s, "secret");
        const PrivateFile script(u"moorix-ask-"_s, "#!/bin/sh\n", u".sh"_s);
        const QString key = PrivateFile(u"moorix-key-"_s, "key").release();
        const PrivateFolder folder(u"moorix-copy-"_s);
        test::putFile(folder.path() + u"/copy"_s, "data");
        const bool isTold = ::write(ready[1], "r", 1) == 1;
        while (isTold)
            ::pause();
        ::_exit(1);
    }
    char byte = 0;
    const bool isReady = ::read(ready[0], &byte, 1) == 1;
    ::close(ready[0]);
    ::close(ready[1]);
    return isReady ? id : -1;
}

} // namespace

class PrivateLeftoversTest final : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { qunsetenv("TMPDIR"); }

    void onlyWhatKilledProgramsLeftGoes()
    {
        const TestTree elsewhere{{"precious", "kept"}};
        const QString uuid = u"0B5D3C7E-2F4A-4C1B-9A53-6C0F8E7D1A22"_s;
        // Names that are near to ours, and links of that name.
        TestTree temporary{{"moorix-notes.txt", "x"},
                           {QString(u"moorix-"_s + uuid + u".bak"_s), "x"},
                           {"moorix-login-0B5D3C7E", "x"},
                           {QString(u"other-"_s + uuid), "x"}};
        temporary.link(QString(u"moorix-key-"_s + uuid), elsewhere.path("precious"));
        temporary.link(QString(u"moorix-copy-"_s + uuid), elsewhere.path());
        qputenv("TMPDIR", QFile::encodeName(temporary.path()));
        const auto others = temporary.snapshot();

        const pid_t dead = startProgram();
        QVERIFY(dead > 0);
        const pid_t living = startProgram();
        QVERIFY(living > 0);
        QCOMPARE(temporary.snapshot().size(), others.size() + 2 * 5);
        QCOMPARE(PrivateLeftovers::remove(), 0);

        ::kill(dead, SIGKILL);
        ::waitpid(dead, nullptr, 0);
        QCOMPARE(PrivateLeftovers::remove(), 4);
        QCOMPARE(temporary.snapshot().size(), others.size() + 5);
        ::kill(living, SIGKILL);
        ::waitpid(living, nullptr, 0);
        QCOMPARE(PrivateLeftovers::remove(), 4);
        QCOMPARE(temporary.snapshot(), others);
        QCOMPARE(elsewhere.read("precious"), "kept");
    }

    void whatWasGivenUpIsKeptUntilItIsRemoved()
    {
        const TestTree temporary;
        qputenv("TMPDIR", QFile::encodeName(temporary.path()));
        const QString key = PrivateFile(u"moorix-key-"_s, "key").release();
        QCOMPARE(PrivateLeftovers::remove(), 0);
        QCOMPARE(test::contentOf(key), "key");
        PrivateFile::removeReleased(key);
        QVERIFY(temporary.snapshot().isEmpty());
    }
};

MOORIX_TEST(PrivateLeftoversTest)
#include "PrivateLeftoversTest.moc"
