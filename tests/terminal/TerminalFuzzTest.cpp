// SPDX-License-Identifier: GPL-3.0-or-later
#include "Played.h"
#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace moorix::test;

/// Programs and servers send what they like: nothing of it crashes, hangs or leaves a broken screen.
class TerminalFuzzTest final : public QObject
{
    Q_OBJECT

    /// MOORIX_FUZZ_ROUNDS asks for so many, and for others each time.
    const std::optional<int> m_asked = [] {
        bool isNumber = false;
        const int rounds = qEnvironmentVariableIntValue("MOORIX_FUZZ_ROUNDS", &isNumber);
        return isNumber ? std::optional(rounds) : std::nullopt;
    }();
    std::mt19937 source(unsigned seed) const { return std::mt19937(m_asked ? std::random_device()() : seed); }

    static QByteArray told(const QByteArray &bytes, TerminalSize size)
    {
        return QByteArray::number(size.rows) + " x " + QByteArray::number(size.columns) + ": " +
               bytes.toPercentEncoding();
    }

private slots:
    void piecesMakeNoDifference();
    void whatIsLaidDownIsWhatTheLibraryMakesOfIt();
    void survivesWhateverComes();
};

void TerminalFuzzTest::piecesMakeNoDifference()
{
    std::mt19937 random = source(20);
    for (int round = 0; round < m_asked.value_or(300); ++round) {
        const QByteArray bytes = hostileBytes(random, 40);
        const TerminalSize size{int(random() % 5) + 1, int(random() % 30) + 2};
        const auto whole = played(bytes, size);
        QVERIFY2(fault(*whole).isEmpty(), qPrintable(fault(*whole)));
        for (const qsizetype chunk : {1, 2, 3, 7, 31}) {
            const auto cut = played(bytes, size, chunk);
            QVERIFY2(sameContent(*whole, *cut), told(bytes, size).constData());
        }
    }
}

/// Where positions count from the scroll region, libvterm places every character itself; with a region as large as the
/// screen that must look the same.
void TerminalFuzzTest::whatIsLaidDownIsWhatTheLibraryMakesOfIt()
{
    static const QByteArrayList known{
        "\r\n",        "\n",      "\r",       "\b",       "\t",        "ab",          "x",        "漢字",
        "é",           "e\u0301", "👩\u200D💻", "\u2028",   "some text", "\x1b[44m",    "\x1b[m",   "\x1b[2;5H",
        "\x1b[99C",    "\x1b[K",  "\x1b[1J",  "\x1b[L",   "\x1b[M",    "\x1b[3@",     "\x1b[2P",  "\x1b[S",
        "\x1bM",       "\x1b[A",  "\x1b[3b",  "\x1b[20h", "\x1b[20l",  "\x1b[?1049h", "\x1b[?7l", "\x1b[?7h",
        "\x1b[?1049l", "\v",      "\x1b\x37", "\x1b\x38", "\x1b#6",    "\x1b#3",      "\x1b#5"};
    std::mt19937 random = source(11);
    for (int round = 0; round < m_asked.value_or(2000); ++round) {
        QByteArray bytes;
        for (int part = 0; part < 30; ++part)
            bytes += known[qsizetype(random() % std::size_t(known.size()))];
        const TerminalSize size{int(random() % 5) + 1, int(random() % 30) + 2};
        const auto ours = played(bytes, size);
        const auto theirs = played("\x1b[?6h" + bytes, size);
        QVERIFY2(sameContent(*ours, *theirs), told(bytes, size).constData());
    }
}

void TerminalFuzzTest::survivesWhateverComes()
{
    std::mt19937 random = source(7);
    for (int round = 0; round < m_asked.value_or(60); ++round) {
        TerminalEmulator emulator({int(random() % 8) + 1, int(random() % 40) + 2});
        emulator.setScrollbackLimit(int(random() % 60));
        for (int step = 0; step < 20; ++step) {
            emulator.feed(hostileBytes(random, 30));
            if (random() % 3 == 0)
                emulator.resize({int(random() % 12), int(random() % 60)});
            if (random() % 40 == 0)
                emulator.reset();
            const QString broken = fault(emulator);
            QVERIFY2(broken.isEmpty(), qPrintable(broken));
            const TerminalPoint place{emulator.firstLine() + qint64(random() % 70), int(random() % 60)};
            emulator.wordAt(place);
            emulator.text(emulator.lineAt(place));
            emulator.text(TerminalRange{place, {place.line + 3, 2}, random() % 2 == 0});
            emulator.findBackward(QStringLiteral("xt"), place, Qt::CaseInsensitive);
            emulator.findForward(QStringLiteral("字"), place, Qt::CaseSensitive);
            emulator.promptAbove(place.line);
            emulator.promptBelow(place.line);
        }
    }
}

MOORIX_TEST(TerminalFuzzTest)
#include "TerminalFuzzTest.moc"
