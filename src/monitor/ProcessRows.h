// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/LocalStats.h"

#include <QSet>

namespace moorix {

enum class ProcessColumn { name, pid, user, cpu, memory, threads, state };

/// How the list of processes is to look.
struct ProcessArrangement
{
    ProcessColumn sortBy = ProcessColumn::cpu;
    bool isAscending = false;
    bool isTree = false;
    /// Found in name, command line, user and number, in any capitalisation. Empty: all.
    QString filter;
    bool showsKernel = false;
    /// Processes of the tree whose children are hidden, by number.
    QSet<qint64> collapsed;

    bool operator==(const ProcessArrangement &) const = default;
};

struct ProcessRow
{
    /// In the list that was arranged.
    std::size_t index = 0;
    int depth = 0;
    bool hasChildren = false;
    /// Shown for the sake of a descendant only, which the filter fits.
    bool isContext = false;

    bool operator==(const ProcessRow &) const = default;
};

/// The rows in their order. A process whose parent is not in the list stands at the top of the tree. Processes that
/// are alike in the column are in order of their numbers, so that rows do not jump.
std::vector<ProcessRow> arrange(const LocalProcesses &processes, const ProcessArrangement &arrangement);

} // namespace moorix
