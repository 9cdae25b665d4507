// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffLoader.h"

#include "base/Error.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/LocalFileService.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

void refuseLarge(qint64 bytes)
{
    if (bytes > DiffLoader::maxBytes)
        throw Error(u"Compare"_s, u"One or both files exceed 5 MB — diff is limited to smaller files."_s);
}

/// Listings grow old, and tell of a link only how long its text is.
FileItem fileNow(FileService &service, const FileItem &listed, const std::stop_token &stop)
{
    auto file = service.stat(listed.path, stop);
    if (!file)
        throw FileServiceError::notFound(listed.path);
    if (file->isSymlink)
        *file = service.followLink(*file, stop);
    if (file->isDirectory)
        throw Error(u"Compare"_s, u"“%1” is a folder."_s.arg(Format::display(listed.name)));
    refuseLarge(file->size);
    file->name = listed.name;
    return *file;
}

QByteArray bytesOf(FileService &service, const FileItem &file, const std::stop_token &stop)
{
    // A local file may grow without end while it is read.
    auto *disk = dynamic_cast<LocalFileService *>(&service);
    QByteArray bytes = disk ? disk->readHead(file.path, DiffLoader::maxBytes + 1, stop) : service.read(file.path, stop);
    refuseLarge(bytes.size());
    return bytes;
}

QString obstacleOf(const DiffContent &content, const QByteArray &left, const QByteArray &right)
{
    const auto isText = [](const DiffContent::Side &side) { return side.encoding.has_value(); };
    if (isText(content.left) && isText(content.right))
        return {};
    const QString first = Format::display(content.left.file.name);
    const QString second = Format::display(content.right.file.name);
    QString sentence;
    if (isText(content.left) || isText(content.right))
        sentence = u"“%1” (%2) is no text."_s.arg(isText(content.left) ? second : first,
                                                  isText(content.left) ? u"right"_s : u"left"_s);
    else
        sentence = first == second ? u"“%1” is no text on either side."_s.arg(first)
                                   : u"“%1” and “%2” are no texts."_s.arg(first, second);
    if (content.isSame)
        return sentence + u" Both hold the same bytes."_s;
    const auto parting = std::ranges::mismatch(left, right);
    return sentence + u" They differ from byte %L1 on."_s.arg(parting.in1 - left.begin() + 1);
}

/// A gap with that many lines is never left by a table, which is only made for smaller ones.
bool isAligned(const QList<DiffEngine::Run> &runs)
{
    for (qsizetype i = 1; i < runs.size(); ++i) {
        const bool isGap = runs.at(i - 1).op == DiffOp::remove && runs.at(i).op == DiffOp::insert;
        if (isGap && qint64(runs.at(i - 1).count + 1) * qint64(runs.at(i).count + 1) > DiffEngine::maxCells)
            return false;
    }
    return true;
}

DiffContent::Side sideOf(const FileItem &file, const QByteArray &bytes)
{
    auto decoded = decodedText(bytes);
    return decoded ? DiffContent::Side{file, DiffText(std::move(decoded->text)), decoded->encoding}
                   : DiffContent::Side{file, DiffText(), {}};
}

} // namespace

DiffContent DiffLoader::load(const DiffPair &pair, const std::stop_token &stop)
{
    refuseLarge(std::max(pair.a.size, pair.b.size));
    const FileItem left = fileNow(*pair.leftService, pair.a, stop);
    const FileItem right = fileNow(*pair.rightService, pair.b, stop);
    const QByteArray leftBytes = bytesOf(*pair.leftService, left, stop);
    const QByteArray rightBytes = bytesOf(*pair.rightService, right, stop);
    DiffContent content;
    content.left = sideOf(left, leftBytes);
    content.right = sideOf(right, rightBytes);
    content.isSame = leftBytes == rightBytes;
    content.obstacle = obstacleOf(content, leftBytes, rightBytes);
    if (!content.obstacle.isEmpty())
        return content;
    content.runs = DiffEngine::runs(content.left.text, content.right.text);
    content.isAligned = isAligned(content.runs);
    content.columns =
        std::max(content.left.text.columns(DiffContent::tabWidth), content.right.text.columns(DiffContent::tabWidth));
    return content;
}

} // namespace moorix
