// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "monitor/ProcessRows.h"

#include <QAbstractTableModel>

namespace moorix {

/// The rows of the list of processes, arranged as the user wants. Columns are those of ProcessColumn.
class ProcessModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Role { depthRole = Qt::UserRole, hasChildrenRole, isCollapsedRole };

    explicit ProcessModel(QObject *parent = nullptr);

    void setProcesses(std::shared_ptr<const LocalProcesses> processes);
    const ProcessArrangement &arrangement() const { return m_arrangement; }
    void setArrangement(const ProcessArrangement &arrangement);
    /// Null for no row.
    const LocalProcess *process(const QModelIndex &index) const;
    /// The row of a process; invalid when it is not shown.
    QModelIndex indexOf(qint64 pid) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    void rearrange();
    QString text(const LocalProcess &process, ProcessColumn column) const;

    std::shared_ptr<const LocalProcesses> m_processes;
    ProcessArrangement m_arrangement;
    std::vector<ProcessRow> m_rows;
};

} // namespace moorix
