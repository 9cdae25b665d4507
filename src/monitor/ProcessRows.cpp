// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/ProcessRows.h"

#include <QHash>

#include <algorithm>
#include <compare>

namespace moorix {

namespace {

bool fits(const LocalProcess &process, const QString &filter)
{
    return filter.isEmpty() || process.name.contains(filter, Qt::CaseInsensitive) ||
           process.commandLine.contains(filter, Qt::CaseInsensitive) ||
           process.user.contains(filter, Qt::CaseInsensitive) || QString::number(process.pid).contains(filter);
}

std::partial_ordering compared(const LocalProcess &a, const LocalProcess &b, ProcessColumn column)
{
    switch (column) {
    case ProcessColumn::name:
        return a.name.compare(b.name, Qt::CaseInsensitive) <=> 0;
    case ProcessColumn::pid:
        return a.pid <=> b.pid;
    case ProcessColumn::user:
        return a.user.compare(b.user) <=> 0;
    case ProcessColumn::cpu:
        return a.cpu.value_or(-1) <=> b.cpu.value_or(-1);
    case ProcessColumn::memory:
        return a.memory <=> b.memory;
    case ProcessColumn::threads:
        return a.threads <=> b.threads;
    case ProcessColumn::state:
        return a.state <=> b.state;
    }
    return std::partial_ordering::equivalent;
}

class Arranger final
{
public:
    Arranger(const LocalProcesses &processes, const ProcessArrangement &how)
        : m_processes(processes)
        , m_how(how)
    {
        for (std::size_t i = 0; i < processes.size(); ++i) {
            if (how.showsKernel || !processes[i].isOfKernel)
                m_indexOf.insert(processes[i].pid, i);
        }
    }

    std::vector<ProcessRow> rows()
    {
        if (m_how.isTree)
            addTree();
        else
            addFlat();
        return std::move(m_rows);
    }

private:
    void sort(std::vector<std::size_t> &indices) const
    {
        std::sort(indices.begin(), indices.end(), [this](std::size_t a, std::size_t b) {
            const auto order = compared(m_processes[a], m_processes[b], m_how.sortBy);
            if (order == 0)
                return m_processes[a].pid < m_processes[b].pid;
            return m_how.isAscending ? order < 0 : order > 0;
        });
    }

    void addFlat()
    {
        std::vector<std::size_t> shown;
        for (const std::size_t index : std::as_const(m_indexOf)) {
            if (fits(m_processes[index], m_how.filter))
                shown.push_back(index);
        }
        sort(shown);
        for (const std::size_t index : shown)
            m_rows.push_back({index, 0, false, false});
    }

    void addTree()
    {
        std::vector<std::size_t> roots;
        for (const std::size_t index : std::as_const(m_indexOf)) {
            const LocalProcess &process = m_processes[index];
            // A parent is older than its children; anything else would be a circle.
            const auto parent = m_indexOf.constFind(process.parent);
            const bool hasParent = parent != m_indexOf.cend() && process.parent != process.pid &&
                                   m_processes[*parent].startTime <= process.startTime && !isAbove(index, *parent);
            if (hasParent)
                m_children[*parent].push_back(index);
            else
                roots.push_back(index);
        }
        sort(roots);
        for (const std::size_t root : roots)
            addBranch(root, 0);
    }

    /// Whether `index` is already among the ancestors of `other`.
    bool isAbove(std::size_t index, std::size_t other) const
    {
        constexpr int deepest = 128;
        std::size_t at = other;
        for (int depth = 0; depth < deepest; ++depth) {
            if (at == index)
                return true;
            const auto parent = m_indexOf.constFind(m_processes[at].parent);
            if (parent == m_indexOf.cend() || *parent == at)
                return false;
            at = *parent;
        }
        return true;
    }

    bool addBranch(std::size_t index, int depth)
    {
        const LocalProcess &process = m_processes[index];
        std::vector<std::size_t> children = m_children.value(index);
        sort(children);
        const std::size_t place = m_rows.size();
        const bool fitsItself = fits(process, m_how.filter);
        m_rows.push_back({index, depth, !children.empty(), !fitsItself});
        // What is looked for is shown wherever it is.
        const bool isOpen = !m_how.filter.isEmpty() || !m_how.collapsed.contains(process.pid);
        bool isNeeded = fitsItself;
        for (const std::size_t child : children) {
            if (isOpen)
                isNeeded = addBranch(child, depth + 1) || isNeeded;
        }
        if (!isNeeded)
            m_rows.resize(place);
        return isNeeded;
    }

    const LocalProcesses &m_processes;
    const ProcessArrangement &m_how;
    QHash<qint64, std::size_t> m_indexOf;
    QHash<std::size_t, std::vector<std::size_t>> m_children;
    std::vector<ProcessRow> m_rows;
};

} // namespace

std::vector<ProcessRow> arrange(const LocalProcesses &processes, const ProcessArrangement &arrangement)
{
    return Arranger(processes, arrangement).rows();
}

} // namespace moorix
