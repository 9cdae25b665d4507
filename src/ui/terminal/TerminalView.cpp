// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalView.h"

#include "terminal/TerminalLocalEcho.h"

#include <QKeyEvent>

#include <utility>

namespace moorix {

TerminalView::TerminalView(QWidget *parent)
    : TerminalWidget(parent)
    , m_localEcho(new TerminalLocalEcho(emulator(), systemNow, this))
{
    setObjectName(QStringLiteral("terminalView"));
    setFrameShape(NoFrame);
    connect(&emulator(), &TerminalEmulator::output, this, &TerminalView::send);
    connect(this, &TerminalWidget::typed, this, &TerminalView::noteTyped);
    connect(this, &TerminalWidget::sizeChanged, this, [this](TerminalSize size) {
        if (m_process)
            m_process->resize(size.rows, size.columns);
    });
    connect(m_localEcho, &TerminalLocalEcho::changed, this, [this] {
        setOverlay({m_localEcho->cells(), m_localEcho->cursor()});
    });
}

TerminalView::~TerminalView()
{
    // Output may still come while the widget's own parts go.
    dropProcess();
    emulator().disconnect(this);
    m_localEcho->disconnect(this);
}

void TerminalView::feed(QByteArrayView bytes)
{
    emulator().feed(bytes);
}

void TerminalView::startProcess(const TerminalLaunch &launch)
{
    auto process = std::make_unique<PTYRunner>();
    process->onOutput = [this](QByteArrayView bytes) { feed(bytes); };
    process->onExit = [this](std::optional<int> exitCode) {
        m_localEcho->forget();
        emit processEnded(exitCode);
    };
    const TerminalSize size = emulator().size();
    process->start(launch, size.rows, size.columns);
    m_process = std::move(process);
    m_hasTyped = false;
    m_promptsAnswered = emulator().promptCount();
}

void TerminalView::dropProcess()
{
    m_process.reset();
}

void TerminalView::send(const QByteArray &bytes)
{
    if (isRunning() && !m_process->write(bytes))
        showNote(tr("The program does not read what is typed. Nothing more is sent until it does."));
}

void TerminalView::noteTyped(const QByteArray &bytes)
{
    if (isRunning()) {
        m_hasTyped = !bytes.endsWith('\r') && !bytes.endsWith('\x03');
        m_promptsAnswered = emulator().promptCount();
        m_localEcho->typed(bytes);
    } else if (bytes == "\r") {
        emit restartRequested();
    }
}

void TerminalView::typeText(const QString &text)
{
    if (!isRunning())
        return;
    const QByteArray bytes = text.toUtf8();
    send(bytes);
    noteTyped(bytes);
}

bool TerminalView::isAtEmptyPrompt()
{
    const TerminalEmulator &terminal = emulator();
    const qint64 line = terminal.cursor().position.line;
    // The prompt's mark is on the line of the cursor as long as nothing was run from it.
    return isRunning() && !m_hasTyped && terminal.promptCount() > m_promptsAnswered &&
           !terminal.showsAlternateScreen() && terminal.promptAbove(line + 1) == line;
}

void TerminalView::setDesiredGPU(bool isDesired)
{
    m_desiredGPU = isDesired;
    if (isVisible())
        applyGPU();
}

void TerminalView::applyGPU()
{
    if (usesGPU() != m_desiredGPU)
        setGPU(m_desiredGPU);
}

bool TerminalView::event(QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        const auto *key = static_cast<QKeyEvent *>(event);
        // Shows and hides the terminals, from inside them too.
        if (key->key() == Qt::Key_QuoteLeft && key->modifiers() == Qt::ControlModifier) {
            event->ignore();
            return false;
        }
    }
    return TerminalWidget::event(event);
}

void TerminalView::showEvent(QShowEvent *event)
{
    TerminalWidget::showEvent(event);
    applyGPU();
}

} // namespace moorix
