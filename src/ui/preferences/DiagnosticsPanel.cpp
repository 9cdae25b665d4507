// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/DiagnosticsPanel.h"

#include "endpoints/RemoteDiagnosticsService.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QAbstractTextDocumentLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextBlock>
#include <QtMath>

#include <chrono>

namespace moorix {

DiagnosticsPanel::DiagnosticsPanel(RemoteDiagnosticsService &diagnostics, QWidget *parent)
    : QWidget(parent)
    , m_diagnostics(diagnostics)
    , m_status(Widgets::label({}, Widgets::TextRole::heading, this))
    , m_last(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_checkIn(Widgets::button(tr("Check in now"), QStringLiteral("diagnosticsCheckInNow"), this))
    , m_payload(new QPlainTextEdit(this))
{
    m_status->setObjectName(QStringLiteral("diagnosticsStatus"));
    m_last->setObjectName(QStringLiteral("diagnosticsLastCheckin"));
    m_payload->setObjectName(QStringLiteral("diagnosticsPayload"));
    m_payload->setAccessibleName(tr("What a check-in sends, as of now"));
    m_payload->setReadOnly(true);
    m_payload->setTabChangesFocus(true);
    m_payload->setFont(Theme::monospace());
    m_payload->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_payload->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(4);
    texts->addWidget(m_status);
    texts->addWidget(m_last);
    auto *row = new QHBoxLayout;
    row->setSpacing(8);
    row->addLayout(texts, 1);
    row->addWidget(m_checkIn, 0, Qt::AlignTop);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    column->addLayout(row);
    column->addSpacing(10);
    column->addWidget(Widgets::label(tr("What a check-in sends, as of now"), Widgets::TextRole::section, this));
    column->addWidget(m_payload);
    column->addWidget(Widgets::label(
        tr("The server may then ask for: a system snapshot, disk usage, network interfaces, DNS configuration, names "
           "of running processes, Moorix's recent log, names and addresses of saved servers, and of open sessions. No "
           "passwords, keys or contents of files."),
        Widgets::TextRole::muted, this));
    m_refresh.setInterval(std::chrono::seconds(5));
    connect(&m_refresh, &QTimer::timeout, this, &DiagnosticsPanel::showPayload);
    connect(m_checkIn, &QPushButton::clicked, this, [this] { m_diagnostics.performCheckin(); });
    connect(&diagnostics, &RemoteDiagnosticsService::changed, this, &DiagnosticsPanel::follow);
    follow();
}

void DiagnosticsPanel::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    showPayload();
    m_refresh.start();
}

void DiagnosticsPanel::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    m_refresh.stop();
}

void DiagnosticsPanel::follow()
{
    m_status->setText(m_diagnostics.isCheckingIn() ? tr("Checking in…") : m_diagnostics.statusMessage());
    const auto &last = m_diagnostics.lastCheckinAt();
    m_last->setText(last ? tr("Last check-in %1.").arg(QLocale().toString(last->toLocalTime(), QLocale::ShortFormat))
                         : tr("There was no check-in since the program started."));
    m_checkIn->setEnabled(m_diagnostics.isRunning() && m_diagnostics.hasEndpoint() && !m_diagnostics.isCheckingIn());
    if (isVisible())
        showPayload();
}

void DiagnosticsPanel::showPayload()
{
    // A text that is being copied stays.
    const QString text = QString::fromUtf8(m_diagnostics.buildPayload()).trimmed();
    if (m_payload->textCursor().hasSelection() || text == m_payload->toPlainText())
        return;
    m_payload->setPlainText(text);
    // As tall as the lines are laid out; the font by itself promises less.
    const QTextDocument &document = *m_payload->document();
    const qreal line = document.documentLayout()->blockBoundingRect(document.firstBlock()).height();
    // A little more than frame and padding: else one line could be scrolled out of sight.
    constexpr int frameAndPadding = 18;
    m_payload->setFixedHeight(qCeil(line * document.blockCount() + 2 * document.documentMargin()) + frameAndPadding);
}

} // namespace moorix
