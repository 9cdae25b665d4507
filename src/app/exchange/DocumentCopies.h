// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

/// Copies of the program's documents from before an import: servers.before-import-20261125T220000000Z.json, beside the
/// document itself. Blocking; any thread.
namespace moorix::documentCopies {

struct Copy
{
    QString document;
    QString copy;
};

/// Copies every document that there is. Throws an Error when one cannot be copied; no copy is left behind then.
QList<Copy> make(const QDateTime &now);
/// Puts a copy in its document's place, which needs no room on the disk. Returns whether that worked.
bool putBack(const Copy &copy);
void remove(const QList<Copy> &copies);

} // namespace moorix::documentCopies
