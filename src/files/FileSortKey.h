// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <array>
#include <optional>

namespace moorix {

/// What a file list is ordered by; the order itself is ItemOrder's.
enum class FileSortKey { name, size, date, kind };

inline constexpr std::array allFileSortKeys{FileSortKey::name, FileSortKey::size, FileSortKey::date, FileSortKey::kind};

/// The stored form: the case's name.
QString rawText(FileSortKey key);
/// Accepts any capitalisation ("Name" is the stored default); nothing for other texts.
std::optional<FileSortKey> fileSortKeyFromRaw(const QString &text);

} // namespace moorix
