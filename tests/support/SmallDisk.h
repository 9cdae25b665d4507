// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

namespace moorix::test::SmallDisk {

constexpr qsizetype bytes = 8 * 1024 * 1024;

/// The folder on the small disk, for the test program that is run on it; nothing in any other.
std::optional<QString> folder();

/// Verifies that a class of this test program passes and prints `row`, with its folder on a disk of `bytes` that no
/// other program sees. `inside` is that folder on the disk; empty for the disk itself. Skips without root, so that it
/// is all a test does.
void verify(const char *testClass, const char *row, const QString &inside = QStringLiteral("/inside"));

} // namespace moorix::test::SmallDisk
