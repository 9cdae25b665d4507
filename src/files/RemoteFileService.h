// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileService.h"
#include "files/ListedTree.h"

#include <QHash>
#include <QStringList>

#include <algorithm>
#include <functional>
#include <thread>
#include <vector>

namespace moorix {

class TransferSpeed;

struct RemoteTransferOptions
{
    /// Gives the copy the source's modification time and mode.
    bool keepsTimes = false;
    /// Called on the worker about every 200 ms with the bytes of the file that have arrived, never more than it holds.
    std::function<void(qint64 bytes)> progress;
    /// Goes on where the target ends, which the caller knows to be the beginning of the source and shorter than it.
    /// A service that cannot do this copies the whole file.
    bool resumes = false;
};

/// One of several files that travel together, and what has become of it.
struct RemoteCopy
{
    enum class State { open, arrived, failed };
    QString from;
    /// Nothing may stand there.
    QString to;
    /// What the original is known to hold.
    qint64 bytes = 0;
    State state = State::open;
    /// What the copy holds, once it has arrived.
    qint64 copiedBytes = 0;
    /// Why it failed: a sentence.
    QString failure = {};
};

/// One of several small steps that are taken together, and what has become of it.
struct RemoteStep
{
    enum class Kind {
        /// Fails where something stands at `toPath`.
        rename,
        /// Of a folder. Fails where anything but an empty folder stands at `toPath`.
        renameFolder,
        /// Takes the place of a file that stands at `toPath`, in one step where the server can.
        replace,
        /// Of a file. What is not there counts as removed.
        remove,
        /// Of a folder, which must be empty.
        removeFolder,
        /// Of a file or folder: gives it the permissions in `octal`.
        setMode
    };
    enum class State { open, done, failed };
    Kind kind = Kind::rename;
    QString path;
    QString toPath = {};
    /// "755".
    QString octal = {};
    State state = State::open;
    QString failure = {};

    bool isRename() const { return kind == Kind::rename || kind == Kind::renameFolder || kind == Kind::replace; }
    bool isRemoval() const { return kind == Kind::remove || kind == Kind::removeFolder; }
};

/// A file service on another machine: files travel between its disk and the local one. As plain as the commands below
/// it: a target file is truncated and filled in place. Callers that must not lose a file copy to a part name, check
/// and rename.
class RemoteFileService : public FileService
{
public:
    virtual void download(const QString &remotePath, const QString &toLocal, const RemoteTransferOptions &options,
                          const std::stop_token &stop) = 0;
    virtual void upload(const QString &localPath, const QString &toRemote, const RemoteTransferOptions &options,
                        const std::stop_token &stop) = 0;
    /// Copies a whole folder; a target that exists already gets it as a subfolder.
    virtual void downloadRecursive(const QString &remotePath, const QString &toLocal, const std::stop_token &stop) = 0;
    virtual void uploadRecursive(const QString &localPath, const QString &toRemote, const std::stop_token &stop) = 0;
    virtual void copyRemote(const QString &source, const QString &destination, const std::stop_token &stop) = 0;
    /// Replaces a file that stands at `destination`, in one step where the server can.
    virtual void moveRemote(const QString &source, const QString &destination, const std::stop_token &stop) = 0;
    /// The limit that all copies to and from this machine keep to, for the life of the service; null for none.
    virtual TransferSpeed *speed() const { return nullptr; }
    /// Whether what is downloaded with its time carries its mode as well; otherwise only listings tell the mode.
    virtual bool keepsModes() const { return true; }
    /// SHA-256 of each file that can be read, computed there and asked for in one go. Nothing where the server cannot.
    virtual std::optional<QHash<QString, QByteArray>> checksums(const QStringList & /*paths*/,
                                                                const std::stop_token & /*stop*/)
    {
        return std::nullopt;
    }

    /// Whether anything stands at this very path, which the server is asked for whatever its listings show.
    virtual bool exists(const QString &path, const std::stop_token &stop) { return stat(path, stop).has_value(); }

