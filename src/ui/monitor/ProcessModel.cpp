// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/monitor/ProcessModel.h"

#include "files/Format.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QColor>
#include <QLocale>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr int columns = 7;

QString stateText(char state)
{
    switch (state) {
    case 'R':
        return ProcessModel::tr("running");
    case 'S':
    case 'I':
        return ProcessModel::tr("sleeping");
    case 'D':
        return ProcessModel::tr("waiting for a device");
    case 'T':
    case 't':
        return ProcessModel::tr("stopped");
    case 'Z':
        return ProcessModel::tr("ended");
    default:
        return QString(QLatin1Char(state));
    }
}

} // namespace

ProcessModel::ProcessModel(QObject *parent)
    : QAbstractTableModel(parent)
    , m_processes(std::make_shared<const LocalProcesses>())
{
}

void ProcessModel::setProcesses(std::shared_ptr<const LocalProcesses> processes)
{
    m_processes = std::move(processes);
    rearrange();
}

void ProcessModel::setArrangement(const ProcessArrangement &arrangement)
{
    if (m_arrangement == arrangement)
        return;
    m_arrangement = arrangement;
    rearrange();
}

void ProcessModel::rearrange()
{
    beginResetModel();
    m_rows = arrange(*m_processes, m_arrangement);
    endResetModel();
}

const LocalProcess *ProcessModel::process(const QModelIndex &index) const
{
    return index.isValid() ? &(*m_processes)[m_rows[std::size_t(index.row())].index] : nullptr;
}

QModelIndex ProcessModel::indexOf(qint64 pid) const
{
    const auto found = std::find_if(m_rows.begin(), m_rows.end(),
                                    [&](const ProcessRow &row) { return (*m_processes)[row.index].pid == pid; });
    return found == m_rows.end() ? QModelIndex() : index(int(found - m_rows.begin()), 0);
}

int ProcessModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int ProcessModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : columns;
}

QString ProcessModel::text(const LocalProcess &process, ProcessColumn column) const
{
    const QLocale locale;
    switch (column) {
    case ProcessColumn::name:
        return process.name;
    case ProcessColumn::pid:
        return QString::number(process.pid);
    case ProcessColumn::user:
        return process.user;
    case ProcessColumn::cpu:
        return process.cpu ? locale.toString(*process.cpu, 'f', 1) + u" %"_s : u"—"_s;
    case ProcessColumn::memory:
        return process.isOfKernel ? u"—"_s : Format::byteCount(process.memory);
    case ProcessColumn::threads:
        return locale.toString(process.threads);
    case ProcessColumn::state:
        return stateText(process.state);
    }
    return {};
}

QVariant ProcessModel::data(const QModelIndex &index, int role) const
{
    const LocalProcess *shown = process(index);
    if (!shown)
        return {};
    const ProcessRow &row = m_rows[std::size_t(index.row())];
    const auto column = ProcessColumn(index.column());
    switch (role) {
    case Qt::DisplayRole:
        return text(*shown, column);
    case Qt::ToolTipRole:
        return column == ProcessColumn::name && !shown->commandLine.isEmpty() ? Widgets::toolTip(shown->commandLine)
                                                                              : QString();
    case Qt::TextAlignmentRole: {
        const bool isFigure = column == ProcessColumn::pid || column == ProcessColumn::cpu ||
                              column == ProcessColumn::memory || column == ProcessColumn::threads;
        return int((isFigure ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    }
    case Qt::ForegroundRole:
        return row.isContext || column == ProcessColumn::user || column == ProcessColumn::state ||
                       column == ProcessColumn::pid
                   ? QVariant(Theme::color(Theme::Color::mutedText))
                   : QVariant();
    case depthRole:
        return row.depth;
    case hasChildrenRole:
        return row.hasChildren && m_arrangement.isTree;
    case isCollapsedRole:
        return m_arrangement.collapsed.contains(shown->pid);
    default:
        return {};
    }
}

QVariant ProcessModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return int((section == 1 || (section >= 3 && section <= 5) ? Qt::AlignRight : Qt::AlignLeft) |
                   Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    const QStringList names{tr("Name"), tr("Process"), tr("User"), tr("CPU"), tr("Memory"), tr("Threads"), tr("State")};
    if (section != int(m_arrangement.sortBy))
        return names.value(section);
    return names.value(section) + (m_arrangement.isAscending ? u" ↑"_s : u" ↓"_s);
}

} // namespace moorix
