// SPDX-License-Identifier: GPL-3.0-or-later
// How fast programs' output is interpreted and kept, without a window, and what 100,000 lines of it take.
#include "Paired.h"
#include "TerminalPayloads.h"

#include "terminal/TerminalEmulator.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <stdexcept>

#include <malloc.h>
#include <unistd.h>

using namespace moorix;

namespace {

constexpr qsizetype piece = 64 * 1024;
constexpr TerminalSize size{40, 120};

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

void memory(benchmark::State &state)
{
    const QByteArray bytes = TerminalPayloads::fullScrollback();
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
void interpret(benchmark::State &state, TerminalPayloads::Kind kind, double leastMegabytes)
{
    const QByteArray bytes = TerminalPayloads::make(kind);
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
BENCHMARK_CAPTURE(interpret, ascii, TerminalPayloads::Kind::ascii, 50)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
BENCHMARK_CAPTURE(interpret, unicode, TerminalPayloads::Kind::unicode, 45)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
BENCHMARK_CAPTURE(interpret, colourful, TerminalPayloads::Kind::colourful, 70)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
BENCHMARK_CAPTURE(interpret, shortLines, TerminalPayloads::Kind::shortLines, 35)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

void rewrap(benchmark::State &state)
{
    TerminalEmulator emulator(size);
    feed(emulator, TerminalPayloads::fullScrollback());
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
    feed(emulator, TerminalPayloads::fullScrollback());
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
