// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "monitor/ProcessSignals.h"

#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;

namespace moorix {

class LocalMonitor;
class MessageBar;
class ProcessModel;
class ProcessTreeView;

/// The processes of this machine: searched, sorted, as a list or a tree, and sent signals.
class ProcessPage final : public QWidget
{
    Q_OBJECT

public:
    /// The monitor outlives it; somebody else tells it when to read.
    explicit ProcessPage(LocalMonitor &monitor, QWidget *parent = nullptr);

    void focusSearch();
    void focusList();

protected:
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *makeBar();
    void connectParts();
    void follow();
    /// Changes the arrangement and keeps place and selection.
    void rearrange(const std::function<void()> &change);
    void sortBy(int column);
    void showMenu(const QPoint &position);
    void ask(processSignals::Signal signal);
    void send(const LocalProcess &process, processSignals::Signal signal);
    void showCount();

    LocalMonitor &m_monitor;
    ProcessModel *m_model;
    ProcessTreeView *m_list;
    QLineEdit *m_search = nullptr;
    QPushButton *m_tree = nullptr;
    QPushButton *m_kernel = nullptr;
    QPushButton *m_end = nullptr;
    QLabel *m_count = nullptr;
    MessageBar *m_message;
    Job m_job;
};

} // namespace moorix
