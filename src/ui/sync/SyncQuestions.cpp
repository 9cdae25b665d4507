// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncQuestions.h"

#include "sync/SyncSession.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace moorix {

namespace {

QFrame *makeNote(const QString &text, const QString &objectName, const QString &tone, QWidget *parent)
{
    auto *note = new QFrame(parent);
    note->setProperty("role", QStringLiteral("note"));
    note->setProperty("tone", tone);
    const bool isWarning = tone == QLatin1StringView("warning");
    auto *sign = new QLabel(note);
    sign->setPixmap(Theme::icon(isWarning ? QStringLiteral("data-warning") : QStringLiteral("documentinfo"),
                                isWarning ? Theme::Color::warning : Theme::Color::accent)
                        .pixmap(QSize(16, 16), parent->devicePixelRatioF()));
    QLabel *label = Widgets::label(text, Widgets::TextRole::body, note);
    label->setObjectName(objectName);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *row = new QHBoxLayout(note);
    row->setContentsMargins(12, 8, 12, 8);
    row->setSpacing(10);
    row->addWidget(sign, 0, Qt::AlignTop);
    row->addWidget(label, 1);
    return note;
}

} // namespace

SyncQuestions::SyncQuestions(SyncSession &session, QWidget *parent)
    : QWidget(parent)
    , m_session(session)
    , m_column(new QVBoxLayout(this))
{
    setObjectName(QStringLiteral("syncQuestions"));
    m_column->setContentsMargins(12, 10, 12, 2);
    m_column->setSpacing(8);
    connect(&session, &SyncSession::confirmed, this, [this] {
        refill();
        if (!focusFirst())
            emit answered();
    });
    connect(&session, &SyncSession::rowsChanged, this, &SyncQuestions::followChoices);
    refill();
}

/// The user may have chosen to delete something all the same.
void SyncQuestions::followChoices()
{
    if (!m_firstNotice)
        return;
    const QList<SyncRow> &rows = m_session.plan().rows;
    m_firstNotice->setVisible(std::ranges::none_of(rows, [](const SyncRow &row) {
        return row.action == SyncAction::removeLocal || row.action == SyncAction::removeRemote;
    }));
}

void SyncQuestions::refill()
{
    for (QWidget *part : std::exchange(m_parts, {})) {
        part->hide();
        part->deleteLater();
    }
    m_firstNotice = nullptr;
    if (!m_session.warning().isEmpty())
        addNote(m_session.warning(), QStringLiteral("syncWarning"), QStringLiteral("warning"));
    if (m_session.state() == SyncSession::State::review) {
        if (m_session.plan().isFirst) {
            addNote(SyncPlanner::firstSyncNotice, QStringLiteral("syncFirstNotice"), QStringLiteral("information"));
            m_firstNotice = m_parts.constLast();
        }
        for (qsizetype i = 0; i < m_session.plan().questions.size(); ++i) {
            if (!m_session.isConfirmed(i))
                addQuestion(i);
        }
    }
    // A layout would show them later, when the focus has been given away.
    for (QWidget *part : std::as_const(m_parts)) {
        if (part != m_firstNotice)
            part->show();
    }
    followChoices();
    setVisible(!m_parts.isEmpty());
}

void SyncQuestions::addNote(const QString &text, const QString &objectName, const QString &tone)
{
    m_parts.append(makeNote(text, objectName, tone, this));
    m_column->addWidget(m_parts.constLast());
}

void SyncQuestions::addQuestion(qsizetype index)
{
    addNote(m_session.plan().questions.at(index).text, QStringLiteral("syncQuestion"), QStringLiteral("warning"));
    QWidget *card = m_parts.constLast();
    QPushButton *goOn = Widgets::button(tr("Go on anyway"), QStringLiteral("syncGoOn"), card);
    goOn->setProperty("role", QStringLiteral("danger"));
    QPushButton *cancel = Widgets::button(tr("Cancel"), QStringLiteral("syncDoNot"), card);
    card->layout()->addWidget(cancel);
    card->layout()->addWidget(goOn);
    connect(goOn, &QPushButton::clicked, this, [this, index] { m_session.confirm(index); });
    connect(cancel, &QPushButton::clicked, this, &SyncQuestions::cancelled);
}

bool SyncQuestions::focusFirst()
{
    for (QWidget *part : std::as_const(m_parts)) {
        if (auto *cancel = part->findChild<QPushButton *>(QStringLiteral("syncDoNot"))) {
            // The harmless answer is the one that a hasty Return gives.
            cancel->setFocus();
            return true;
        }
    }
    return false;
}

} // namespace moorix
