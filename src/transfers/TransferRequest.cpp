// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferRequest.h"

#include "files/Format.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

bool isInPlace(const TransferRequest &request)
{
    return request.source == request.destination &&
           std::ranges::all_of(request.items, [&request](const FileItem &item) {
               return Format::parent(item.path) == request.targetFolder;
           });
}

} // namespace

QList<TransferPiece> TransferRequest::pieces() const
{
    QList<TransferPiece> all = more;
    if (!items.isEmpty())
        all.prepend({items, targetFolder});
    return all;
}

bool TransferRequest::isCopyInPlace() const
{
    return !isMove && isInPlace(*this);
}

bool TransferRequest::isMoveInPlace() const
{
    return isMove && isInPlace(*this);
}

QString TransferRequest::title() const
{
    const QString verb = isMove ? u"Moving"_s : u"Copying"_s;
    const QString what =
        items.size() == 1 ? u"“%1”"_s.arg(Format::display(items.constFirst().name)) : u"%1 items"_s.arg(items.size());
    return u"%1 %2 to %3"_s.arg(verb, what, Format::display(targetFolder));
}

} // namespace moorix
