// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "transfers/TransferConflict.h"

#include <QFrame>
#include <QPointer>
#include <QTimer>

class QAction;
class QCheckBox;
class QLabel;
class QLayout;
class QPushButton;

namespace moorix {

class TransferEngine;

/// Asks, inside the window, what to do with a file that stands where a copy should go. Shown while the transfer waits,
/// and a moment longer: the next question often follows at once. Takes the keyboard from whoever does not type, and
/// gives it back.
class ConflictBar final : public QFrame
{
    Q_OBJECT

public:
    explicit ConflictBar(TransferEngine &transfers, QWidget *parent = nullptr);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void follow();
    void leave();
    void noteKeyboard();
    void takeKeyboard();
    void addChoice(QLayout &row, const QString &text, const QString &objectName, ConflictAnswer::Choice choice);
    void addConditions(QLayout &row);
    void answer(ConflictAnswer::Choice choice);
    void compare();
    void tell(const QString &comparison);

    TransferEngine &m_transfers;
    QLabel *m_question;
    QLabel *m_existing;
    QLabel *m_source;
    /// What comparing the two has brought; hidden before.
    QLabel *m_comparison;
    QPushButton *m_compare;
    QCheckBox *m_forAll;
    QAction *m_older = nullptr;
    QAction *m_otherSize = nullptr;
    QAction *m_resume = nullptr;
    Job m_comparing;
    QTimer m_grace;
    /// Who had the keyboard before.
    QPointer<QWidget> m_before;
    /// The question has been asked of somebody who typed.
    bool m_isUnheard = false;
};

} // namespace moorix
