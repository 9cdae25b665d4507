// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Comparison.h"

#include "app/PaneTabs.h"
#include "app/Session.h"
#include "base/Json.h"
#include "files/PaneModel.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

struct Found
{
    FileItem file;
    const Session *session;
};

QList<Found> selectedFiles(const Session &session)
{
    QList<Found> found;
    const QList<FileItem> items = session.pane() ? session.pane()->selectedItems() : QList<FileItem>();
    for (const FileItem &item : items)
        found.append({item, &session});
    return found;
}

QString placeOf(const Session &session)
{
    return session.server() ? session.server()->displayName() : QString();
}

QUuid serverOf(const Session &session)
{
    return session.server() ? session.server()->id : QUuid();
}

} // namespace

Comparison Comparison::ofSelection(const AppModel &model, Side from)
{
    const Session &here = model.tabs(from).current();
    QList<Found> files = selectedFiles(here);
    if (files.size() == 1) {
        const Session &left = model.tabs(Side::left).current();
        const Session &right = model.tabs(Side::right).current();
        files = selectedFiles(left) + selectedFiles(right);
    }
    const bool areFiles = std::ranges::none_of(files, [](const Found &one) { return one.file.isShownAsFolder(); });
    if (files.size() != 2 || !areFiles)
        throw Error(u"Compare"_s, u"Select the two files to compare: both on one side, or one on each."_s);
    const Found &a = files.constFirst();
    const Found &b = files.constLast();
    return {{newUuid(), a.file, b.file, a.session->pane()->service(), b.session->pane()->service()},
            placeOf(*a.session),
            placeOf(*b.session),
            serverOf(*a.session),
            serverOf(*b.session)};
}

} // namespace moorix
