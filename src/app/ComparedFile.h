// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/EditedVersion.h"
#include "files/TextEncoding.h"

namespace moorix {

/// How a compared file gets what was put together from both: whole or not at all, with its mode, through a link the
/// file it leads to, and never over what somebody else has written meanwhile. Blocking; worker threads.
namespace comparedFile {

using Guard = editedVersion::Guard;
using Outcome = editedVersion::Outcome;

/// What a save to a server that failed has left, for the next try: the version, and maybe a part of it there. Gone with
/// the object.
struct Leftover
{
    Leftover() = default;
    ~Leftover();
    Q_DISABLE_COPY_MOVE(Leftover)

    std::shared_ptr<EditedCopy> copy;
    bool mayBeThere = false;
};

struct Saving
{
    std::shared_ptr<FileService> service;
    /// Of a server: its id and name.
    QUuid server;
    QString serverName;
    /// As it was read.
    FileItem file;
    TextEncoding encoding = TextEncoding::utf8;
    QString before;
    QString after;
    /// `nothing` is not for this.
    Guard guard = Guard::known;
    /// Where a version lies on its way to a server.
    QString root;
    /// Of earlier saves of the same file; one save at a time has it.
    std::shared_ptr<Leftover> leftover = std::make_shared<Leftover>();
};

/// Throws an Error when that fails, and where the encoding has no bytes for a character.
Outcome save(const Saving &saving, const std::stop_token &stop);

} // namespace comparedFile

} // namespace moorix
