// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncRowsModel.h"

#include "files/Format.h"
#include "ui/Widgets.h"
#include "ui/sync/SyncLook.h"

#include <QStringMatcher>

#include <algorithm>
#include <limits>

namespace moorix {

namespace {

/// The places of rows in the order of a tree: folders right before what lies in them, which plain string order does not
/// give: "a", "a-b", "a/c".
std::vector<int> treeOrder(const QList<SyncRow> &rows)
{
    std::vector<std::pair<QString, int>> keys;
    keys.reserve(std::size_t(rows.size()));
    for (int place = 0; place < rows.size(); ++place) {
        QString key = rows.at(place).diff.relPath;
        keys.emplace_back(key.replace(u'/', QChar(1)), place);
    }
    std::sort(keys.begin(), keys.end());
    std::vector<int> places;
    places.reserve(keys.size());
    for (const auto &key : keys)
        places.push_back(key.second);
    return places;
}

QString sizeOf(const std::optional<SyncEntry> &entry)
{
    if (!entry)
        return {};
    return entry->isDirectory ? QStringLiteral("—") : Format::byteCount(entry->size);
}

QString dateOf(const std::optional<SyncEntry> &entry)
{
    return entry && entry->modified ? Format::date(*entry->modified) : QString();
}

struct SortKey
{
    qint64 number;
    QString text;
    int place;
};

/// What is not there comes before everything, and so do folders among sizes.
qint64 numberOf(const SyncRow &row, int column)
{
    const bool isLocal = column == SyncRowsModel::localSize || column == SyncRowsModel::localDate;
    const std::optional<SyncEntry> &entry = isLocal ? row.diff.local : row.diff.remote;
    switch (column) {
    case SyncRowsModel::localSize:
    case SyncRowsModel::remoteSize:
        return !entry ? -2 : entry->isDirectory ? -1 : entry->size;
    case SyncRowsModel::localDate:
    case SyncRowsModel::remoteDate:
        return entry && entry->modified ? entry->modified->toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
    default:
        return qint64(row.action);
    }
}

bool isInside(const QString &path, const QString &folder)
{
    return path.size() > folder.size() && path.at(folder.size()) == u'/' && path.startsWith(folder);
}

} // namespace

SyncRowsModel::SyncRowsModel(const SyncSession &session, QObject *parent)
    : QAbstractTableModel(parent)
    , m_session(session)
    , m_filter(SyncFilter::of(session).constFirst())
{
    connect(&session, &SyncSession::rowsChanged, this, [this] {
        if (!m_lines.empty())
            emit dataChanged(index(0, 0), index(rowCount() - 1, columnCountOfList - 1));
    });
    // Before anybody else who asks this model about the session's rows: they may be others now.
    connect(&session, &SyncSession::stateChanged, this, &SyncRowsModel::reload);
    reload();
}

void SyncRowsModel::reload()
{
    m_leftOut.clear();
    const QMap<QString, SyncLeftOut> &leftOut = m_session.plan().leftOut;
    for (auto left = leftOut.cbegin(); left != leftOut.cend(); ++left) {
        SyncRow row;
        row.diff.relPath = left.key();
        SyncPlanner::block(row, left->reason);
        m_leftOut.append(row);
    }
    m_treeOrder.clear();
    rebuild();
}

void SyncRowsModel::show(const SyncFilter &filter)
{
    m_filter = filter;
    m_treeOrder.clear();
    rebuild();
}

void SyncRowsModel::search(const QString &text)
{
    if (m_search == text)
        return;
    m_search = text;
    rebuild();
}

void SyncRowsModel::setForm(Form form)
{
    m_form = form;
    rebuild();
}

std::vector<int> SyncRowsModel::found() const
{
    const QList<SyncRow> &rows = source();
    const QStringMatcher matcher(m_search, Qt::CaseInsensitive);
    std::vector<int> places;
    const auto add = [&](int place) {
        const SyncRow &row = rows.at(place);
        if (m_filter.shows(row) && (m_search.isEmpty() || matcher.indexIn(row.diff.relPath) >= 0))
            places.push_back(place);
    };
    if (m_form == Form::list) {
        for (int place = 0; place < rows.size(); ++place)
            add(place);
        if (m_sortColumn >= 0)
            return sorted(places);
        return m_session.outcome() ? ranked(std::move(places)) : places;
    }
    if (m_treeOrder.empty())
        m_treeOrder = treeOrder(rows);
    for (const int place : m_treeOrder)
        add(place);
    return places;
}

/// What failed first, then what is left.
std::vector<int> SyncRowsModel::ranked(std::vector<int> places) const
{
    const auto rank = [this](int place) {
        const SyncResult result = source().at(place).result;
        return result == SyncResult::failed ? 0 : result == SyncResult::done ? 2 : 1;
    };
    std::ranges::stable_sort(places, {}, rank);
    return places;
}

void SyncRowsModel::sort(int column, Qt::SortOrder order)
{
    if (column == m_sortColumn && order == m_sortOrder)
        return;
    m_sortColumn = column;
    m_sortOrder = order;
    rebuild();
}

std::vector<int> SyncRowsModel::sorted(const std::vector<int> &places) const
{
    const bool isByText = m_sortColumn == path || m_sortColumn == what;
    std::vector<SortKey> keys;
    keys.reserve(places.size());
    for (const int place : places) {
        const SyncRow &row = source().at(place);
        const QString text = !isByText ? QString() : m_sortColumn == path ? row.diff.relPath : happening(row);
        keys.push_back({isByText ? 0 : numberOf(row, m_sortColumn), text, place});
    }
    // Places are in the order of paths, which decides where nothing else does.
    const auto isLess = [](const SortKey &a, const SortKey &b) {
        return a.number != b.number ? a.number < b.number : a.text < b.text;
    };
    if (m_sortOrder == Qt::AscendingOrder)
        std::ranges::stable_sort(keys, isLess);
    else
        std::ranges::stable_sort(keys, [&isLess](const SortKey &a, const SortKey &b) { return isLess(b, a); });
    std::vector<int> found;
    found.reserve(keys.size());
    for (const SortKey &key : keys)
        found.push_back(key.place);
    return found;
}

void SyncRowsModel::rebuild()
{
    beginResetModel();
    m_lines.clear();
    const std::vector<int> places = found();
    m_lines.reserve(places.size());
    if (m_form == Form::tree) {
        addTree(places);
    } else {
        for (const int place : places)
            m_lines.push_back({place, 0, {}});
    }
    endResetModel();
}

void SyncRowsModel::addTree(const std::vector<int> &places)
{
    // The folders that the present line lies in.
    QStringList open;
    qsizetype closedAt = -1;
    const auto enter = [&](const QString &folder) {
        open.append(folder);
        if (closedAt < 0 && m_closed.contains(folder))
            closedAt = open.size();
    };
    for (const int place : places) {
        const QString &entry = source().at(place).diff.relPath;
        while (!open.isEmpty() && !isInside(entry, open.constLast())) {
            open.removeLast();
            if (closedAt > open.size())
                closedAt = -1;
        }
        for (qsizetype slash = entry.indexOf(u'/', open.isEmpty() ? 0 : open.constLast().size() + 1); slash >= 0;
             slash = entry.indexOf(u'/', slash + 1)) {
            if (closedAt < 0)
                m_lines.push_back({-1, int(open.size()), entry.left(slash)});
            enter(entry.left(slash));
        }
        if (closedAt < 0)
            m_lines.push_back({place, int(open.size()), {}});
        if (source().at(place).isFolder())
            enter(entry);
    }
}

const SyncRow *SyncRowsModel::row(int line) const
{
    const int place = m_lines.at(std::size_t(line)).place;
    return place < 0 ? nullptr : &source().at(place);
}

QString SyncRowsModel::relPath(int line) const
{
    const SyncRow *shown = row(line);
    return shown ? shown->diff.relPath : m_lines.at(std::size_t(line)).folder;
}

bool SyncRowsModel::isFolder(int line) const
{
    const SyncRow *shown = row(line);
    return m_form == Form::tree && (!shown || shown->isFolder());
}

void SyncRowsModel::setClosed(int line, bool isClosed)
{
    if (!isFolder(line) || isClosed == this->isClosed(line))
        return;
    if (isClosed)
        m_closed.insert(relPath(line));
    else
        m_closed.remove(relPath(line));
    rebuild();
}

QList<qsizetype> SyncRowsModel::places(const QModelIndexList &lines) const
{
    if (m_filter.isLeftOut)
        return {};
    QList<qsizetype> places;
    QSet<QString> folders;
    places.reserve(lines.size());
    for (const QModelIndex &index : lines) {
        if (const int place = m_lines.at(std::size_t(index.row())).place; place >= 0)
            places.append(place);
        if (isFolder(index.row()))
            folders.insert(relPath(index.row()));
    }
    if (folders.isEmpty())
        return places;
    QSet<qsizetype> all(places.cbegin(), places.cend());
    for (const int place : found()) {
        const QString &entry = source().at(place).diff.relPath;
        for (qsizetype slash = entry.indexOf(u'/'); slash >= 0; slash = entry.indexOf(u'/', slash + 1)) {
            if (folders.contains(entry.left(slash)))
                all.insert(place);
        }
    }
    return QList<qsizetype>(all.cbegin(), all.cend());
}

int SyncRowsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_lines.size());
}

int SyncRowsModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(columnCountOfList);
}

QString SyncRowsModel::happening(const SyncRow &row) const
{
    return m_filter.isLeftOut ? SyncLook::sentence(row.reason)
                              : SyncLook::happening(row, m_session.outcome().has_value());
}

QString SyncRowsModel::text(int line, int column) const
{
    const SyncRow *shown = row(line);
    if (column == path) {
        const QString relative = relPath(line);
        return Format::display(m_form == Form::tree ? Format::fileName(relative) : relative);
    }
    if (!shown)
        return {};
    switch (column) {
    case localSize:
        return sizeOf(shown->diff.local);
    case localDate:
        return dateOf(shown->diff.local);
    case remoteSize:
        return sizeOf(shown->diff.remote);
    case remoteDate:
        return dateOf(shown->diff.remote);
    case direction:
        return SyncLook::directionText(*shown);
    default:
        return happening(*shown);
    }
}

QVariant SyncRowsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return text(index.row(), index.column());
    case Qt::ToolTipRole: {
        const QString why = text(index.row(), what);
        return Widgets::toolTip(Format::display(relPath(index.row())) + (why.isEmpty() ? why : u'\n' + why));
    }
    case Qt::TextAlignmentRole:
        if (index.column() == localSize || index.column() == remoteSize)
            return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
    default:
        return {};
    }
}

QVariant SyncRowsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue((section == localSize || section == remoteSize ? Qt::AlignRight : Qt::AlignLeft) |
                                   Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    switch (section) {
    case path:
        return tr("Path");
    case localSize:
        return tr("Here");
    case localDate:
    case remoteDate:
        return tr("Modified");
    case remoteSize:
        return tr("Server");
    case what:
        return m_session.outcome() ? tr("What became of it") : tr("What happens");
    default:
        return {};
    }
}

} // namespace moorix
