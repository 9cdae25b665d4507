// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "terminal/PTYRunner.h"
#include "terminal/Runner.h"
#include "ui/terminal/TerminalWidget.h"

#include <memory>

namespace moorix {

class TerminalLocalEcho;

/// A terminal with a program in it. The program's end leaves the text as it is, and another can be started in its
/// place. Main thread.
class TerminalView final : public TerminalWidget, public ProgramTerminal
{
    Q_OBJECT

public:
    explicit TerminalView(QWidget *parent = nullptr);
    ~TerminalView() override;

    void feed(QByteArrayView bytes) override;
    void startProcess(const TerminalLaunch &launch) override;
    bool isRunning() const { return m_process && m_process->isRunning(); }
    /// 0 unless running.
    pid_t processId() const { return m_process ? m_process->processId() : 0; }
    /// Another program than the one that was started has the keyboard.
    bool hasForegroundProgram() const { return m_process && m_process->hasForegroundProgram(); }
    /// Ends the program at once, without the signal that it has.
    void dropProcess();

    /// Types a text that nobody typed. Nothing of it is executed unless it holds a line end.
    void typeText(const QString &text);
    /// Whether the shell waits for a command, and nothing stands on its line yet: by its marks (OSC 133), and by what
    /// the user has typed. False where that is not known.
    bool isAtEmptyPrompt();

    /// Whether to paint with OpenGL, from the moment on at which the view is in a window.
    void setDesiredGPU(bool isDesired);
    bool desiredGPU() const { return m_desiredGPU; }
    TerminalLocalEcho &localEcho() { return *m_localEcho; }

signals:
    /// With the exit code as shells count.
    void processEnded(std::optional<int> exitCode);
    /// Enter was pressed although no program is there.
    void restartRequested();

protected:
    bool event(QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void send(const QByteArray &bytes);
    void noteTyped(const QByteArray &bytes);
    void applyGPU();

    TerminalLocalEcho *m_localEcho;
    std::unique_ptr<PTYRunner> m_process;
    bool m_desiredGPU = false;
    /// Since the last Enter or interrupt.
    bool m_hasTyped = false;
    /// How many there had been when something was typed last: the shell may not have noticed yet.
    qint64 m_promptsAnswered = 0;
};

} // namespace moorix
