// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/PassphraseSection.h"

#include "servers/KeychainStore.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>
#include <QVBoxLayout>

namespace moorix {

using namespace Qt::StringLiterals;
using Widgets::TextRole;

namespace {

struct Stored
{
    bool isThere = false;
    /// The keychain's words when it could not be asked.
    QString problem;
};

} // namespace

PassphraseSection::PassphraseSection(std::shared_ptr<KeychainStore> keychain, const QUuid &owner, QWidget *parent)
    : QWidget(parent)
    , m_keychain(std::move(keychain))
    , m_owner(owner)
    , m_once(new QLineEdit(this))
    , m_again(new QLineEdit(this))
    , m_keychainNote(Widgets::label({}, TextRole::error, this))
{
    QToolButton *reveal = Widgets::iconButton(u"view-visible"_s, tr("Show what is typed"), u"backupReveal"_s, this);
    reveal->setCheckable(true);
    for (QLineEdit *field : {m_once, m_again}) {
        field->setEchoMode(QLineEdit::Password);
        connect(field, &QLineEdit::textEdited, this, &PassphraseSection::edited);
        connect(reveal, &QToolButton::toggled, field,
                [field](bool shown) { field->setEchoMode(shown ? QLineEdit::Normal : QLineEdit::Password); });
    }
    m_once->setObjectName(u"backupPassphrase"_s);
    m_once->setAccessibleName(tr("Passphrase"));
    m_again->setObjectName(u"backupPassphraseAgain"_s);
    m_again->setAccessibleName(tr("Passphrase once more"));
    m_keychainNote->setObjectName(u"backupKeychainNote"_s);
    m_keychainNote->hide();
    setFocusProxy(m_once);
    auto *fields = new QHBoxLayout;
    fields->addWidget(m_once, 1);
    fields->addWidget(m_again, 1);
    fields->addWidget(reveal);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addLayout(fields);
    column->addWidget(m_keychainNote);
    column->addWidget(Widgets::label(
        tr("It is kept in the keychain only. If it is lost, nobody can open the archives any more, so keep a copy "
           "where you find it without this computer. Make it long, such as six random words: whoever gets hold of an "
           "archive can try passphrases as fast as computers go."),
        TextRole::muted, this));
    showStored();
    look();
}

void PassphraseSection::look()
{
    m_job = runJob(
        [keychain = m_keychain, owner = m_owner](const std::stop_token &) {
            const bool isThere = keychain->get(owner, SecretKind::passphrase).has_value();
            return Stored{isThere, isThere ? QString() : keychain->lastProblem()};
        },
        [this](const Stored &stored) {
            m_isStored = stored.isThere;
            m_keychainNote->setText(
                tr("The keychain cannot be used: %1 A passphrase is then remembered until Moorix ends, and the backup "
                   "cannot run after that.")
                    .arg(stored.problem));
            m_keychainNote->setVisible(!stored.problem.isEmpty());
            showStored();
        },
        [](const Error &) {});
}

void PassphraseSection::showStored()
{
    m_once->setPlaceholderText(m_isStored ? tr("•••• stored; type to replace it") : tr("Passphrase"));
    m_again->setPlaceholderText(m_isStored ? tr("The new one once more") : tr("Once more"));
}

TypedPassphrase PassphraseSection::typed() const
{
    return {m_once->text(), m_again->text(), m_isStored};
}

std::optional<QString> PassphraseSection::secret() const
{
    return m_once->text().isEmpty() ? std::nullopt : std::optional(m_once->text());
}

bool PassphraseSection::isEdited() const
{
    return !m_once->text().isEmpty() || !m_again->text().isEmpty();
}

} // namespace moorix
