// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/PTYRunner.h"

#include "base/Job.h"

#include <QElapsedTimer>
#include <QPointer>

#include <algorithm>
#include <span>
#include <utility>

namespace moorix {

namespace {

constexpr std::size_t pieceBytes = 64 * 1024;
/// How long one turn may take. What is delivered last may exceed it by the time of one piece.
constexpr qint64 turnNanoseconds = 5'000'000;
constexpr int graceMilliseconds = 500;
constexpr int pollMilliseconds = 50;
/// The system and the reader keep less than this for us.
constexpr qsizetype mostAfterTheEnd = 1024 * 1024;

} // namespace

PTYRunner::PTYRunner(QObject *parent)
    : QObject(parent)
{
    m_exitPoll.setInterval(pollMilliseconds);
    m_killer.setInterval(graceMilliseconds);
    m_killer.setSingleShot(true);
    connect(&m_exitPoll, &QTimer::timeout, this, &PTYRunner::followExit);
    connect(&m_killer, &QTimer::timeout, this, [this] {
        if (m_process)
            m_process->kill();
    });
}

PTYRunner::~PTYRunner()
{
    if (!m_process)
        return;
    m_process->hangUp(m_master->foregroundGroup());
    m_source.reset();
    m_writable.reset();
    m_ended.reset();
    m_reader.reset();
    m_master.reset();
    runJob([process = std::shared_ptr<TerminalProcess>(std::move(m_process))](
               const std::stop_token &) { process->end(graceMilliseconds); },
           [] {}, [](const Error &) {})
        .detach();
}

void PTYRunner::start(const TerminalLaunch &launch, int rows, int columns)
{
    PseudoTerminal terminal(rows, columns);
    auto process = std::make_unique<TerminalProcess>(launch, terminal);
    terminal.closeProgramEnd();
    m_master = std::move(terminal);
    m_reader = std::make_unique<PTYReader>(*m_master);
    m_process = std::move(process);
    m_source = std::make_unique<QSocketNotifier>(m_reader->descriptor(), QSocketNotifier::Read);
    m_writable = std::make_unique<QSocketNotifier>(m_master->master(), QSocketNotifier::Write);
    m_writable->setEnabled(false);
    connect(m_source.get(), &QSocketNotifier::activated, this, &PTYRunner::readSome);
    connect(m_writable.get(), &QSocketNotifier::activated, this, &PTYRunner::writeSome);
    if (m_process->exitDescriptor() < 0) {
        m_exitPoll.start();
        return;
    }
    m_ended = std::make_unique<QSocketNotifier>(m_process->exitDescriptor(), QSocketNotifier::Read);
    connect(m_ended.get(), &QSocketNotifier::activated, this, &PTYRunner::followExit);
}

bool PTYRunner::hasForegroundProgram() const
{
    if (!m_process || m_exitCode)
        return false;
    const pid_t group = m_master->foregroundGroup();
    return group > 0 && group != m_process->id();
}

void PTYRunner::readSome()
{
    QElapsedTimer turn;
    turn.start();
    const QPointer<PTYRunner> self(this);
    while (!m_outputEnded && turn.nsecsElapsed() < turnNanoseconds) {
        if (m_delivered == m_taken.size()) {
            m_delivered = 0;
            m_reader->take(m_taken);
            m_outputEnded = m_reader->hasEnded();
            if (m_taken.empty())
                break;
        }
        const std::span<const char> piece =
            std::span(m_taken).subspan(m_delivered, std::min(pieceBytes, m_taken.size() - m_delivered));
        m_delivered += piece.size();
        m_bytesLeft -= qsizetype(piece.size());
        if (onOutput)
            onOutput({piece.data(), qsizetype(piece.size())});
        if (!self)
            return;
        m_outputEnded = m_outputEnded || (m_exitCode.has_value() && m_bytesLeft <= 0);
    }
    if (!m_outputEnded)
        return;
    m_source->setEnabled(false);
    followExit();
}

void PTYRunner::followExit()
{
    if (!m_process || m_exitNotified)
        return;
    if (!m_exitCode && (m_exitCode = m_process->exit())) {
        m_bytesLeft = mostAfterTheEnd;
        if (m_ended)
            m_ended->setEnabled(false);
        m_exitPoll.stop();
        m_reader->readToEnd();
    }
    if (m_exitCode && m_outputEnded)
        finish();
}

void PTYRunner::finish()
{
    m_exitNotified = true;
    m_killer.stop();
    m_pending.clear();
    m_writable->setEnabled(false);
    m_process.reset();
    // The notifiers may be those whose signal led here.
    m_source->setEnabled(false);
    m_reader.reset();
    if (onExit)
        onExit(m_exitCode);
}

bool PTYRunner::write(QByteArrayView bytes)
{
    if (!m_process || m_exitCode)
        return false;
    if (bytes.size() == 1 && m_master->dropInputBefore(bytes.front())) {
        m_pending.clear();
        m_written = 0;
    }
    if (m_pending.size() - m_written + bytes.size() > mostPendingInput)
        return false;
    m_pending.remove(0, std::exchange(m_written, 0));
    m_pending.append(bytes);
    writeSome();
    return true;
}

void PTYRunner::writeSome()
{
    const qsizetype taken = m_master->write(QByteArrayView(m_pending).sliced(m_written));
    // Without a program to read it, it is nobody's.
    m_written = taken < 0 ? m_pending.size() : m_written + taken;
    if (m_written == m_pending.size()) {
        m_pending.clear();
        m_written = 0;
    }
    m_writable->setEnabled(!m_pending.isEmpty());
}

void PTYRunner::resize(int rows, int columns)
{
    if (m_process)
        m_master->resize(rows, columns);
}

void PTYRunner::terminate()
{
    if (!m_process || m_exitCode)
        return;
    m_process->hangUp(m_master->foregroundGroup());
    m_killer.start();
}

} // namespace moorix
