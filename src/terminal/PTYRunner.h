// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PseudoTerminal.h"
#include "platform/TerminalProcess.h"
#include "terminal/PTYReader.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace moorix {

/// Drives one program on a pseudo-terminal. A program that prints without end never holds the main thread for longer
/// than a few milliseconds at a time, and one that does not read never makes it wait. Main thread.
class PTYRunner final : public QObject
{
    Q_OBJECT

public:
    /// More input than this, which the program has not read yet, is not taken.
    static constexpr qsizetype mostPendingInput = 16 * 1024 * 1024;

    explicit PTYRunner(QObject *parent = nullptr);
    /// Hangs up; what does not end by that is killed a moment later, on a worker.
    ~PTYRunner() override;

    /// What the program prints, in pieces of at most 64 KiB.
    std::function<void(QByteArrayView bytes)> onOutput;
    /// The program has ended and all it printed has been delivered. Called once, with the exit code as shells count,
    /// or nothing where that is unknown. May destroy this object.
    std::function<void(std::optional<int> exitCode)> onExit;

    /// Throws an Error when the program cannot be started. Once only.
    void start(const TerminalLaunch &launch, int rows, int columns);
    bool isRunning() const { return m_process != nullptr; }
    /// 0 unless running.
    pid_t processId() const { return m_process ? m_process->id() : 0; }
    /// Whether another program than the one that was started has the keyboard.
    bool hasForegroundProgram() const;

    /// Types these bytes: at once as far as the program reads, the rest as it does. False when there is no room for
    /// them, or no program; nothing of them is typed then. A single character that interrupts or stops the program goes
    /// at once, and what waits before it is dropped.
    bool write(QByteArrayView bytes);
    void resize(int rows, int columns);
    /// Hangs up, as closing a terminal's window does, and kills what has not ended half a second later. `onExit`
    /// follows.
    void terminate();

private:
    void readSome();
    void writeSome();
    void followExit();
    void finish();

    std::optional<PseudoTerminal> m_master;
    std::unique_ptr<TerminalProcess> m_process;
    std::unique_ptr<PTYReader> m_reader;
    std::unique_ptr<QSocketNotifier> m_source;
    std::unique_ptr<QSocketNotifier> m_writable;
    std::unique_ptr<QSocketNotifier> m_ended;
    QTimer m_exitPoll;
    QTimer m_killer;
    QByteArray m_pending;
    qsizetype m_written = 0;
    /// What the reader has handed over, and how much of that was delivered.
    std::vector<char> m_taken;
    std::size_t m_delivered = 0;
    std::optional<int> m_exitCode;
    /// What may still be delivered once the program has ended; another program may go on printing for ever.
    qsizetype m_bytesLeft = 0;
    bool m_outputEnded = false;
    bool m_exitNotified = false;
};

} // namespace moorix
