// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QLabel;
class QLineEdit;
class QToolButton;

namespace moorix {

/// The line below a terminal in which a text is looked for: Enter goes up to the one before, Shift+Enter down to the
/// next, Escape closes.
class TerminalSearchBar final : public QFrame
{
    Q_OBJECT

public:
    explicit TerminalSearchBar(QWidget *parent = nullptr);

    /// Shows it, with `text` unless that is empty.
    void open(const QString &text);
    void close();
    QString needle() const;
    Qt::CaseSensitivity sensitivity() const;
    void setCount(const QString &text, bool hasFailed);

signals:
    void needleChanged();
    void stepRequested(bool isBackward);
    void closed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QLineEdit *m_edit;
    QLabel *m_count;
    QToolButton *m_case;
};

} // namespace moorix
