// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncOverview.h"

#include "app/AppModel.h"
#include "base/Error.h"
#include "sync/SyncEngine.h"
#include "sync/SyncPairStore.h"
#include "ui/ElidedLabel.h"
#include "ui/MessageBar.h"
#include "ui/Widgets.h"
#include "ui/sync/SyncLook.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>

#include <utility>

namespace moorix {

SyncOverview::SyncOverview(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_question(new MessageBar(this))
    , m_reason(Widgets::label({}, Widgets::TextRole::body, this))
    , m_syncShown(Widgets::primaryButton(tr("Sync these folders"), QStringLiteral("syncShown"), this))
    , m_cards(new QVBoxLayout)
{
    setObjectName(QStringLiteral("syncOverview"));
    setAttribute(Qt::WA_StyledBackground);
    m_reason->setObjectName(QStringLiteral("syncReason"));
    auto *body = new QWidget(this);
    body->setProperty("role", QStringLiteral("pageBody"));
    body->setMaximumWidth(860);
    auto *inside = new QVBoxLayout(body);
    inside->setContentsMargins(24, 20, 24, 24);
    inside->setSpacing(10);
    addHead(*inside);
    m_cards->setSpacing(10);
    inside->addLayout(m_cards);
    inside->addStretch(1);
    auto *scroll = new QScrollArea(this);
    scroll->setProperty("role", QStringLiteral("page"));
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setAlignment(Qt::AlignHCenter);
    scroll->setWidget(body);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_question);
    column->addWidget(scroll, 1);
    connect(&model.sync(), &SyncEngine::changed, this, &SyncOverview::refill);
    connect(m_syncShown, &QPushButton::clicked, this, &SyncOverview::shownPairRequested);
    refill();
}

void SyncOverview::addHead(QVBoxLayout &column)
{
    QToolButton *back = Widgets::iconButton(QStringLiteral("go-previous"), tr("Back to the folders (Esc)"),
                                            QStringLiteral("syncBack"), this);
    auto *head = new QHBoxLayout;
    head->addWidget(back);
    head->addWidget(Widgets::label(tr("Synced folders"), Widgets::TextRole::headline, this), 1);
    auto *shown = new QHBoxLayout;
    shown->addWidget(m_reason, 1);
    shown->addWidget(m_syncShown);
    column.addLayout(head);
    column.addLayout(shown);
    connect(back, &QToolButton::clicked, this, &SyncOverview::backRequested);
}

void SyncOverview::refill()
{
    try {
        const auto [pair, server] = m_model.shownPair();
        m_reason->setText(SyncLook::folders(pair, server));
        m_syncShown->show();
    } catch (const Error &error) {
        m_reason->setText(error.message());
        m_syncShown->hide();
    }
    bool hadFocus = false;
    for (QWidget *part : std::exchange(m_parts, {})) {
        hadFocus = hadFocus || part->isAncestorOf(QApplication::focusWidget());
        part->hide();
        part->deleteLater();
    }
    const QList<SyncPair> &pairs = m_model.sync().pairs().pairs();
    for (const SyncPair &pair : pairs)
        addCard(pair);
    if (pairs.isEmpty()) {
        m_parts.append(Widgets::label(
            tr("No pair is saved yet. Show a folder of this computer on one side and one of a server on the other, "
               "sync them, and save the pair there."),
            Widgets::TextRole::muted, this));
        m_cards->addWidget(m_parts.constLast());
    }
    for (QWidget *part : std::as_const(m_parts))
        part->show();
    if (hadFocus)
        focusContent();
}

void SyncOverview::addCard(const SyncPair &pair)
{
    const SyncEngine &engine = m_model.sync();
    const auto server = engine.recordOf(pair);
    auto *card = new QFrame(this);
    card->setProperty("role", QStringLiteral("card"));
    card->setObjectName(QStringLiteral("syncCard"));
    auto *folders = new ElidedLabel(Qt::ElideMiddle, card);
    folders->setText(SyncLook::folders(pair, server));
    folders->setProperty("role", QStringLiteral("muted"));
    const SyncSession *session = engine.find(engine.keyOf(pair));
    const QString standing = !server                        ? tr("The server is no longer in the library")
                             : session && session->isBusy() ? tr("At work…")
                                                            : SyncLook::lastRun(engine.lastRun(engine.keyOf(pair)));
    QPushButton *sync = Widgets::primaryButton(tr("Sync now"), QStringLiteral("syncNow"), card);
    QPushButton *patterns = Widgets::button(tr("Settings…"), QStringLiteral("syncEditPair"), card);
    QPushButton *forget = Widgets::button(tr("Forget…"), QStringLiteral("syncForget"), card);
    sync->setEnabled(server.has_value());
    patterns->setEnabled(server.has_value());
    auto *words = new QVBoxLayout;
    words->setSpacing(3);
    words->addWidget(Widgets::label(SyncLook::title(pair, server), Widgets::TextRole::heading, card));
    words->addWidget(folders);
    words->addWidget(Widgets::label(standing, Widgets::TextRole::muted, card));
    auto *row = new QHBoxLayout(card);
    row->setContentsMargins(14, 12, 14, 12);
    row->addLayout(words, 1);
    for (QPushButton *button : {forget, patterns, sync})
        row->addWidget(button);
    connect(sync, &QPushButton::clicked, this, [this, id = pair.id] { emit pairRequested(id); });
    connect(patterns, &QPushButton::clicked, this, [this, id = pair.id] { emit settingsRequested(id); });
    connect(forget, &QPushButton::clicked, this, [this, pair] { askToForget(pair); });
    m_parts.append(card);
    m_cards->addWidget(card);
}

void SyncOverview::askToForget(const SyncPair &pair)
{
    const QString title = SyncLook::title(pair, m_model.sync().recordOf(pair));
    m_question->ask(tr("Forget “%1”? Both folders stay as they are; the next sync of them is a first one.").arg(title),
                    tr("Forget"), MessageBar::Tone::warning, [this, id = pair.id] {
                        if (const auto problem = m_model.sync().forget(id))
                            m_question->tell(*problem, MessageBar::Tone::warning);
                    });
}

void SyncOverview::focusContent()
{
    if (m_syncShown->isVisibleTo(this))
        m_syncShown->setFocus();
    else if (auto *first = m_parts.constFirst()->findChild<QPushButton *>(QStringLiteral("syncNow")))
        first->setFocus();
    else
        findChild<QToolButton *>(QStringLiteral("syncBack"))->setFocus();
}

void SyncOverview::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        emit backRequested();
    else
        QWidget::keyPressEvent(event);
}

} // namespace moorix
