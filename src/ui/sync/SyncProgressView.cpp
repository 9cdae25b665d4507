// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncProgressView.h"

#include "files/Format.h"
#include "sync/SyncSession.h"
#include "sync/SyncText.h"
#include "ui/TransferText.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace moorix {

namespace {

using State = SyncSession::State;

QString titleOf(const SyncSession &session)
{
    if (session.isCancelling())
        return SyncProgressView::tr("Stopping…");
    if (session.state() == State::connecting)
        return SyncProgressView::tr("Connecting to %1…").arg(Format::display(session.server().displayName()));
    return SyncText::progress(session.progress());
}

/// "2.4 MB/s · 12 s left · hero.jpg"
QString detailsOf(const SyncSession &session)
{
    const TransferCounts &counts = session.progress().counts;
    if (session.state() != State::applying || counts.bytesTotal <= 0)
        return {};
    QStringList parts;
    const double rate = session.bytesPerSecond();
    if (rate >= 1)
        parts << SyncProgressView::tr("%1/s").arg(Format::byteCount(qint64(rate)));
    parts << TransferText::timeLeft(counts.bytesTotal - counts.bytesDone, rate) << Format::display(counts.currentName);
    parts.removeAll(QString());
    return parts.join(QStringLiteral(" · "));
}

int permilleOf(const SyncSession &session)
{
    const TransferCounts &counts = session.progress().counts;
    if (session.state() != State::applying)
        return -1;
    if (counts.bytesTotal > 0)
        return int(std::clamp(double(counts.bytesDone) / double(counts.bytesTotal), 0.0, 1.0) * 1000);
    return -1;
}

} // namespace

SyncProgressView::SyncProgressView(SyncSession &session, QWidget *parent)
    : QFrame(parent)
    , m_session(session)
    , m_title(Widgets::label({}, Widgets::TextRole::body, this))
    , m_details(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_bar(new QProgressBar(this))
    , m_cancel(Widgets::button(tr("Cancel"), QStringLiteral("syncCancel"), this))
{
    setObjectName(QStringLiteral("syncProgress"));
    m_title->setObjectName(QStringLiteral("syncProgressText"));
    m_details->setObjectName(QStringLiteral("syncProgressDetails"));
    m_bar->setObjectName(QStringLiteral("syncProgressBar"));
    m_bar->setTextVisible(false);
    // Room for them from the start, so that nothing jumps when they come.
    m_details->setMinimumHeight(m_details->fontMetrics().height());
    auto *words = new QVBoxLayout;
    words->setSpacing(7);
    words->addWidget(m_title);
    words->addWidget(m_bar);
    words->addWidget(m_details);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(16, 14, 16, 14);
    row->setSpacing(16);
    row->addLayout(words, 1);
    row->addWidget(m_cancel);
    connect(m_cancel, &QPushButton::clicked, &session, &SyncSession::cancel);
    connect(&session, &SyncSession::stateChanged, this, &SyncProgressView::follow);
    connect(&session, &SyncSession::progressed, this, &SyncProgressView::follow);
    setFocusProxy(m_cancel);
    follow();
}

void SyncProgressView::follow()
{
    if (!m_session.isBusy())
        return;
    m_title->setText(titleOf(m_session));
    m_details->setText(detailsOf(m_session));
    const int permille = permilleOf(m_session);
    m_bar->setRange(0, permille < 0 ? 0 : 1000);
    m_bar->setValue(std::max(permille, 0));
    m_cancel->setEnabled(!m_session.isCancelling());
}

} // namespace moorix
