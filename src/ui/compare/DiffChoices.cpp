// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/compare/DiffChoices.h"

#include "platform/Preferences.h"

#include <QJsonValue>

#include <algorithm>
#include <array>

namespace moorix {

namespace {

const QString wrappedKey = QStringLiteral("compare.wrapsLines");
const QString spaceKey = QStringLiteral("compare.ignoredSpace");
const QString caseKey = QStringLiteral("compare.ignoresCase");
/// In the order of the enumeration.
const std::array spaceNames{QStringLiteral("none"), QStringLiteral("ends"), QStringLiteral("amount"),
                            QStringLiteral("all")};

} // namespace

DiffChoices DiffChoices::load(const Preferences &preferences)
{
    DiffChoices choices;
    choices.isWrapped = preferences.value(wrappedKey).toBool();
    const auto space = std::ranges::find(spaceNames, preferences.value(spaceKey).toString());
    if (space != spaceNames.end())
        choices.options.space = DiffOptions::Space(space - spaceNames.begin());
    choices.options.ignoresCase = preferences.value(caseKey).toBool();
    return choices;
}

void DiffChoices::save(Preferences &preferences) const
{
    preferences.setValue(wrappedKey, isWrapped);
    preferences.setValue(spaceKey, spaceNames.at(std::size_t(options.space)));
    preferences.setValue(caseKey, options.ignoresCase);
}

} // namespace moorix
