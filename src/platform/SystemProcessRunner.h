// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ProcessRunner.h"

namespace moorix {

/// Real child processes, each in a process group of its own: a cancel reaches the helpers it started, and a Ctrl-C in
/// the terminal that started the program does not reach it. A child ends when the program does.
class SystemProcessRunner final : public ProcessRunner
{
public:
    ProcessResult run(const ProcessRequest &request, const std::stop_token &stop) override;
};

} // namespace moorix
