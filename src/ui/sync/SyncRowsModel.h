// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/sync/SyncFilter.h"

#include <QAbstractTableModel>
#include <QSet>

#include <vector>

namespace moorix {

/// The rows of a sync that are to be seen, as a list of paths or as a tree of folders that can be closed: lines over
/// the session's own rows, without a copy and without a proxy, so that a hundred thousand of them are filtered between
/// two key presses. Main thread; the session outlives it.
class SyncRowsModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { path, localSize, localDate, direction, remoteSize, remoteDate, what, columnCountOfList };
    enum class Form { list, tree };

    explicit SyncRowsModel(const SyncSession &session, QObject *parent = nullptr);

    void show(const SyncFilter &filter);
    /// Only paths that hold the text, in any case.
    void search(const QString &text);
    const QString &searchText() const { return m_search; }
    void setForm(Form form);
    Form form() const { return m_form; }
    const SyncSession &session() const { return m_session; }

    /// Null for a folder that is only there because of what lies in it.
    const SyncRow *row(int line) const;
    QString relPath(int line) const;
    int depth(int line) const { return m_lines.at(std::size_t(line)).depth; }
    /// Something lies in it, and can be shown or hidden. Only in a tree.
    bool isFolder(int line) const;
    bool isClosed(int line) const { return m_closed.contains(relPath(line)); }
    void setClosed(int line, bool isClosed);
    /// The places in the plan of these lines, and in a tree of all that lies in their folders; none for what is left
    /// out.
    QList<qsizetype> places(const QModelIndexList &lines) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    /// Of the list; a tree stays in its own order. A column below 0: in the order of paths, and what failed first.
    void sort(int column, Qt::SortOrder order) override;

private:
    struct Line
    {
        /// Into the source; -1 for a folder without a row.
        int place = -1;
        int depth = 0;
        QString folder;
    };

    const QList<SyncRow> &source() const { return m_filter.isLeftOut ? m_leftOut : m_session.plan().rows; }
    void reload();
    void rebuild();
    std::vector<int> found() const;
    void addTree(const std::vector<int> &places);
    std::vector<int> ranked(std::vector<int> places) const;
    std::vector<int> sorted(const std::vector<int> &places) const;
    QString text(int line, int column) const;
    QString happening(const SyncRow &row) const;

    const SyncSession &m_session;
    SyncFilter m_filter;
    QString m_search;
    Form m_form = Form::list;
    int m_sortColumn = -1;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
    QList<SyncRow> m_leftOut;
    /// The places of all rows, folders right before what lies in them; made when it is first needed.
    mutable std::vector<int> m_treeOrder;
    QSet<QString> m_closed;
    std::vector<Line> m_lines;
};

} // namespace moorix
