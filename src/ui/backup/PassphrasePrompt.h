// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QLabel;
class QLineEdit;

namespace moorix {

/// Asks, inline, for the passphrase of an archive. What is typed is handed on once and kept nowhere.
class PassphrasePrompt final : public QFrame
{
    Q_OBJECT

public:
    explicit PassphrasePrompt(QWidget *parent = nullptr);

    /// `reason`: why it is asked for.
    void ask(const QString &reason);

signals:
    void given(const QString &passphrase);

private:
    void give();

    QLabel *m_reason;
    QLineEdit *m_field;
};

} // namespace moorix
