// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// What the program says about itself.
namespace moorix::ProgramInfo {

/// "0.1.0"
QString version();

} // namespace moorix::ProgramInfo
