// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferCarrier.h"

#include "base/Error.h"
#include "files/FileService.h"
#include "transfers/TransferChecksums.h"
#include "transfers/TransferNames.h"

namespace moorix {

using namespace Qt::StringLiterals;
using localTransfer::Existing;
using localTransfer::Start;
using Standing = TransferPlace::Standing;

void TransferCarrier::carry(const FileItem &file, const TransferPlace &place)
{
    m_route.requireAddressable(file.path, place.path);
    const FileItem part = transferNames::itemAt(transferNames::partPath(place.path, m_request.id, file), file);
    const bool replaces = place.standing == Standing::replaced;
    TransferCopy copy{file, part.path};
    copy.flush = replaces ? localTransfer::Flush::toDisk : localTransfer::Flush::no;
    copy.start = place.hasPart || place.isContinued ? Start::resumed : Start::fresh;
    TransferTally::File progress(m_tally, file.name);
    try {
        if (place.isContinued && !place.hasPart)
            m_route.destination().copy(transferNames::itemAt(place.path, file), part.path, m_link.control().token());
        carryPart(copy, place, progress);
        if (place.replacesForeign())
            requireOtherPlace(file, part.path);
        m_parts.giveName(part, place);
    } catch (const Error &error) {
        const TransferControl &control = m_link.control();
        if (control.isStopped() ? !control.keepsParts() : !isConnectionLost(error))
            m_parts.remove(part);
        throw;
    }
    progress.arrive(file.isSymlink ? 0 : file.size);
}

void TransferCarrier::carryPart(const TransferCopy &copy, const TransferPlace &place, TransferTally::File &progress)
{
    const FileItem part = transferNames::itemAt(copy.toPath, copy.file);
    const bool wasContinued = copyAcrossBreaks(copy, place, progress) == TransferRoute::Way::continued;
    try {
        verify(copy.file, part);
        if (!wasContinued)
            return;
        // What the user takes for the beginning of a file may be none, and the original would be gone.
        const bool mustBeKnown = m_request.isMove && place.isContinued;
        if (!checkContinued(copy.file, part) && mustBeKnown)
            throw Error(u"Transfer"_s, u"nothing tells what the existing file holds"_s);
        m_tally.noteMore(1, u"1 file went on where its copy had stopped."_s,
                         u"%1 files went on where their copies had stopped."_s);
        return;
    } catch (const Error &error) {
        if (!wasContinued || m_link.control().isStopped() || isConnectionLost(error))
            throw;
    }
    // What was there is no beginning of this file, so it is copied as a whole.
    m_parts.remove(part);
    TransferCopy afresh = copy;
    afresh.start = Start::fresh;
    copyAcrossBreaks(afresh, {}, progress);
    verify(copy.file, part);
}

TransferRoute::Way TransferCarrier::copyAcrossBreaks(TransferCopy copy, const TransferPlace &place,
                                                     TransferTally::File &progress)
{
    TransferLink::Tries tries(m_link);
    TransferControl &control = m_link.control();
    const FileItem part = transferNames::itemAt(copy.toPath, copy.file);
    std::optional<qint64> first;
    copy.progress = [&](qint64 bytes) {
        if (bytes > first.value_or(bytes))
            tries.restored();
        const bool isOfEarlierRun = !first && copy.start == Start::resumed && progress.bytes() == 0;
        first = first.value_or(bytes);
        if (isOfEarlierRun)
            progress.find(bytes);
        else
            progress.moveTo(bytes);
    };
    while (true) {
        control.waitWhilePaused();
        first.reset();
        // Our own part is the beginning of what the file was.
        if (copy.start == Start::resumed && !place.isContinued && !isAsKnown(copy.file)) {
            m_parts.remove(part);
            copy.start = Start::fresh;
        }
        try {
            const std::stop_token stop = control.untilPause();
            const TransferGate::Place room = m_gate.enter(m_route.servers(), stop, speed());
            return copyAtThisSpeed(copy, stop);
        } catch (const Cancelled &) {
            if (control.isStopped())
                throw;
        } catch (const Error &error) {
            // A part of a file that may not be written to can be begun, but not continued.
            if (copy.start == Start::resumed && !isConnectionLost(error)) {
                m_parts.remove(part);
                copy.start = Start::fresh;
                continue;
            }
            tries.wait(error);
        }
        copy.start = Start::resumed;
    }
}

/// A client cannot be told another limit: where that pays, it is ended by a change, like by a pause, and another one
/// goes on. Of a small file the next client would have to do most once more.
TransferRoute::Way TransferCarrier::copyAtThisSpeed(const TransferCopy &copy, const std::stop_token &stop)
{
    constexpr qint64 leastBytes = 8 * 1024 * 1024;
    const bool canGoOn = m_route.isServerSource() != m_route.isServerDestination();
    if (!speed() || !canGoOn || copy.file.size < leastBytes)
        return m_route.copyFile(copy, stop);
    std::stop_source either;
    const auto end = [&either] { either.request_stop(); };
    const std::stop_callback onStop(stop, end);
    const std::stop_callback onChange(speed()->untilChange(), end);
    return m_route.copyFile(copy, either.get_token());
}

void TransferCarrier::verify(const FileItem &file, const FileItem &part)
{
    if (file.isSymlink)
        return;
    const auto sizes = [&](const std::stop_token &stop, bool) {
        const qint64 copied = m_route.sizeAtDestination(part, stop);
        // A copy may only count as whole, and its original as superfluous, by what the original is at this moment.
        const bool isTold = !m_request.isMove && copied == file.size;
        return std::pair(copied, isTold ? file.size : m_route.sizeAtSource(file, stop));
    };
    const auto [copied, expected] = m_link.repeat(sizes);
    if (copied != expected) {
        throw Error(
            u"Transfer"_s,
            u"the copy has %1 bytes, the original %2; it may have changed meanwhile"_s.arg(copied).arg(expected));
    }
    requireUnchanged(file);
}

/// False where one of the sides cannot tell; the sizes have to do then.
bool TransferCarrier::checkContinued(const FileItem &file, const FileItem &part)
{
    const auto sums = [&](FileService &service, const QString &path) {
        return m_link.repeat(
            [&](const std::stop_token &stop, bool) { return transferChecksums::of(service, {path}, stop); });
    };
    const auto copied = sums(m_route.destination(), part.path);
    const auto original = copied ? sums(m_route.source(), file.path) : std::nullopt;
    if (original && !transferChecksums::areSame(*original, file.path, *copied, part.path))
        throw Error(u"Transfer"_s, u"the copy differs from the original"_s);
    return original.has_value();
}

void TransferCarrier::copyTreeOnServer(const FileItem &folder, const TransferPlace &place)
{
    const FileItem part = transferNames::itemAt(transferNames::partPath(place.path, m_request.id, folder), folder);
    try {
        m_link.repeat([&](const std::stop_token &stop, bool isFirst) {
            const TransferGate::Place room = m_gate.enter(m_route.servers(), stop, speed());
            if (!isFirst || place.hasPart)
                m_parts.clear(part, stop);
            m_route.destination().copy(folder, part.path, stop);
        });
        m_parts.giveName(part, place);
    } catch (const Error &) {
        m_parts.remove(part);
        throw;
    }
}

bool TransferCarrier::moveInOneStep(const FileItem &item, const TransferPlace &place)
{
    if (!m_route.isWithinOnePlace() || place.standing == Standing::merged)
        return false;
    const Existing existing = place.standing == Standing::replaced ? Existing::replace : Existing::refuse;
    return m_link.repeat([&](const std::stop_token &stop, bool isFirst) {
        if (!isFirst && !m_route.source().stat(item.path, stop))
            return true;
        return m_route.rename(item, place.path, existing, stop);
    });
}

} // namespace moorix
