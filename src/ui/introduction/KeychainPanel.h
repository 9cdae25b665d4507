// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "platform/Keychain.h"

#include <QWidget>

#include <array>
#include <memory>

class QLabel;
class QPushButton;

namespace moorix {

class KeychainStore;

/// Asks the keychain how far it can be used, and says which part is missing and what to do about it.
class KeychainPanel final : public QWidget
{
    Q_OBJECT

public:
    explicit KeychainPanel(std::shared_ptr<KeychainStore> keychain, QWidget *parent = nullptr);
    ~KeychainPanel() override;

    /// On a worker; the panel says meanwhile that it is looking.
    void check();

private:
    struct Part
    {
        QLabel *mark;
        QLabel *name;
    };
    void show(const KeychainReport &report);
    void showParts(std::optional<KeychainReport::State> state);

    std::shared_ptr<KeychainStore> m_keychain;
    /// Bus, service, keyring, lock.
    std::array<Part, 4> m_parts{};
    QLabel *m_sentence;
    QLabel *m_words;
    QPushButton *m_again;
    Job m_job;
};

} // namespace moorix
