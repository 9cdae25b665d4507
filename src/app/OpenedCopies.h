// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "files/FileItem.h"

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace moorix {

class PrivateFolder;
class RemoteFileService;

/// Files of servers, fetched to be shown by other programs: read-only copies in folders that only this user can enter,
/// gone with the object. Main thread.
class OpenedCopies final
{
public:
    OpenedCopies();
    ~OpenedCopies();
    Q_DISABLE_COPY_MOVE(OpenedCopies)

    /// Downloads `file` under its own name; `received` counts its bytes meanwhile, readable by any thread. `done` gets
    /// the path of the copy. What was fetched of a job that is given up is removed.
    [[nodiscard]] Job fetch(std::shared_ptr<RemoteFileService> server, const FileItem &file,
                            std::shared_ptr<std::atomic<qint64>> received,
                            std::function<void(const QString &path)> done, std::function<void(const Error &)> failed);

private:
    std::vector<std::shared_ptr<PrivateFolder>> m_folders;
};

} // namespace moorix
