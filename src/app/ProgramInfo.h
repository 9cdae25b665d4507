// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// What the program says about itself.
namespace moorix::ProgramInfo {

/// "0.1.0"
QString version();
/// Tells builds of one version apart: a number that grows.
QString build();

} // namespace moorix::ProgramInfo
