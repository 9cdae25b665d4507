// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"

#include <QString>
#include <QUuid>

#include <functional>
#include <memory>
#include <optional>

namespace moorix {

class FileService;

/// The two ends of stored transfers, which know servers by their ids and the local disk as no server. Main thread.
struct TransferPlaces
{
    using Server = std::optional<QUuid>;

    /// The id of the server that a service reaches; a null one when it has none that will be known again.
    std::function<Server(const FileService &service)> serverOf;
    /// What the user knows a server by; of one that is gone, that it is. Empty for the local disk.
    std::function<QString(const Server &server)> nameOf = {};
    /// Opens a service; neither function is called once the Job is gone.
    std::function<Job(const Server &server, std::function<void(std::shared_ptr<FileService>)> done,
                      std::function<void(const Error &)> failed)>
        open;
};

} // namespace moorix
