// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/OpenedCopies.h"

#include "files/Format.h"
#include "files/RemoteFileService.h"
#include "platform/PrivateFolder.h"

#include <QFile>

namespace moorix {

namespace {

struct Copy
{
    std::shared_ptr<PrivateFolder> folder;
    QString path;
};

} // namespace

OpenedCopies::OpenedCopies() = default;

OpenedCopies::~OpenedCopies() = default;

Job OpenedCopies::fetch(std::shared_ptr<RemoteFileService> server, const FileItem &file,
                        std::shared_ptr<std::atomic<qint64>> received, std::function<void(const QString &)> done,
                        std::function<void(const Error &)> failed)
{
    return runJob(
        [server = std::move(server), file, received = std::move(received)](const std::stop_token &stop) {
            Copy copy;
            copy.folder = std::make_shared<PrivateFolder>(QStringLiteral("moorix-"));
            copy.path = Format::join(copy.folder->path(), Format::fileName(file.path));
            RemoteTransferOptions options;
            options.keepsTimes = true;
            options.progress = [received](qint64 bytes) { *received = bytes; };
            server->download(file.path, copy.path, options, stop);
            // Nobody should take it for the file itself and lose what they change.
            QFile::setPermissions(copy.path, QFile::ReadOwner);
            return copy;
        },
        [this, done = std::move(done)](const Copy &copy) {
            m_folders.push_back(copy.folder);
            done(copy.path);
        },
        std::move(failed));
}

} // namespace moorix
