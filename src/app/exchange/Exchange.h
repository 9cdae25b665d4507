// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/exchange/DocumentCopies.h"
#include "app/exchange/ExchangeContent.h"
#include "app/exchange/ImportRow.h"

namespace moorix {

class BackupStore;
class Preferences;
class ServerStore;
class SyncPairStore;

/// The stores that are exported and imported into. Main thread; they outlive it.
class Exchange final
{
public:
    struct Stores
    {
        SettingsStore &settings;
        Preferences &preferences;
        ServerStore &servers;
        BackupStore &backups;
        SyncPairStore &syncPairs;
    };

    explicit Exchange(Stores stores)
        : m_stores(stores)
    {
    }

    /// As things stand, also by what other programs have saved.
    ExchangeDocuments documents() const;

    /// Carries an import out on what is here at this moment: all of it, or nothing, whatever cannot be written.
    /// `copies` are those of the documents as they are. Throws an Error that says why nothing was imported. Returns
    /// what is here then.
    ExchangeDocuments apply(const ExchangeContent &content, const ImportChoice &choice,
                            const QList<documentCopies::Copy> &copies) const;
    /// Takes an import back: everything becomes `before`. `copies` are those of the documents as they are by now, too.
    /// Throws an Error, and changes nothing, when something else than `after` is here, and when it cannot be written.
    void undo(const ExchangeDocuments &before, const ExchangeDocuments &after,
              const QList<documentCopies::Copy> &copies) const;

private:
    void putAll(const ExchangeDocuments &target) const;
    void putBack(const ExchangeDocuments &before, const QList<documentCopies::Copy> &copies) const;
    void putSettings(const SettingsSnapshot &settings) const;

    Stores m_stores;
};

} // namespace moorix
