// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/CpuTimes.h"

#include "monitor/ProcText.h"

namespace moorix {

namespace {

enum Counter { user, nice, system, idle, iowait, irq, softirq, steal };

} // namespace

QList<CpuTimes> CpuTimes::parse(QByteArrayView content)
{
    QList<CpuTimes> all;
    while (!content.isEmpty()) {
        QByteArrayView line = procText::takeLine(content);
        if (!line.startsWith("cpu"))
            continue;
        const QByteArrayView name = procText::takeWord(line).sliced(3);
        CpuTimes times;
        if (!name.isEmpty())
            times.number = int(std::min<quint64>(procText::unsignedNumber(name), 1'000'000));
        int read = 0;
        for (quint64 &counter : times.ticks) {
            const QByteArrayView word = procText::takeWord(line);
            read += !word.isEmpty();
            counter = procText::unsignedNumber(word);
        }
        if (read > idle)
            all << times;
    }
    return all;
}

std::optional<CpuUse> CpuTimes::since(const CpuTimes &before) const
{
    std::array<double, 8> moved = {};
    double total = 0;
    for (std::size_t i = 0; i < ticks.size(); ++i) {
        moved[i] = ticks[i] > before.ticks[i] ? double(ticks[i] - before.ticks[i]) : 0;
        total += moved[i];
    }
    if (total <= 0)
        return std::nullopt;
    const double percent = 100.0 / total;
    return CpuUse{percent * (moved[user] + moved[nice]), percent * (moved[system] + moved[irq] + moved[softirq]),
                  percent * moved[iowait], percent * moved[steal]};
}

} // namespace moorix
