// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncPairEditor.h"

#include "sync/SyncEngine.h"
#include "sync/SyncPairStore.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/sync/SyncLook.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace moorix {

SyncPairEditor::SyncPairEditor(SyncEngine &engine, SyncSession &session, QWidget *parent)
    : QFrame(parent)
    , m_engine(engine)
    , m_session(session)
    , m_name(new QLineEdit(this))
    , m_patterns(new QPlainTextEdit(this))
{
    setObjectName(QStringLiteral("syncPairEditor"));
    setProperty("role", QStringLiteral("bar"));
    m_name->setObjectName(QStringLiteral("syncName"));
    m_name->setAccessibleName(tr("Name of the pair"));
    m_patterns->setObjectName(QStringLiteral("syncPatterns"));
    m_patterns->setAccessibleName(tr("Patterns of what is left out, one on each line"));
    m_patterns->setPlaceholderText(QStringLiteral("node_modules/\n*.log\n/build"));
    m_patterns->setFont(Theme::monospace());
    m_patterns->setTabChangesFocus(true);
    m_patterns->setFixedHeight(m_patterns->fontMetrics().lineSpacing() * 5 + 20);
    QLabel *help =
        Widgets::label(tr("One pattern on each line: *.log is about names anywhere, /build about a path "
                          "from the folder itself, node_modules/ about folders only, and ** stands for any folders."),
                       Widgets::TextRole::muted, this);
    QPushButton *apply = Widgets::primaryButton(tr("Apply"), QStringLiteral("syncApplySettings"), this);
    QPushButton *cancel = Widgets::button(tr("Cancel"), QStringLiteral("syncCancelSettings"), this);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(help, 1);
    buttons->addSpacing(12);
    buttons->addWidget(cancel, 0, Qt::AlignBottom);
    buttons->addWidget(apply, 0, Qt::AlignBottom);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(12, 10, 12, 10);
    column->setSpacing(5);
    column->addWidget(Widgets::label(tr("Name"), Widgets::TextRole::section, this));
    column->addWidget(m_name);
    column->addSpacing(4);
    column->addWidget(Widgets::label(tr("Left out on both sides"), Widgets::TextRole::section, this));
    column->addWidget(m_patterns);
    column->addLayout(buttons);
    connect(m_name, &QLineEdit::returnPressed, this, &SyncPairEditor::apply);
    connect(apply, &QPushButton::clicked, this, &SyncPairEditor::apply);
    connect(cancel, &QPushButton::clicked, this, &SyncPairEditor::closed);
    hide();
}

void SyncPairEditor::open()
{
    SyncPair unnamed = m_session.pair();
    m_name->setText(unnamed.name);
    unnamed.name.clear();
    m_name->setPlaceholderText(SyncLook::title(unnamed, m_session.server()));
    m_patterns->setPlainText(unnamed.ignorePatterns.join(u'\n'));
    show();
    m_patterns->setFocus();
}

void SyncPairEditor::apply()
{
    SyncPair pair = m_session.pair();
    pair.name = m_name->text().trimmed();
    pair.ignorePatterns.clear();
    for (const QString &line : m_patterns->toPlainText().split(u'\n')) {
        if (!line.trimmed().isEmpty())
            pair.ignorePatterns.append(line.trimmed());
    }
    const bool isOther = pair.ignorePatterns != m_session.pair().ignorePatterns;
    if (m_engine.savedPair(m_session))
        m_engine.pairs().upsert(pair);
    m_session.setPair(pair);
    emit closed();
    // What is under way goes on with what it began with.
    if (isOther)
        m_session.look();
}

void SyncPairEditor::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        emit closed();
    else
        QFrame::keyPressEvent(event);
}

} // namespace moorix
