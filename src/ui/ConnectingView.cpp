// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ConnectingView.h"

#include "app/Session.h"
#include "ui/Widgets.h"
#include "ui/servers/ServerLook.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace moorix {

ConnectingView::ConnectingView(Session &session, QWidget *parent)
    : QWidget(parent)
    , m_elapsed(Widgets::label({}, Widgets::TextRole::muted, this))
{
    setObjectName(QStringLiteral("connectingView"));
    QLabel *what = Widgets::label(session.stateText(), Widgets::TextRole::headline, this);
    QLabel *where = Widgets::label(session.server() ? ServerLook::address(*session.server()) : QString(),
                                   Widgets::TextRole::muted, this);
    auto *activity = new QProgressBar(this);
    activity->setRange(0, 0);
    activity->setFixedWidth(220);
    QPushButton *cancel = Widgets::button(tr("Cancel"), QStringLiteral("cancelConnecting"), this);
    cancel->setAutoDefault(true);
    auto *column = new QVBoxLayout(this);
    column->setSpacing(10);
    column->addStretch(2);
    for (QLabel *label : {what, where}) {
        label->setAlignment(Qt::AlignCenter);
        column->addWidget(label);
    }
    column->addWidget(activity, 0, Qt::AlignCenter);
    m_elapsed->setAlignment(Qt::AlignCenter);
    column->addWidget(m_elapsed);
    column->addWidget(cancel, 0, Qt::AlignCenter);
    column->addStretch(3);
    setFocusProxy(cancel);

    connect(&session, &Session::stateChanged, what, [what, &session] { what->setText(session.stateText()); });
    connect(cancel, &QPushButton::clicked, &session, &Session::cancelConnecting);
    connect(&m_tick, &QTimer::timeout, this, &ConnectingView::updateElapsed);
    m_since.start();
    m_tick.start(500);
    updateElapsed();
}

void ConnectingView::updateElapsed()
{
    const qint64 seconds = m_since.elapsed() / 1000;
    m_elapsed->setText(seconds < 3 ? tr("Waiting for the server") : tr("Waiting for the server for %1 s").arg(seconds));
}

} // namespace moorix
