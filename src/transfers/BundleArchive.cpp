// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/BundleArchive.h"

#include "base/Error.h"
#include "files/Format.h"
#include "transfers/TarPacker.h"
#include "transfers/TarUnpacker.h"

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// The open copies as the files of one folder.
struct Plan
{
    /// The innermost folder that all of them lie in on the server.
    QString folder = {};
    /// Its children are named by their paths within it.
    TransferNode root = {};
    std::vector<std::size_t> indices = {};

    std::size_t indexOf(const TransferNode *node) const { return indices.at(std::size_t(node - root.children.data())); }
};

QString commonFolder(const QStringList &paths)
{
    QString folder = Format::parent(paths.first());
    for (const QString &path : paths) {
        while (!path.startsWith(Format::join(folder, QString())))
            folder = Format::parent(folder);
    }
    return folder;
}

/// What could go into the archive may still have a name that the commands after it cannot carry.
bool isAddressable(const RemoteFileService &server, const QString &path)
{
    try {
        server.requireAddressable(path);
        return true;
    } catch (const Error &) {
        return false;
    }
}

Plan planOf(const RemoteFileService &server, const std::vector<RemoteCopy> &copies, QString RemoteCopy::*onServer,
            QString RemoteCopy::*here)
{
    Plan plan;
    QStringList paths;
    for (std::size_t i = 0; i < copies.size(); ++i) {
        if (copies.at(i).state != RemoteCopy::State::open || !isAddressable(server, copies.at(i).*onServer))
            continue;
        plan.indices.push_back(i);
        paths << copies.at(i).*onServer;
    }
    if (paths.isEmpty())
        return plan;
    plan.folder = commonFolder(paths);
    plan.root.item.isDirectory = true;
    for (const std::size_t index : plan.indices) {
        const RemoteCopy &copy = copies.at(index);
        FileItem file;
        file.path = copy.*here;
        file.name = (copy.*onServer).mid(Format::join(plan.folder, QString()).size());
        file.size = copy.bytes;
        plan.root.children.push_back({file});
    }
    return plan;
}

void settle(RemoteCopy &copy, qint64 size, bool isRight)
{
    copy.state = isRight ? RemoteCopy::State::arrived : RemoteCopy::State::failed;
    copy.copiedBytes = size;
    if (!isRight)
        copy.failure = u"it did not arrive whole in the stream."_s;
}

} // namespace

bool bundleArchive::upload(RemoteFileService &server, std::vector<RemoteCopy> &copies,
                           const RemoteFileService::Advanced &advanced, const std::stop_token &stop)
{
    Plan plan = planOf(server, copies, &RemoteCopy::to, &RemoteCopy::from);
    if (plan.indices.empty())
        return true;
    TarPacker packer(plan.root, [&, told = std::size_t(0)](qint64, qint64 files) mutable {
        for (; told < std::size_t(files); ++told)
            advanced(plan.indexOf(packer.packed().at(told).node));
    });
    if (!server.unpackInto(
            plan.folder, [&packer] { return packer.next(); }, stop))
        return false;
    QStringList paths;
    for (const TarPacker::Packed &packed : packer.packed())
        paths << copies.at(plan.indexOf(packed.node)).to;
    const auto sums = server.checksums(paths, stop);
    if (!sums)
        throw Error(u"Transfer"_s, u"the server cannot tell what has arrived in the stream"_s);
    for (const TarPacker::Packed &packed : packer.packed()) {
        RemoteCopy &copy = copies.at(plan.indexOf(packed.node));
        settle(copy, packed.size, sums->value(copy.to) == packed.sum);
    }
    return true;
}

bool bundleArchive::download(RemoteFileService &server, std::vector<RemoteCopy> &copies,
                             const RemoteFileService::Advanced &advanced, const std::stop_token &stop)
{
    Plan plan = planOf(server, copies, &RemoteCopy::from, &RemoteCopy::to);
    if (plan.indices.empty())
        return true;
    std::vector<TarUnpacker::File> files;
    QStringList names;
    for (TransferNode &node : plan.root.children) {
        files.push_back({&node, node.item.name, node.item.path});
        names << node.item.name;
    }
    TarUnpacker unpacker(files, [&, told = std::size_t(0)](qint64, qint64 count) mutable {
        for (; told < std::size_t(count); ++told)
            advanced(plan.indexOf(unpacker.unpacked().at(told)));
    });
    if (!server.packFiles(
            plan.folder, names, [&unpacker](QByteArrayView bytes) { unpacker.feed(bytes); }, stop))
        return false;
    if (!unpacker.isComplete())
        throw Error(u"Transfer"_s, u"the stream ended too early"_s);
    for (const TransferNode *node : unpacker.unpacked())
        settle(copies.at(plan.indexOf(node)), node->item.size, true);
    return true;
}

} // namespace moorix
