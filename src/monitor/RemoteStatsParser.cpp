// SPDX-License-Identifier: GPL-3.0-or-later
// RemoteStatsMonitor::parse.
#include "monitor/RemoteStatsMonitor.h"

#include <QHash>
#include <QStringList>

#include <cmath>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype mostProcesses = 8;
/// Longer texts are nothing that a machine is called.
constexpr qsizetype longestText = 512;

using Sections = QHash<QString, QStringList>;

QStringView withoutBlanks(QStringView line)
{
    const auto isBlank = [](QChar c) { return c == u' ' || c == u'\t'; };
    while (!line.isEmpty() && isBlank(line.front()))
        line = line.sliced(1);
    while (!line.isEmpty() && isBlank(line.back()))
        line.chop(1);
    return line;
}

Sections sectionsOf(const QString &output)
{
    Sections sections;
    QStringList *open = nullptr;
    for (const QStringView raw : QStringView(output).split(u'\n')) {
        const QStringView line = withoutBlanks(raw);
        if (line.startsWith(u"@@"_s) && line.endsWith(u"@@"_s)) {
            open = &sections[line.toString()];
            open->clear();
        } else if (open) {
            *open << line.toString();
        }
    }
    return sections;
}

QStringList pieces(const QString &line)
{
    return line.split(u' ', Qt::SkipEmptyParts);
}

std::optional<qint64> integer(const QString &text)
{
    bool isRead = false;
    const qint64 value = text.toLongLong(&isRead);
    return isRead ? std::optional(value) : std::nullopt;
}

std::optional<double> number(const QString &text)
{
    bool isRead = false;
    const double value = text.toDouble(&isRead);
    return isRead && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

QList<double> loadOf(const QString &line)
{
    const QString words = u"load average"_s;
    const qsizetype at = line.lastIndexOf(words);
    QStringList candidates;
    if (at >= 0) {
        QString rest = line.mid(at + words.size());
        rest.replace(u':', u' ').replace(u',', u' ');
        candidates = pieces(rest);
    } else {
        candidates = pieces(line).mid(0, 3);
    }
    QList<double> found;
    for (const QString &candidate : candidates) {
        if (const auto value = number(candidate))
            found << *value;
    }
    return found.size() >= 3 ? found.first(3) : QList<double>();
}

std::optional<qint64> kb(const QStringList &lines, const QString &key)
{
    for (const QString &line : lines) {
        if (!line.startsWith(key))
            continue;
        for (const QString &piece : pieces(line)) {
            if (const auto value = integer(piece))
                return value;
        }
        return std::nullopt;
    }
    return std::nullopt;
}

void readMemory(const QStringList &lines, RemoteStats &stats)
{
    stats.memTotalKB = kb(lines, u"MemTotal"_s);
    const auto available = kb(lines, u"MemAvailable"_s);
    qint64 used = 0;
    if (stats.memTotalKB && available && !__builtin_sub_overflow(*stats.memTotalKB, *available, &used))
        stats.memUsedKB = used;
}

void readDisk(const QString &line, RemoteStats &stats)
{
    const QStringList columns = pieces(line);
    if (columns.size() > 3) {
        stats.diskTotalKB = integer(columns.at(1));
        stats.diskUsedKB = integer(columns.at(2));
    }
}

QList<ProcInfo> processesOf(const QStringList &lines)
{
    QList<ProcInfo> processes;
    for (const QString &line : lines) {
        const QStringList columns = pieces(line);
        if (columns.size() < 4 || processes.size() == mostProcesses)
            continue;
        const auto id = integer(columns.at(0));
        const auto cpu = number(columns.at(1));
        const auto mem = number(columns.at(2));
        if (id && cpu && mem)
            processes << ProcInfo{*id, columns.mid(3).join(u' ').left(longestText), *cpu, *mem};
    }
    return processes;
}

} // namespace

RemoteStats RemoteStatsMonitor::parse(const QString &output)
{
    const Sections sections = sectionsOf(output);
    const auto first = [&sections](const QString &name) { return sections.value(name).value(0); };
    RemoteStats stats;
    stats.load = loadOf(first(u"@@LOAD@@"_s));
    stats.cores = integer(first(u"@@CORES@@"_s)).value_or(0);
    readMemory(sections.value(u"@@MEM@@"_s), stats);
    readDisk(first(u"@@DISK@@"_s), stats);
    stats.uptime = number(pieces(first(u"@@UPTIME@@"_s)).value(0)).value_or(0);
    stats.hostName = first(u"@@HOST@@"_s).left(longestText);
    stats.osVersion = sections.value(u"@@HOST@@"_s).value(1).left(longestText);
    stats.topProcesses = processesOf(sections.value(u"@@PS@@"_s));
    const qint64 lines = integer(first(u"@@COUNT@@"_s)).value_or(0);
    stats.processCount = lines > 1 ? lines - 1 : 0;
    return stats;
}

} // namespace moorix
