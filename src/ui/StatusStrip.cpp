// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/StatusStrip.h"

#include "app/AppModel.h"
#include "files/Format.h"
#include "transfers/TransferEngine.h"
#include "ui/ElidedLabel.h"
#include "ui/Theme.h"
#include "ui/TransferText.h"
#include "ui/Widgets.h"
#include "ui/servers/ServerLook.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QToolButton>

#include <algorithm>

namespace moorix {

StatusStrip::StatusStrip(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_dot(new QLabel(this))
    , m_connection(new QLabel(this))
    , m_message(new ElidedLabel(Qt::ElideRight, this))
    , m_progressName(new ElidedLabel(Qt::ElideMiddle, this))
    , m_progressText(new ElidedLabel(Qt::ElideRight, this))
    , m_progress(new QProgressBar(this))
    , m_cancel(Widgets::iconButton(QStringLiteral("dialog-cancel"), tr("Cancel this transfer"),
                                   QStringLiteral("cancelRunning"), this))
    , m_queue(new QToolButton(this))
{
    setObjectName(QStringLiteral("statusStrip"));
    setAttribute(Qt::WA_StyledBackground);
    m_message->setObjectName(QStringLiteral("statusMessage"));
    m_message->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_message->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_progressText->setObjectName(QStringLiteral("transferText"));
    m_progress->setObjectName(QStringLiteral("transferProgress"));
    m_progress->setFixedWidth(140);
    m_progress->setTextVisible(false);
    m_queue->setObjectName(QStringLiteral("showTransfers"));
    m_queue->setAutoRaise(true);
    // Whatever a file is called, what is known of its transfer stands beside it.
    m_progressName->setMaximumWidth(220);
    m_connection->setTextFormat(Qt::PlainText);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(14, 2, 10, 2);
    row->setSpacing(8);
    row->addWidget(m_dot);
    row->addWidget(m_connection);
    row->addWidget(m_message, 1);
    row->addWidget(m_progressName);
    row->addWidget(m_progressText);
    row->addWidget(m_progress);
    row->addWidget(m_cancel);
    row->addWidget(m_queue);
    setMinimumHeight(30);

    m_silence.setSingleShot(true);
    connect(&m_silence, &QTimer::timeout, m_message, &QLabel::clear);
    connect(&model, &AppModel::messageRaised, this, &StatusStrip::tell);
    connect(&model.transfers(), &TransferEngine::listChanged, this, &StatusStrip::followTransfers);
    connect(&model.transfers(), &TransferEngine::transferChanged, this, &StatusStrip::followTransfers);
    connect(m_cancel, &QToolButton::clicked, this, [this] { m_model.transfers().cancel(m_running); });
    connect(m_queue, &QToolButton::clicked, this, &StatusStrip::transfersRequested);
    followTransfers();
}

void StatusStrip::tell(const QString &message)
{
    m_message->setText(message);
    // Long sentences take longer to read.
    m_silence.start(6000 + int(message.size()) * 60);
}

void StatusStrip::showConnection(const QString &text, bool isConnected)
{
    m_connection->setText(text);
    m_dot->setVisible(isConnected);
    if (isConnected)
        m_dot->setPixmap(ServerLook::dot(Theme::color(Theme::Color::success)).pixmap(14, 14));
}

void StatusStrip::followTransfers()
{
    const QList<TransferStatus> &all = m_model.transfers().transfers();
    auto running = std::ranges::find(all, TransferStatus::State::running, &TransferStatus::state);
    if (running == all.end())
        running = std::ranges::find(all, TransferStatus::State::reconnecting, &TransferStatus::state);
    m_running = running == all.end() ? QUuid() : running->id;
    noteEnds(all);
    const bool isUnderWay = running != all.end();
    for (QWidget *widget : std::initializer_list<QWidget *>{m_progressName, m_progressText, m_progress, m_cancel})
        widget->setVisible(isUnderWay);
    if (isUnderWay) {
        const int permille = TransferText::permille(*running);
        m_progress->setRange(0, permille < 0 ? 0 : 1000);
        m_progress->setValue(std::max(0, permille));
        const bool isRunning = running->state == TransferStatus::State::running;
        m_progressName->setText(isRunning && !running->currentName.isEmpty()
                                    ? Format::display(running->currentName)
                                    : TransferText::title(*running, m_model.transfers()));
        m_progressText->setText(isRunning ? TransferText::progress(*running) : TransferText::outcome(*running));
    }
    const auto waiting = std::ranges::count(all, TransferStatus::State::waiting, &TransferStatus::state);
    const auto failed = std::ranges::count(all, TransferStatus::State::failed, &TransferStatus::state);
    const auto halted = std::ranges::count_if(all, [](const TransferStatus &transfer) {
        return transfer.state == TransferStatus::State::paused || transfer.state == TransferStatus::State::interrupted;
    });
    m_queue->setVisible(!all.isEmpty());
    QStringList parts{tr("Transfers")};
    if (waiting > 0)
        parts += tr("%1 queued").arg(waiting);
    if (failed > 0)
        parts += tr("%1 failed").arg(failed);
    if (halted > 0)
        parts += tr("%1 halted").arg(halted);
    m_queue->setText(parts.join(QStringLiteral(" · ")));
}

/// Each end is told, also of those that ran beside the one that is shown.
void StatusStrip::noteEnds(const QList<TransferStatus> &all)
{
    for (const TransferStatus &transfer : all) {
        if (isOpen(transfer.state))
            m_open.insert(transfer.id);
        else if (m_open.remove(transfer.id))
            showEnded(transfer);
    }
}

void StatusStrip::showEnded(const TransferStatus &transfer)
{
    if (transfer.state == TransferStatus::State::failed && !transfer.failures.isEmpty()) {
        const QString first = transfer.failures.first();
        tell(transfer.failures.size() == 1
                 ? first
                 : tr("%1 — and %2 more; see Transfers").arg(first).arg(transfer.failures.size() - 1));
        return;
    }
    tell(QStringLiteral("%1 — %2").arg(TransferText::title(transfer, m_model.transfers()),
                                       TransferText::outcome(transfer)));
}

} // namespace moorix
