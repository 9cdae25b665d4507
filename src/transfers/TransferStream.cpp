// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferStream.h"

#include "files/Format.h"
#include "files/RemoteFileService.h"
#include "transfers/TarUnpacker.h"
#include "transfers/TransferNames.h"

#include <algorithm>
#include <utility>

namespace moorix {

using namespace Qt::StringLiterals;
using Fate = TransferNode::Fate;

namespace {

/// The folders are there; `path` is where `folder` is to be.
void markEntered(TransferNode &folder, const QString &path)
{
    folder.fate = Fate::entered;
    folder.placedAt = path;
    for (TransferNode &child : folder.children) {
        if (child.isFolder())
            markEntered(child, Format::join(path, child.item.name));
    }
}

} // namespace

bool TransferStream::suits(const TransferNode &folder) const
{
    constexpr qint64 fewestFiles = 8;
    // Larger files are better off where each can go on by itself after a break.
    constexpr qint64 largestMeanBytes = 256 * 1024;
    constexpr qint64 mostBytes = 256 * 1024 * 1024;
    if (m_isRefused || m_route.isServerSource() == m_route.isServerDestination())
        return false;
    const qint64 files = folder.fileCount();
    const qint64 bytes = folder.byteCount();
    return server().mayTakeArchives() && files >= fewestFiles && bytes <= mostBytes &&
           bytes / files <= largestMeanBytes;
}

TransferStream::Result TransferStream::carry(TransferNode &folder, const TransferPlace &place)
{
    const FileItem part =
        transferNames::itemAt(transferNames::stagePath(place.path, m_request.id, folder.item), folder.item);
    const QString name = Format::display(folder.item.name);
    TransferTally::File progress(m_tally, folder.item.name);
    const TransferControl &control = m_link.control();
    const auto breakOff = [&] {
        m_tally.note(u"“%1” broke off as one stream; what had arrived was kept."_s.arg(name));
        return Result::brokenOff;
    };
    Streamed streamed;
    try {
        streamed = stream(folder, part, progress);
        if (streamed && streamed->empty())
            throw Error(u"Transfer"_s, u"nothing came out of the stream"_s);
        if (streamed)
            m_parts.giveName(part, place);
        else
            m_tally.note(u"Not as one stream: the server has no shell that takes whole folders."_s);
    } catch (const Error &error) {
        if (control.isStopped()) {
            if (!control.keepsParts())
                m_parts.remove(part);
            throw;
        }
        if (isConnectionLost(error) || dynamic_cast<const Cancelled *>(&error))
            return breakOff();
        m_parts.remove(part);
        m_tally.note(u"“%1” did not go as one stream: %2"_s.arg(name, error.message().section(u'\n', 0, 0)));
        streamed.reset();
    }
    m_isRefused = !streamed;
    if (!streamed)
        return Result::refused;
    markEntered(folder, place.path);
    qint64 bytes = 0;
    for (TransferNode *node : *streamed) {
        node->fate = Fate::arrived;
        bytes += node->byteCount();
    }
    progress.arrive(bytes, qint64(streamed->size()));
    m_tally.note((m_route.isServerDestination() ? u"Sent as one stream: “%1”, %2 files."_s
                                                : u"Received as one stream: “%1”, %2 files."_s)
                     .arg(name)
                     .arg(streamed->size()));
    return Result::carried;
}

TransferStream::Streamed TransferStream::stream(TransferNode &folder, const FileItem &part,
                                                TransferTally::File &progress)
{
    TransferControl &control = m_link.control();
    control.waitWhilePaused();
    const std::stop_token stop = control.untilPause();
    const TransferGate::Place room = m_gate.enter(m_route.servers(), stop, speed());
    return m_route.isServerDestination() ? upload(folder, part, stop, progress)
                                         : download(folder, part, stop, progress);
}

TransferStream::Streamed TransferStream::upload(TransferNode &folder, const FileItem &part, const std::stop_token &stop,
                                                TransferTally::File &progress)
{
    TarPacker packer(folder, [&progress](qint64 bytes, qint64 files) { progress.moveTo(bytes, files); });
    const auto sums = server().unpackArchive(
        part.path, [&packer] { return packer.next(); }, stop);
    if (!sums)
        return std::nullopt;
    check(packer, part, *sums, stop);
    std::vector<TransferNode *> streamed;
    for (const TarPacker::Packed &packed : packer.packed()) {
        if (!packed.node->isFolder())
            streamed.push_back(packed.node);
    }
    return streamed;
}

/// Compares contents where the server can tell them, else sizes.
void TransferStream::check(const TarPacker &packer, const FileItem &part, const QHash<QString, QByteArray> &sums,
                           const std::stop_token &stop)
{
    QHash<QString, qint64> sizes;
    if (sums.isEmpty()) {
        TransferNode there{part};
        const auto list = [&](const QString &path) { return server().list(path, HiddenFiles::included, stop); };
        TransferScan(list, transferNames::NameSource::server, [](const FileItem &, const QString &) {}).fill(there);
        for (const TreeEntry &entry : entriesOf(there))
            sizes.insert(entry.relative, entry.node->item.size);
    }
    for (const TarPacker::Packed &packed : packer.packed()) {
        const bool isRight = packed.sum.isEmpty() || (sums.isEmpty() ? sizes.value(packed.relative, -1) == packed.size
                                                                     : sums.value(packed.relative) == packed.sum);
        if (!isRight)
            throw Error(u"Transfer"_s, u"“%1” did not arrive whole in the stream."_s.arg(packed.relative));
    }
}

TransferStream::Streamed TransferStream::download(TransferNode &folder, const FileItem &part,
                                                  const std::stop_token &stop, TransferTally::File &progress)
{
    TarUnpacker unpacker(folder, part.path, [&progress](qint64 bytes, qint64 files) { progress.moveTo(bytes, files); });
    if (!server().packArchive(
            folder.item.path, [&unpacker](QByteArrayView bytes) { unpacker.feed(bytes); }, stop)) {
        m_parts.remove(part);
        return std::nullopt;
    }
    if (!unpacker.isComplete())
        throw Error(u"Transfer"_s, u"The stream ended too early."_s);
    unpacker.finishFolders();
    return unpacker.unpacked();
}

} // namespace moorix
