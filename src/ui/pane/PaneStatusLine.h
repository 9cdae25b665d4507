// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"

#include <QFrame>
#include <QTimer>

#include <optional>

class QLabel;
class QPushButton;

namespace moorix {

class PaneModel;

/// The line below a list: what is selected, how much room is left, and what the pane is waiting for, with a button to
/// give it up. Main thread.
class PaneStatusLine final : public QFrame
{
    Q_OBJECT

public:
    explicit PaneStatusLine(PaneModel &pane, QWidget *parent = nullptr);

private:
    void showState();
    QString summary() const;
    void askForFreeSpace();

    PaneModel &m_pane;
    QLabel *m_text;
    QPushButton *m_cancel;
    /// Gathers changes that come together: the text is made once.
    QTimer m_soon;
    /// Short waits are not worth a flicker.
    QTimer m_patience;
    std::optional<qint64> m_freeSpace;
    QString m_freeSpacePath;
    Job m_freeSpaceJob;
};

} // namespace moorix
