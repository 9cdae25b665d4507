// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QRegularExpression>
#include <QStringList>

namespace moorix {

/// What a pair leaves out, as patterns like those of version control. "*", "?" and "[a-z]" stand within one name, "**"
/// for any folders. A pattern without a slash is about names anywhere; one with a slash, about paths from the root.
/// With a slash at its end it is about folders only. Lines that are empty or begin with "#" count for nothing.
class SyncIgnore final
{
public:
    explicit SyncIgnore(const QStringList &patterns = {});

    /// Whether the entry itself is left out; what lies in a folder that is goes with it and need not be asked for.
    bool matches(const QString &relPath, bool isDirectory) const;

private:
    struct Rule
    {
        QRegularExpression expression;
        bool isForFolders = false;
        bool isForNames = false;
    };
    QList<Rule> m_rules;
};

} // namespace moorix
