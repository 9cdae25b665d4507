// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileService.h"

#include <QStringList>

/// What every file service must do, whatever it reaches. A test class runs it in a table-driven slot: addRows() in the
/// _data function, runRow() in the test function.
namespace moorix::test::FileServiceContract {

struct Subject
{
    FileService &service;
    /// An existing, empty folder that the row may fill; also at this path of the local disk, where links are made.
    QString root;
};

QStringList oddNames();
/// The rules, and one row per name; a service that is slow to ask takes fewer of them. `only` picks rules by title;
/// empty takes all.
void addRows(const QStringList &names = oddNames(), const QStringList &only = {});
void runRow(const Subject &subject);

} // namespace moorix::test::FileServiceContract
