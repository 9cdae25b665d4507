// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/introduction/KeychainPanel.h"

#include "servers/KeychainStore.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace moorix {

namespace {

using State = KeychainReport::State;

QString sentenceOf(State state)
{
    switch (state) {
    case State::noMessageBus:
        return KeychainPanel::tr("This session has no message bus, so no keychain can be reached. Install the packages "
                                 "“dbus-user-session” and “gnome-keyring” (or KWallet, or KeePassXC), log out and in "
                                 "again. Until then passwords are kept for one run only.");
    case State::noService:
        return KeychainPanel::tr("No keychain is running. Install “gnome-keyring” and log in again, or start KWallet, "
                                 "or turn on the Secret Service integration in the settings of KeePassXC. Until then "
                                 "passwords are kept for one run only.");
    case State::noKeyring:
        return KeychainPanel::tr("The keychain is running and has no keyring yet. It will ask you for a new password "
                                 "for one when the first secret is saved.");
    case State::locked:
        return KeychainPanel::tr("The keychain is there and locked. It will ask you for its password when a secret is "
                                 "needed or saved.");
    case State::ready:
        break;
    }
    return KeychainPanel::tr("The keychain is there and unlocked. Passwords and passphrases are kept in it and nowhere "
                             "else.");
}

/// The part at which a state stops; one behind the last where all is well.
std::size_t firstMissing(State state)
{
    return std::size_t(state);
}

} // namespace

KeychainPanel::KeychainPanel(std::shared_ptr<KeychainStore> keychain, QWidget *parent)
    : QWidget(parent)
    , m_keychain(std::move(keychain))
    , m_sentence(Widgets::label({}, Widgets::TextRole::body, this))
    , m_words(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_again(Widgets::button(tr("Check again"), QStringLiteral("keychainAgain"), this))
{
    setObjectName(QStringLiteral("keychainPanel"));
    m_sentence->setObjectName(QStringLiteral("keychainSentence"));
    m_words->setObjectName(QStringLiteral("keychainWords"));
    m_words->setTextInteractionFlags(Qt::TextSelectableByMouse);
    const std::array names{tr("Message bus of the session"), tr("Keychain (Secret Service)"), tr("Keyring to store in"),
                           tr("Unlocked")};
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(6);
    grid->setColumnStretch(1, 1);
    for (std::size_t i = 0; i < m_parts.size(); ++i) {
        m_parts.at(i) = {new QLabel(this), new QLabel(names.at(i), this)};
        m_parts.at(i).mark->setFixedWidth(18);
        grid->addWidget(m_parts.at(i).mark, int(i), 0);
        grid->addWidget(m_parts.at(i).name, int(i), 1);
    }
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(14);
    column->addLayout(grid);
    column->addWidget(m_sentence);
    column->addWidget(m_words);
    column->addWidget(m_again, 0, Qt::AlignLeft);
    connect(m_again, &QPushButton::clicked, this, &KeychainPanel::check);
    showParts(std::nullopt);
}

KeychainPanel::~KeychainPanel() = default;

void KeychainPanel::check()
{
    m_again->setEnabled(false);
    m_sentence->setText(tr("Asking the keychain…"));
    m_words->hide();
    showParts(std::nullopt);
    m_job = runJob([keychain = m_keychain](const std::stop_token &) { return keychain->report(); },
                   [this](const KeychainReport &report) { show(report); },
                   [this](const Error &error) {
                       m_again->setEnabled(true);
                       m_sentence->setText(tr("The keychain could not be asked."));
                       m_words->setText(error.message());
                       m_words->show();
                   });
}

void KeychainPanel::show(const KeychainReport &report)
{
    m_again->setEnabled(true);
    m_sentence->setText(sentenceOf(report.state));
    m_words->setText(tr("In the system's words: %1").arg(report.words));
    m_words->setVisible(!report.words.isEmpty());
    showParts(report.state);
}

void KeychainPanel::showParts(std::optional<KeychainReport::State> state)
{
    const std::array names{tr("there"), tr("missing"), tr("not known")};
    for (std::size_t i = 0; i < m_parts.size(); ++i) {
        const Part &part = m_parts.at(i);
        const bool isKnown = state && i <= firstMissing(*state);
        const bool isThere = isKnown && i < firstMissing(*state);
        // A lock, and a keyring that comes with the first secret, are no faults.
        const bool isFault = isKnown && !isThere && i < 2;
        part.mark->setText(isThere ? QStringLiteral("✓") : isFault ? QStringLiteral("✗") : QStringLiteral("–"));
        part.mark->setAccessibleName(isThere ? names[0] : isKnown ? names[1] : names[2]);
        Widgets::setStyleProperty(*part.mark, "tone",
                                  isThere   ? QStringLiteral("good")
                                  : isFault ? QStringLiteral("danger")
                                            : QStringLiteral("quiet"));
        Widgets::setStyleProperty(*part.name, "tone", isKnown ? QString() : QStringLiteral("quiet"));
    }
}

} // namespace moorix
