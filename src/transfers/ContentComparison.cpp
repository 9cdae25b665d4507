// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/ContentComparison.h"

#include "files/FileService.h"
#include "transfers/TransferChecksums.h"

#include <algorithm>

namespace moorix {

namespace {

QByteArray checksumOf(FileService &service, const FileItem &file, const std::stop_token &stop)
{
    const auto sums = transferChecksums::of(service, {file.path}, stop);
    return sums ? sums->value(file.path) : QByteArray();
}

} // namespace

ContentComparison ContentComparison::of(FileService &one, const FileItem &oneFile, FileService &other,
                                        const FileItem &otherFile, const std::stop_token &stop)
{
    constexpr qint64 mostBytesRead = 5 * 1024 * 1024;
    const FileItem first = oneFile.isSymlink ? one.followLink(oneFile, stop) : oneFile;
    const FileItem second = otherFile.isSymlink ? other.followLink(otherFile, stop) : otherFile;
    if (std::max(first.size, second.size) <= mostBytesRead)
        return of(one.read(first.path, stop), other.read(second.path, stop));
    if (first.size != second.size)
        return {Result::different};
    const QByteArray sum = checksumOf(one, first, stop);
    const QByteArray otherSum = sum.isEmpty() ? QByteArray() : checksumOf(other, second, stop);
    if (otherSum.isEmpty())
        return {};
    return {sum == otherSum ? Result::same : Result::different};
}

ContentComparison ContentComparison::of(QByteArrayView one, QByteArrayView other)
{
    const auto parting = std::mismatch(one.begin(), one.end(), other.begin(), other.end());
    if (parting.first == one.end() && parting.second == other.end())
        return {Result::same};
    ContentComparison comparison{Result::different};
    if (one.contains('\0') || other.contains('\0'))
        comparison.byte = parting.first - one.begin();
    else
        comparison.line = 1 + std::count(one.begin(), parting.first, '\n');
    return comparison;
}

} // namespace moorix
