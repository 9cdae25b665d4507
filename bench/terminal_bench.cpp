// SPDX-License-Identifier: GPL-3.0-or-later
// How fast programs' output is interpreted and kept, without a window, and what 100,000 lines of it take.
#include "Paired.h"

#include "terminal/TerminalEmulator.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <random>
#include <stdexcept>

#include <malloc.h>
#include <unistd.h>

using namespace moorix;

namespace {

constexpr qsizetype payloadBytes = 20'000'000;
constexpr qsizetype piece = 64 * 1024;
constexpr TerminalSize size{40, 120};

enum Payload { ascii, unicode, colourful, shortLines };

/// Numbers that are the same everywhere, which the distributions of the standard library are not.
class Dice final
{
public:
    int roll(int from, int to) { return from + int(m_random() % unsigned(to - from + 1)); }
    template <class List>
    const auto &pick(const List &list)
    {
        return list[std::size_t(roll(0, int(std::size(list)) - 1))];
    }

private:
    std::mt19937 m_random{7};
};

QByteArray asciiLine(Dice &dice)
{
    static const char *const words[] = {"the",   "quick", "brown", "fox",     "jumps", "over", "lazy",
                                        "while", "files", "are",   "servers", "copy",  "two",  "panes"};
    QByteArray line;
    while (line.size() < 115)
        line += QByteArray(dice.pick(words)) + ' ';
    return line.first(dice.roll(60, 115));
}

QByteArray unicodeLine(Dice &dice)
{
    static const std::u16string letters = u"äöüßéèêαβγδЖЗИК漢字仮名한국어…—“”✓÷≤≥      abcdefgh";
    QString line;
    for (int left = dice.roll(30, 70); left > 0; --left)
        line += dice.roll(0, 20) == 0 ? QStringLiteral("🚀") : QString(QChar(dice.pick(letters)));
    return line.toUtf8();
}

QByteArray colour(Dice &dice)
{
    const auto number = [&](int from, int to) { return QByteArray::number(dice.roll(from, to)); };
    switch (dice.roll(0, 3)) {
    case 0:
        return number(30, 37) + ";1";
    case 1:
        return "38;5;" + number(0, 255);
    case 2:
        return "38;2;" + number(0, 255) + ';' + number(0, 255) + ';' + number(0, 255) + ";48;5;" + number(16, 255);
    default:
        return "0;4";
    }
}

QByteArray colourfulLine(Dice &dice)
{
    QByteArray line;
    for (int run = 0; run < 20; ++run) {
        line += "\x1b[" + colour(dice) + 'm';
        for (int left = dice.roll(1, 6); left > 0; --left)
            line += dice.pick("abcdefghij");
    }
    line.replace('\0', ' ');
    return line + "\x1b[0m";
}

QByteArray shortLine(Dice &dice)
{
    static const char *const answers[] = {"y", "n", "ok", "12", ""};
    return dice.pick(answers);
}

QByteArray payload(Payload kind, qsizetype bytes)
{
    static constexpr QByteArray (*makers[])(Dice &){asciiLine, unicodeLine, colourfulLine, shortLine};
    Dice dice;
    QByteArray all;
    all.reserve(bytes + 1000);
    while (all.size() < bytes)
        all += makers[kind](dice) + "\r\n";
    return all;
}

void feed(TerminalEmulator &emulator, const QByteArray &bytes)
{
    for (qsizetype at = 0; at < bytes.size(); at += piece)
        emulator.feed(QByteArrayView(bytes).sliced(at, std::min(piece, bytes.size() - at)));
}

/// Processor time: other programs must not change the figure.
double processorSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

double residentMegabytes()
{
    long total = 0;
    long resident = 0;
    std::FILE *file = std::fopen("/proc/self/statm", "r");
    if (!file || std::fscanf(file, "%ld %ld", &total, &resident) != 2)
        throw std::runtime_error("The program's memory cannot be read.");
    std::fclose(file);
    return double(resident) * double(sysconf(_SC_PAGESIZE)) / 1e6;
}

/// 100,000 full lines of 120 columns.
QByteArray fullScrollback()
{
    Dice dice;
    QByteArray all;
    for (int line = 0; line < 100'000; ++line) {
        QByteArray text = asciiLine(dice) + "     ";
        for (int run = 4; run > 0; --run)
            text.insert(run * 12, "\x1b[" + colour(dice) + 'm');
        all += text + "\x1b[0m\r\n";
    }
    return all;
}

void memory(benchmark::State &state)
{
    const QByteArray bytes = fullScrollback();
    for (auto iteration : state) {
        malloc_trim(0);
        const double before = residentMegabytes();
        TerminalEmulator emulator(size);
        feed(emulator, bytes);
        const double grown = residentMegabytes() - before;
        if (emulator.endLine() - emulator.firstLine() < 100'000)
            throw std::runtime_error("Lines are missing.");
        state.SetIterationTime(1);
        state.counters["grown_MB"] = grown;
        state.counters["limit"] = 100;
        state.counters["ok"] = grown <= 100 ? 1 : 0;
    }
}
BENCHMARK(memory)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);

/// The median rate beside the least there must be.
void interpret(benchmark::State &state, Payload kind, double leastMegabytes)
{
    const QByteArray bytes = payload(kind, payloadBytes);
    std::vector<double> rates;
    for (auto iteration : state) {
        TerminalEmulator emulator(size);
        const double start = processorSeconds();
        feed(emulator, bytes);
        const double seconds = processorSeconds() - start;
        state.SetIterationTime(seconds);
        rates.push_back(double(bytes.size()) / 1e6 / seconds);
        if (emulator.endLine() < 1000)
            throw std::runtime_error("Lines are missing.");
    }
    std::nth_element(rates.begin(), rates.begin() + std::ptrdiff_t(rates.size() / 2), rates.end());
    state.counters["MB_per_s"] = rates[rates.size() / 2];
    state.counters["least"] = leastMegabytes;
    state.counters["ok"] = rates[rates.size() / 2] >= leastMegabytes ? 1 : 0;
}
BENCHMARK_CAPTURE(interpret, ascii, ascii, 50)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK_CAPTURE(interpret, unicode, unicode, 45)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK_CAPTURE(interpret, colourful, colourful, 70)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK_CAPTURE(interpret, shortLines, shortLines, 35)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

void rewrap(benchmark::State &state)
{
    TerminalEmulator emulator(size);
    feed(emulator, fullScrollback());
    int columns = size.columns;
    bench::limited(
        state, [&] { columns = columns == 120 ? 53 : 120; },
        [&] {
            emulator.resize({size.rows, columns});
        },
        100);
}
BENCHMARK(rewrap)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

void searchForNothing(benchmark::State &state)
{
    TerminalEmulator emulator(size);
    feed(emulator, fullScrollback());
    bench::limited(
        state, [] {},
        [&] {
            if (emulator.findBackward(QStringLiteral("Zebra"), {emulator.endLine(), 0}, Qt::CaseInsensitive))
                throw std::runtime_error("Found what is not there.");
        },
        100);
}
BENCHMARK(searchForNothing)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    try {
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception &error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
