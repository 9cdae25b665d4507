// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QString>

#include <functional>

namespace moorix {

/// One thing that the command palette offers.
struct PaletteEntry
{
    /// Names it from one run to the next, for the list of what was used last.
    QString id;
    QString text;
    /// Said more quietly behind the text, and searched after it: a menu, an address, a path.
    QString detail = {};
    /// Searched, but never shown.
    QString synonyms = {};
    /// As the system writes them.
    QString keys = {};
    bool isEnabled = true;
    /// Why it is not enabled; may be empty all the same.
    QString refusal = {};
    /// Asked for only when the entry is painted.
    std::function<QIcon()> icon;
    std::function<void()> run;
};

} // namespace moorix
