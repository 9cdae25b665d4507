// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncHeader.h"

#include "files/Format.h"
#include "sync/SyncEngine.h"
#include "sync/SyncPairStore.h"
#include "ui/ElidedLabel.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/sync/SyncLook.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

namespace moorix {

namespace {

QToolButton *textButton(const QString &iconName, const QString &text, const QString &objectName, QWidget *parent)
{
    QToolButton *button = Widgets::iconButton(iconName, text, objectName, parent);
    button->setText(text);
    button->setToolTip({});
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    return button;
}

} // namespace

SyncHeader::SyncHeader(SyncEngine &engine, SyncSession &session, QWidget *parent)
    : QFrame(parent)
    , m_engine(engine)
    , m_session(session)
    , m_title(new ElidedLabel(Qt::ElideMiddle, this))
    , m_last(new ElidedLabel(Qt::ElideRight, this))
    , m_save(textButton(QStringLiteral("bookmark-new"), tr("Save this pair"), QStringLiteral("syncSave"), this))
    , m_settings(textButton(QStringLiteral("configure"), tr("Settings"), QStringLiteral("syncSettings"), this))
    , m_history(textButton(QStringLiteral("chronometer"), tr("History"), QStringLiteral("syncHistory"), this))
    , m_reload(Widgets::iconButton(QStringLiteral("view-refresh"), tr("Read both folders anew (Ctrl+R)"),
                                   QStringLiteral("syncReload"), this))
{
    setProperty("role", QStringLiteral("bar"));
    setObjectName(QStringLiteral("syncHeader"));
    m_title->setProperty("role", QStringLiteral("heading"));
    m_title->setObjectName(QStringLiteral("syncTitle"));
    m_last->setProperty("role", QStringLiteral("muted"));
    m_last->setObjectName(QStringLiteral("syncLastRun"));
    m_settings->setCheckable(true);
    m_history->setCheckable(true);
    m_settings->setToolTip(tr("The name of the pair, and what is left out on both sides"));
    QToolButton *back = Widgets::iconButton(QStringLiteral("go-previous"), tr("Back to the folders (Esc)"),
                                            QStringLiteral("syncBack"), this);
    auto *words = new QVBoxLayout;
    words->setSpacing(1);
    words->addWidget(m_title);
    words->addWidget(m_last);
    auto *top = new QHBoxLayout;
    top->setSpacing(8);
    top->addWidget(back);
    top->addLayout(words, 1);
    for (QToolButton *button : {m_save, m_settings, m_history, m_reload})
        top->addWidget(button);
    auto *ends = new QHBoxLayout;
    ends->setSpacing(10);
    addEnd(*ends, QStringLiteral("computer"), tr("This computer"), session.pair().localPath,
           QStringLiteral("syncLocalEnd"));
    ends->addWidget(Widgets::label(QStringLiteral("↔"), Widgets::TextRole::muted, this));
    addEnd(*ends, QStringLiteral("network-server"), Format::display(session.server().displayName()),
           session.pair().remotePath, QStringLiteral("syncRemoteEnd"));
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(10, 8, 12, 10);
    column->setSpacing(8);
    column->addLayout(top);
    column->addLayout(ends);
    connect(back, &QToolButton::clicked, this, &SyncHeader::backRequested);
    connect(m_save, &QToolButton::clicked, this, &SyncHeader::save);
    connect(m_reload, &QToolButton::clicked, &session, &SyncSession::look);
    connect(&session, &SyncSession::stateChanged, this, &SyncHeader::follow);
    connect(&session, &SyncSession::pairChanged, this, &SyncHeader::follow);
    connect(&engine, &SyncEngine::changed, this, &SyncHeader::follow);
    follow();
}

void SyncHeader::addEnd(QHBoxLayout &row, const QString &iconName, const QString &where, const QString &path,
                        const QString &objectName)
{
    auto *end = new QFrame(this);
    end->setProperty("role", QStringLiteral("card"));
    auto *sign = new QLabel(end);
    sign->setPixmap(Theme::icon(iconName, Theme::Color::accent).pixmap(QSize(16, 16), devicePixelRatioF()));
    auto *name = new ElidedLabel(Qt::ElideRight, end);
    name->setText(where);
    name->setMaximumWidth(220);
    auto *folder = new ElidedLabel(Qt::ElideMiddle, end);
    folder->setText(Format::display(path));
    folder->setProperty("role", QStringLiteral("muted"));
    folder->setObjectName(objectName);
    auto *line = new QHBoxLayout(end);
    line->setContentsMargins(10, 6, 10, 6);
    line->setSpacing(8);
    line->addWidget(sign);
    line->addWidget(name);
    line->addWidget(folder, 1);
    row.addWidget(end, 1);
}

void SyncHeader::follow()
{
    m_title->setText(SyncLook::title(m_session.pair(), m_session.server()));
    QStringList facts{SyncLook::lastRun(m_engine.lastRun(m_session.key()))};
    if (const qsizetype count = m_session.pair().ignorePatterns.size(); count > 0)
        facts << (count == 1 ? tr("1 pattern of what is left out")
                             : tr("%n patterns of what is left out", nullptr, int(count)));
    m_last->setText(facts.join(QStringLiteral(" · ")));
    m_save->setVisible(!m_engine.savedPair(m_session));
    m_reload->setEnabled(!m_session.isBusy());
    m_history->setEnabled(!m_session.log().isEmpty());
}

void SyncHeader::save()
{
    if (!m_engine.recordOf(m_session.pair())) {
        emit messageRaised(tr("Only pairs with a server of the library can be saved; “%1” is not in it.")
                               .arg(Format::display(m_session.server().displayName())));
        return;
    }
    m_engine.pairs().upsert(m_session.pair());
    emit messageRaised(tr("The pair is in the sidebar."));
}

} // namespace moorix
