// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/InstanceMessage.h"

#include <chrono>

namespace moorix {

/// What became of handing a request over.
enum class HandOver { accepted, refused, tooMuch, unanswered };

/// Hands a request to the window that listens at the socket, which may only be starting yet, and waits for its answer.
/// Blocking; needs no application object.
HandOver handOver(const QString &socketPath, const OpenRequest &request, std::chrono::milliseconds patience);

/// The targets of a command line as they are to be handed over: local ones absolute, by this process's folder.
QStringList absoluteTargets(const QStringList &targets);

} // namespace moorix
