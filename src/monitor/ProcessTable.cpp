// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/ProcessTable.h"

#include "base/FileDescriptor.h"
#include "files/Format.h"
#include "monitor/ProcText.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cstdio>

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace moorix {

namespace {

/// The kernel cuts names to this length.
constexpr qsizetype longestKernelName = 15;

constexpr std::chrono::seconds longestInterval{10};

using procText::takeWord;
using procText::unsignedNumber;

void skipWords(QByteArrayView &text, int count)
{
    while (count-- > 0)
        takeWord(text);
}

std::array<char, 32> pathOf(qint64 pid, const char *file)
{
    std::array<char, 32> path = {};
    std::snprintf(path.data(), path.size(), "%lld/%s", static_cast<long long>(pid), file);
    return path;
}

/// The whole name of a program whose name the kernel has cut.
QString wholeName(const QString &name, const QString &commandLine)
{
    if (name.size() < longestKernelName)
        return name;
    const QString program = commandLine.section(u' ', 0, 0).section(u'/', -1);
    return program.startsWith(name) ? program : name;
}

} // namespace

std::optional<ProcessStat> ProcessStat::parse(QByteArrayView line)
{
    const qsizetype open = line.indexOf('(');
    const qsizetype close = line.lastIndexOf(')');
    if (open < 1 || close < open || line[0] < '0' || line[0] > '9')
        return std::nullopt;
    ProcessStat stat;
    stat.pid = qint64(unsignedNumber(line));
    stat.name = QString::fromUtf8(line.sliced(open + 1, close - open - 1));
    QByteArrayView rest = line.sliced(close + 1);
    const QByteArrayView state = takeWord(rest);
    stat.state = state.isEmpty() ? '?' : state[0];
    stat.parent = qint64(unsignedNumber(takeWord(rest)));
    skipWords(rest, 4);
    constexpr quint64 kernelThread = 0x00200000;
    stat.isOfKernel = (unsignedNumber(takeWord(rest)) & kernelThread) != 0;
    skipWords(rest, 4);
    stat.ticks = unsignedNumber(takeWord(rest));
    stat.ticks += unsignedNumber(takeWord(rest));
    skipWords(rest, 4);
    stat.threads = int(std::min<quint64>(unsignedNumber(takeWord(rest)), 10'000'000));
    skipWords(rest, 1);
    stat.startTime = unsignedNumber(takeWord(rest));
    skipWords(rest, 1);
    const QByteArrayView pages = takeWord(rest);
    if (pages.isEmpty())
        return std::nullopt;
    stat.residentPages = unsignedNumber(pages);
    return stat;
}

ProcessTable::ProcessTable(QString proc)
    : m_proc(std::move(proc))
    , m_ticksPerSecond(double(::sysconf(_SC_CLK_TCK)))
    , m_pageBytes(::sysconf(_SC_PAGESIZE))
{
}

LocalProcesses ProcessTable::read()
{
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(::opendir(QFile::encodeName(m_proc).constData()), ::closedir);
    if (!folder)
        return {};
    for (Known &known : m_known)
        known.isSeen = false;
    const Time now = std::chrono::steady_clock::now();
    // An average over a long pause would pass for what is going on.
    m_isFirst = m_isFirst || now - m_readAt > longestInterval;
    const int proc = ::dirfd(folder.get());
    while (const dirent *entry = ::readdir(folder.get())) {
        if (entry->d_name[0] < '0' || entry->d_name[0] > '9')
            continue;
        std::array<char, 280> path = {};
        std::snprintf(path.data(), path.size(), "%s/stat", entry->d_name);
        const auto content = procText::read(proc, path.data(), m_buffer);
        if (const auto stat = content ? ProcessStat::parse(*content) : std::nullopt)
            take(proc, *stat, now);
    }
    m_known.removeIf([](const auto &known) { return !known.value().isSeen; });
    m_readAt = now;
    m_isFirst = false;

    LocalProcesses processes;
    processes.reserve(std::size_t(m_known.size()));
    for (const Known &known : std::as_const(m_known))
        processes.push_back(known.process);
    std::sort(processes.begin(), processes.end(),
              [](const LocalProcess &a, const LocalProcess &b) { return a.pid < b.pid; });
    return processes;
}

void ProcessTable::take(int proc, const ProcessStat &stat, Time now)
{
    Known &known = m_known[stat.pid];
    LocalProcess &process = known.process;
    const bool isSame = process.pid == stat.pid && process.startTime == stat.startTime;
    const double seconds = std::chrono::duration<double>(now - m_readAt).count();
    if (!isSame)
        known = {};
    // All that a new process has used, it has used since the last reading.
    const bool isComparable = !m_isFirst && seconds > 0 && stat.ticks >= known.ticks;
    process.cpu = isComparable ? std::optional(100.0 * double(stat.ticks - known.ticks) / m_ticksPerSecond / seconds)
                               : std::nullopt;
    if (!isSame || known.command != stat.name)
        learn(proc, stat, known);
    process.parent = stat.parent;
    process.state = stat.state;
    process.threads = stat.threads;
    process.memory = qint64(stat.residentPages) * m_pageBytes;
    known.ticks = stat.ticks;
    known.isSeen = true;
}

void ProcessTable::learn(int proc, const ProcessStat &stat, Known &known)
{
    LocalProcess &process = known.process;
    process.pid = stat.pid;
    process.startTime = stat.startTime;
    process.isOfKernel = stat.isOfKernel;
    known.command = stat.name;
    constexpr qsizetype longestCommandLine = 4096;
    const auto words = procText::read(proc, pathOf(stat.pid, "cmdline").data(), m_buffer, longestCommandLine);
    process.commandLine =
        words ? Format::display(QString::fromUtf8(*words).replace(QChar(0), u' ').trimmed()) : QString();
    process.name = Format::display(wholeName(stat.name, process.commandLine));
    struct ::stat info = {};
    process.user.clear();
    if (::fstatat(proc, pathOf(stat.pid, "").data(), &info, 0) == 0)
        process.user = userName(info.st_uid);
}

QString ProcessTable::userName(quint32 id)
{
    const auto known = m_users.constFind(id);
    if (known != m_users.cend())
        return *known;
    QByteArray buffer(16384, Qt::Uninitialized);
    passwd entry = {};
    passwd *found = nullptr;
    const bool isFound = ::getpwuid_r(id, &entry, buffer.data(), size_t(buffer.size()), &found) == 0 && found;
    const QString name = isFound ? QString::fromLocal8Bit(entry.pw_name) : QString::number(id);
    m_users.insert(id, name);
    return name;
}

} // namespace moorix
