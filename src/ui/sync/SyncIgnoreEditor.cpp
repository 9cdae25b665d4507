// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncIgnoreEditor.h"

#include "sync/SyncEngine.h"
#include "sync/SyncPairStore.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace moorix {

SyncIgnoreEditor::SyncIgnoreEditor(SyncEngine &engine, SyncSession &session, QWidget *parent)
    : QFrame(parent)
    , m_engine(engine)
    , m_session(session)
    , m_edit(new QPlainTextEdit(this))
{
    setObjectName(QStringLiteral("syncIgnoreEditor"));
    setProperty("role", QStringLiteral("bar"));
    m_edit->setObjectName(QStringLiteral("syncPatterns"));
    m_edit->setAccessibleName(tr("Patterns of what is left out, one on each line"));
    m_edit->setPlaceholderText(QStringLiteral("node_modules/\n*.log\n/build"));
    m_edit->setFont(Theme::monospace());
    m_edit->setTabChangesFocus(true);
    m_edit->setFixedHeight(m_edit->fontMetrics().lineSpacing() * 5 + 20);
    QLabel *help = Widgets::label(
        tr("One pattern on each line is left out on both sides: *.log is about names anywhere, /build about a path "
           "from the folder itself, node_modules/ about folders only, and ** stands for any folders."),
        Widgets::TextRole::muted, this);
    QPushButton *apply = Widgets::primaryButton(tr("Apply and look again"), QStringLiteral("syncApplyPatterns"), this);
    QPushButton *cancel = Widgets::button(tr("Cancel"), QStringLiteral("syncCancelPatterns"), this);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(help, 1);
    buttons->addSpacing(12);
    buttons->addWidget(cancel, 0, Qt::AlignBottom);
    buttons->addWidget(apply, 0, Qt::AlignBottom);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(12, 10, 12, 10);
    column->addWidget(m_edit);
    column->addLayout(buttons);
    connect(apply, &QPushButton::clicked, this, &SyncIgnoreEditor::apply);
    connect(cancel, &QPushButton::clicked, this, &SyncIgnoreEditor::closed);
    hide();
}

void SyncIgnoreEditor::open()
{
    m_edit->setPlainText(m_session.pair().ignorePatterns.join(u'\n'));
    show();
    m_edit->setFocus();
}

void SyncIgnoreEditor::apply()
{
    if (m_session.isBusy())
        return;
    SyncPair pair = m_session.pair();
    pair.ignorePatterns.clear();
    for (const QString &line : m_edit->toPlainText().split(u'\n')) {
        if (!line.trimmed().isEmpty())
            pair.ignorePatterns.append(line.trimmed());
    }
    if (m_engine.savedPair(m_session))
        m_engine.pairs().upsert(pair);
    m_session.setPair(pair);
    emit closed();
    m_session.look();
}

void SyncIgnoreEditor::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        emit closed();
    else
        QFrame::keyPressEvent(event);
}

} // namespace moorix