    /// Throws what every operation on this path would throw because no command can carry its name. Asks nobody.
    virtual void requireAddressable(const QString & /*path*/) const {}

    // Many in one go, for much less than one by one would cost; only where `takesMany`. What is not `open` any more is
    // passed over. A failure of one is told with it and does not hold up the others; when the connection fails or it is
    // stopped, this throws, and those still `open` may or may not have been done.

    /// Called on the worker when the client is through with the file at `index`.
    using Advanced = std::function<void(std::size_t index)>;
    virtual bool takesMany() const { return false; }
    /// How many threads may do so at once to advantage: to a server nearby, as many as keep this machine busy.
    virtual int lanesForMany() const { return std::clamp(2 * int(std::thread::hardware_concurrency()), 4, 6); }
    /// Copies carry the time and mode of their originals, as far as the protocol tells and takes them.
    virtual void uploadAll(std::vector<RemoteCopy> & /*copies*/, const Advanced & /*advanced*/,
                           const std::stop_token & /*stop*/)
    {
    }
    virtual void downloadAll(std::vector<RemoteCopy> & /*copies*/, const Advanced & /*advanced*/,
                             const std::stop_token & /*stop*/)
    {
    }
    virtual void takeSteps(std::vector<RemoteStep> & /*steps*/, const std::stop_token & /*stop*/) {}

    /// What the times are worth that `list` tells.
    virtual ListedTimes listedTimes() const { return {}; }
    /// All that lies below a folder, in as few round trips as the server allows. Throws what listing the folder itself
    /// throws, and whatever is wrong with the connection.
    virtual ListedTree listTree(const QString &folder, const TreeProgress &onProgress, const std::stop_token &stop)
    {
        ListedTree tree = ListedTree::byFolders(*this, folder, onProgress, stop);
        tree.times = listedTimes();
        return tree;
    }

    /// Whether to try the archives below; what comes of it depends on what the account may run.
    virtual bool mayTakeArchives() const { return false; }

    // A folder as one tar archive. Nothing or false, with nothing done, where the server cannot.

    /// Makes the folder, which must not exist, and unpacks into it what `next` gives until it gives nothing. Returns
    /// the SHA-256 of each file in it by its path there; none where the server cannot compute them.
    virtual std::optional<QHash<QString, QByteArray>> unpackArchive(const QString & /*folder*/,
                                                                    const std::function<QByteArray()> & /*next*/,
                                                                    const std::stop_token & /*stop*/)
    {
        return std::nullopt;
    }
    /// Packs all that lies in the folder, under names relative to it.
    virtual bool packArchive(const QString & /*folder*/, const std::function<void(QByteArrayView)> & /*take*/,
                             const std::stop_token & /*stop*/)
    {
        return false;
    }

    // Some files of a folder as one tar archive. False, with nothing done, where the server cannot.

    /// Unpacks what `next` gives until it gives nothing; what stands at those places is replaced.
    virtual bool unpackInto(const QString & /*folder*/, const std::function<QByteArray()> & /*next*/,
                            const std::stop_token & /*stop*/)
    {
        return false;
    }
    /// Packs these files, given by their paths within the folder.
    virtual bool packFiles(const QString & /*folder*/, const QStringList & /*files*/,
                           const std::function<void(QByteArrayView)> & /*take*/, const std::stop_token & /*stop*/)
    {
        return false;
    }

    /// Renames a folder within the folder that holds it, unless something of the new name is there, in fewer round
    /// trips than `move`. False, with nothing done, where it could not; `move` tells why.
    virtual bool renameBeside(const QString & /*path*/, const QString & /*toPath*/, const std::stop_token & /*stop*/)
    {
        return false;
    }

    /// Makes a symbolic link. False where the server has none.
    virtual bool createLink(const QString & /*target*/, const QString & /*path*/, const std::stop_token & /*stop*/)
    {
        return false;
    }
    /// The text of a symbolic link; nothing where the server does not tell.
    virtual std::optional<QString> linkTarget(const QString & /*path*/, const std::stop_token & /*stop*/)
    {
        return std::nullopt;
    }
};

} // namespace moorix
