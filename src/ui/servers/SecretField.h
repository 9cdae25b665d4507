// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

#include <optional>

class QLineEdit;
class QPlainTextEdit;
class QToolButton;

namespace moorix {

/// Entry of a secret that may be stored already. A stored one is never shown: the field says that it is there, and
/// leaves it alone unless the user types another or has it removed.
class SecretField final : public QWidget
{
    Q_OBJECT

public:
    enum class Form { line, block };

    explicit SecretField(Form form, QWidget *parent = nullptr);

    /// Whether the keychain holds one.
    void setStored(bool isStored);
    bool isStored() const { return m_isStored; }
    /// The typed secret; empty to remove the stored one; absent to leave it as it is.
    std::optional<QString> secret() const;
    void setPlaceholder(const QString &text);

signals:
    void edited();

private:
    QString typed() const;
    void updateAppearance();

    QLineEdit *m_line = nullptr;
    QPlainTextEdit *m_block = nullptr;
    QToolButton *m_reveal = nullptr;
    QToolButton *m_forget;
    QString m_placeholder;
    bool m_isStored = false;
    bool m_isForgotten = false;
};

} // namespace moorix
