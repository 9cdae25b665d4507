// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/FTPListedZone.h"

#include "remote/FTPListParser.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace moorix::FTPListedZone {

namespace {

using std::chrono::seconds;

/// Zones differ by quarters of an hour, and listings leave out the seconds.
std::optional<seconds> zoneOf(const QDateTime &listed, const QDateTime &modified)
{
    constexpr qint64 quarter = 15 * 60;
    constexpr qint64 furthest = 14 * 60 * 60;
    constexpr qint64 tolerance = 60;
    const qint64 difference = modified.secsTo(listed);
    const qint64 ahead = qint64(std::llround(double(difference) / double(quarter))) * quarter;
    const bool fits = std::abs(ahead) <= furthest && std::abs(difference - ahead) <= tolerance;
    return fits ? std::optional(seconds(ahead)) : std::nullopt;
}

} // namespace

std::optional<seconds> aheadOfUTC(const QList<FileItem> &files, const QList<FTPReply> &replies)
{
    constexpr int status = 213;
    QList<seconds> zones;
    for (qsizetype i = 0; i < std::min(files.size(), replies.size()); ++i) {
        const auto modified = FTPListParser::parseStamp(replies.at(i).text.trimmed());
        if (replies.at(i).code != status || !modified || !files.at(i).modified)
            continue;
        if (const auto zone = zoneOf(*files.at(i).modified, *modified))
            zones << *zone;
    }
    // Of as many votes the first counts.
    const auto most = std::max_element(zones.cbegin(), zones.cend(), [&zones](seconds one, seconds other) {
        return zones.count(one) < zones.count(other);
    });
    return most == zones.cend() ? std::nullopt : std::optional(*most);
}

bool isUnknown(const FTPReply &reply)
{
    constexpr int notUnderstood = 500;
    constexpr int notForThat = 504;
    return reply.code >= notUnderstood && reply.code <= notForThat;
}

} // namespace moorix::FTPListedZone
