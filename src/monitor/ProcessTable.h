// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/LocalStats.h"

#include <QHash>

#include <chrono>

namespace moorix {

/// What a line of /proc/PID/stat tells.
struct ProcessStat
{
    qint64 pid = 0;
    QString name;
    char state = '?';
    qint64 parent = 0;
    bool isOfKernel = false;
    /// User and system time in clock ticks.
    quint64 ticks = 0;
    int threads = 0;
    quint64 startTime = 0;
    quint64 residentPages = 0;

    /// Nothing for a line that is cut off or is none. The name may hold anything, parentheses and line breaks included.
    static std::optional<ProcessStat> parse(QByteArrayView line);

    bool operator==(const ProcessStat &) const = default;
};

/// The processes of this machine, read again and again. One open file for each process and reading; owner and command
/// line are read only of a process that is new or has become another program. For one worker at a time.
class ProcessTable final
{
public:
    /// `proc` is the folder that is /proc.
    explicit ProcessTable(QString proc);

    /// All processes, by pid. Those that end meanwhile are left out.
    LocalProcesses read();

private:
    struct Known
    {
        LocalProcess process;
        QString command;
        quint64 ticks = 0;
        bool isSeen = false;
    };
    using Time = std::chrono::steady_clock::time_point;

    void take(int proc, const ProcessStat &stat, Time now);
    void learn(int proc, const ProcessStat &stat, Known &known);
    QString userName(quint32 id);

    QString m_proc;
    QHash<qint64, Known> m_known;
    QHash<quint32, QString> m_users;
    QByteArray m_buffer;
    Time m_readAt;
    bool m_isFirst = true;
    double m_ticksPerSecond;
    qint64 m_pageBytes;
};

} // namespace moorix
