// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace moorix::test::SmallDisk {

constexpr qsizetype bytes = 8 * 1024 * 1024;

/// The folder on the small disk, for the test program that is run on it; nothing in any other.
std::optional<QString> folder();

/// Runs a class of this test program where `mountPoint` is a disk of `bytes`, which no other program sees, and returns
/// whether it succeeded; `said` is its output. Needs root.
bool run(const QString &mountPoint, const QString &folder, const char *testClass, QByteArray &said);

} // namespace moorix::test::SmallDisk
