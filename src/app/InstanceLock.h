// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"

#include <QString>

#include <optional>

namespace moorix {

/// The one window that may be open on a user's documents: a lock that ends with the program, however it ends, and the
/// socket beside it at which the window is spoken to. Both lie in the user's private runtime folder and are named after
/// the folders of documents and preferences, so that programs on different ones do not know each other.
class InstanceLock final
{
public:
    struct Holder
    {
        /// 0 when it did not say.
        qint64 process = 0;
        /// Why its window cannot be spoken to; empty when it can, as far as it knows.
        QString deafness = {};
    };

    /// Does not take the lock.
    InstanceLock();

    /// Returns whether this program holds the lock by now. True too where there is no private folder for it: the window
    /// opens all the same, and `socketPath` is empty.
    bool tryToTake();
    /// Tells later starts why this program, which holds the lock, does not hear them.
    void noteDeafness(const QString &reason);
    /// Who holds the lock, when it is another process.
    std::optional<Holder> holder() const;
    /// Empty where there can be no socket.
    const QString &socketPath() const { return m_socketPath; }

private:
    void note(const QByteArray &text);

    QString m_lockPath;
    QString m_socketPath;
    FileDescriptor m_lock;
};

} // namespace moorix
