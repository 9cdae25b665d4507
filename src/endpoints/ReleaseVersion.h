// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

#include <compare>
#include <optional>

/// Which of two versions is the newer one.
namespace moorix::ReleaseVersion {

/// The numbers of "v1.2.0-beta3": 1, 2, 0. A leading "v" and what follows a hyphen or a plus sign do not count; of each
/// part its leading digits, none being 0; a number beyond 64 bits is the largest one.
QList<quint64> numericVersionParts(const QString &version);
/// Number by number; a missing one is 0.
std::strong_ordering compareVersion(const QString &a, const QString &b);
/// Nothing where the text is no integer.
std::optional<qint64> comparableBuildNumber(const std::optional<QString> &build);
/// By the version, then by the build number where both have one.
bool isNewer(const QString &version, const std::optional<QString> &build, const QString &thanVersion,
             const std::optional<QString> &thanBuild);

} // namespace moorix::ReleaseVersion
