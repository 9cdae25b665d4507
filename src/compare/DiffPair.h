// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QUuid>

#include <memory>

namespace moorix {

class FileService;

/// Two files that are to be compared, and who holds them.
struct DiffPair
{
    QUuid id;
    FileItem a;
    FileItem b;
    std::shared_ptr<FileService> leftService;
    std::shared_ptr<FileService> rightService;

    bool operator==(const DiffPair &) const = default;
};

} // namespace moorix
