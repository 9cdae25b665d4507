// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/PTYReader.h"

#include "platform/PseudoTerminal.h"
#include "platform/TerminalProcess.h"
#include "support/TestMain.h"

#include <QElapsedTimer>

#include <poll.h>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

/// A shell on a terminal of its own that nobody but a reader reads.
struct Program
{
    PseudoTerminal terminal{24, 80};
    std::unique_ptr<TerminalProcess> process;

    explicit Program(const QString &script)
    {
        const TerminalLaunch launch{u"/bin/sh"_s, {u"-c"_s, script}, {u"PATH=/usr/bin:/bin"_s}, {}, u"/"_s};
        process = std::make_unique<TerminalProcess>(launch, terminal);
        terminal.closeProgramEnd();
    }
};

bool isReadable(const PTYReader &reader)
{
    pollfd descriptor{reader.descriptor(), POLLIN, 0};
    return ::poll(&descriptor, 1, 0) == 1;
}

} // namespace

class PTYReaderTest : public QObject
{
    Q_OBJECT

private slots:
    void whateverIsTakenLateComesWholeAndIsNeverMuch()
    {
        Program program(u"stty raw; seq 1 300000"_s);
        PTYReader reader(program.terminal);
        QByteArray all;
        std::vector<char> bytes;
        std::size_t most = 0;
        while (!reader.hasEnded()) {
            QTRY_VERIFY(isReadable(reader));
            // Long enough for everything to come, would it.
            QTest::qWait(20);
            reader.take(bytes);
            most = std::max(most, bytes.size());
            all.append(bytes.data(), qsizetype(bytes.size()));
        }
        QVERIFY2(most > 100'000 && most <= 320 * 1024, qPrintable(QString::number(most)));
        QVERIFY(!isReadable(reader));
        const QByteArrayList lines = all.split('\n');
        QCOMPARE(lines.size(), 300'001);
        for (qsizetype line = 0; line < 300'000; ++line)
            QCOMPARE(lines[line].toLongLong(), line + 1);
    }

    void readerThatGoesWaitsForNoProgram()
    {
        for (const QString &script : {u"sleep 100"_s, u"yes"_s}) {
            Program program(script);
            auto reader = std::make_unique<PTYReader>(program.terminal);
            if (script == "yes"_L1)
                QTRY_VERIFY(isReadable(*reader));
            QElapsedTimer clock;
            clock.start();
            reader.reset();
            QVERIFY(clock.elapsed() < 2000);
        }
    }
};

MOORIX_TEST(PTYReaderTest)

#include "PTYReaderTest.moc"
