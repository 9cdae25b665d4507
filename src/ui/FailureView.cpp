// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/FailureView.h"

#include "app/Session.h"
#include "platform/ProcessRunner.h"
#include "ui/HostKeyPanel.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace moorix {

FailureView::FailureView(Session &session, bool isSaved, std::shared_ptr<ProcessRunner> runner, QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("failureView"));
    const qsizetype end = session.stateText().indexOf(u'\n');
    const QString sentence = end < 0 ? session.stateText() : session.stateText().left(end);
    const QString clientWords = end < 0 ? QString() : session.stateText().mid(end + 1).trimmed();

    auto *body = new QWidget(this);
    body->setProperty("role", QStringLiteral("pageBody"));
    body->setMaximumWidth(720);
    auto *column = new QVBoxLayout(body);
    column->setContentsMargins(24, 24, 24, 24);
    column->setSpacing(12);
    auto *icon = new QLabel(body);
    // In its own colours: tinted, the mark inside would be lost.
    icon->setPixmap(QIcon::fromTheme(QStringLiteral("data-warning")).pixmap(QSize(22, 22), devicePixelRatioF()));
    QLabel *title = Widgets::label(sentence, Widgets::TextRole::headline, body);
    title->setObjectName(QStringLiteral("failureSentence"));
    title->setTextInteractionFlags(Qt::TextSelectableByMouse);
    column->addStretch(1);
    column->addWidget(icon);
    column->addWidget(title);
    if (!clientWords.isEmpty()) {
        QLabel *words = Widgets::label(clientWords, Widgets::TextRole::muted, body);
        words->setObjectName(QStringLiteral("clientWords"));
        words->setFont(Theme::monospace());
        words->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        column->addWidget(words);
    }
    const std::optional<HostKeyPanel::Reason> reason = HostKeyPanel::reasonOf(session.stateText());
    if (reason && session.server()) {
        auto *panel = new HostKeyPanel(*session.server(), *reason, std::move(runner), body);
        column->addWidget(panel);
        connect(panel, &HostKeyPanel::trusted, &session, &Session::retry);
    }
    auto *buttons = new QHBoxLayout;
    QPushButton *retry = Widgets::primaryButton(tr("Try again"), QStringLiteral("retry"), body);
    retry->setAutoDefault(true);
    connect(retry, &QPushButton::clicked, &session, &Session::retry);
    buttons->addWidget(retry);
    if (isSaved) {
        QPushButton *edit = Widgets::button(tr("Edit server…"), QStringLiteral("editServer"), body);
        connect(edit, &QPushButton::clicked, this, &FailureView::editRequested);
        buttons->addWidget(edit);
    }
    buttons->addStretch(1);
    column->addLayout(buttons);
    column->addStretch(2);

    auto *scroll = new QScrollArea(this);
    scroll->setProperty("role", QStringLiteral("page"));
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setAlignment(Qt::AlignHCenter);
    scroll->setWidget(body);
    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(scroll);
    setFocusProxy(retry);
}

} // namespace moorix
