// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "ui/backup/BackupRules.h"

#include <QUuid>
#include <QWidget>

#include <memory>

class QLabel;
class QLineEdit;
class QToolButton;

namespace moorix {

class KeychainStore;

/// The passphrase of a backup, typed twice. One that is stored is never shown; it stays unless another is typed.
class PassphraseSection final : public QWidget
{
    Q_OBJECT

public:
    PassphraseSection(std::shared_ptr<KeychainStore> keychain, const QUuid &owner, QWidget *parent = nullptr);

    TypedPassphrase typed() const;
    /// What is to be stored, or nothing where the stored one stays.
    std::optional<QString> secret() const;
    bool isEdited() const;

signals:
    void edited();

private:
    void look();
    void showStored();

    std::shared_ptr<KeychainStore> m_keychain;
    QUuid m_owner;
    QLineEdit *m_once;
    QLineEdit *m_again;
    QLabel *m_keychainNote;
    bool m_isStored = false;
    Job m_job;
};

} // namespace moorix
