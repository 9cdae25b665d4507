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

QByteArray bytesAgain(const DiffContent::Side &side)
{
    return side.encoding ? encodedText(side.text.text(), *side.encoding).value_or(QByteArray()) : side.bytes;
}

QString obstacleOf(const DiffContent &content)
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
    const QByteArray left = bytesAgain(content.left);
    const QByteArray right = bytesAgain(content.right);
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

bool holdTheSame(const DiffContent &content)
{
    const DiffContent::Side &left = content.left;
    const DiffContent::Side &right = content.right;
    return left.encoding == right.encoding && left.text.text() == right.text.text() && left.bytes == right.bytes;
}

void throwIfStopped(const std::stop_token &stop)
{
    if (stop.stop_requested())
        throw Cancelled();
}

DiffContent::Side sideOf(FileService &service, const FileItem &file, const std::stop_token &stop)
{
    DiffContent::Side side;
    side.file = file;
    QByteArray bytes = bytesOf(service, file, stop);
    throwIfStopped(stop);
    auto decoded = decodedText(bytes);
    if (!decoded) {
        side.bytes = std::move(bytes);
        return side;
    }
    side.text = DiffText(std::move(decoded->text));
    side.encoding = decoded->encoding;
    return side;
}

} // namespace

DiffContent::Side DiffLoader::read(FileService &service, const FileItem &file, const std::stop_token &stop)
{
    return sideOf(service, fileNow(service, file, stop), stop);
}

DiffContent DiffLoader::compare(DiffContent::Side left, DiffContent::Side right, const DiffOptions &options,
                                const std::stop_token &stop)
{
    DiffContent content;
    content.left = std::move(left);
    content.right = std::move(right);
    content.options = options;
    content.isSame = holdTheSame(content);
    content.obstacle = obstacleOf(content);
    if (!content.obstacle.isEmpty())
        return content;
    throwIfStopped(stop);
    content.runs = DiffEngine::runs(content.left.text, content.right.text, options);
    content.isAligned = isAligned(content.runs);
    throwIfStopped(stop);
    content.columns =
        std::max(content.left.text.columns(DiffContent::tabWidth), content.right.text.columns(DiffContent::tabWidth));
    return content;
}

DiffContent DiffLoader::load(const DiffPair &pair, const DiffOptions &options, const std::stop_token &stop)
{
    refuseLarge(std::max(pair.a.size, pair.b.size));
    const FileItem left = fileNow(*pair.leftService, pair.a, stop);
    const FileItem right = fileNow(*pair.rightService, pair.b, stop);
    return compare(sideOf(*pair.leftService, left, stop), sideOf(*pair.rightService, right, stop), options, stop);
}

} // namespace moorix
