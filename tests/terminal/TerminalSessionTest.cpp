// SPDX-License-Identifier: GPL-3.0-or-later
#include "Played.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Sessions of vttest against what xterm showed of them; tests/data/terminal/README.md tells how they are kept.
class TerminalSessionTest final : public QObject
{
    Q_OBJECT

    /// As xterm prints it: blanks wherever nothing was written, none at the ends.
    static QStringList printed(const TerminalEmulator &emulator)
    {
        QStringList lines;
        for (qint64 number = emulator.screenLine(); number < emulator.endLine(); ++number) {
            QString line;
            for (const TerminalCell &cell : emulator.line(number)) {
                if (cell.width > 0)
                    line += cell.character == 0 ? u" "_s : emulator.text(cell);
            }
            while (line.endsWith(u' '))
                line.chop(1);
            lines << line;
        }
        while (!lines.isEmpty() && lines.last().isEmpty())
            lines.removeLast();
        return lines;
    }

private slots:
    void showsWhatXtermShows_data()
    {
        QTest::addColumn<QString>("session");
        for (const auto *name : {"movements", "regions", "sizes", "edits"})
            QTest::newRow(name) << QStringLiteral(MOORIX_TEST_DATA "/terminal/") + QString::fromLatin1(name);
    }

    void showsWhatXtermShows()
    {
        QFETCH(QString, session);
        const QByteArray bytes = contentOf(session + u".bin"_s);
        const QStringList screens =
            QString::fromUtf8(contentOf(session + u".txt"_s)).split(u"@ "_s, Qt::SkipEmptyParts);
        QVERIFY(screens.size() > 3);
        TerminalEmulator emulator;
        qsizetype at = 0;
        for (const QString &screen : screens) {
            QStringList expected = screen.chopped(1).split(u'\n');
            const qsizetype end = expected.takeFirst().toLongLong();
            emulator.feed(QByteArrayView(bytes).sliced(at, end - at));
            at = end;
            QVERIFY2(printed(emulator) == expected,
                     qPrintable(u"after %1 bytes:\n"_s.arg(end) + printed(emulator).join(u'\n')));
            QCOMPARE(fault(emulator), QString());
        }
    }
};

MOORIX_TEST(TerminalSessionTest)
#include "TerminalSessionTest.moc"
