// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QVBoxLayout;

namespace moorix {

class SyncSession;

/// What has to be said before a sync: that it is the first one, that a document was damaged, and a card for each
/// question that is still open.
class SyncQuestions final : public QWidget
{
    Q_OBJECT

public:
    explicit SyncQuestions(SyncSession &session, QWidget *parent = nullptr);

    /// Gives the keyboard to the first open question, if there is one; returns whether there is.
    bool focusFirst();
    /// The session asks for something else.
    void refill();

signals:
    /// The user does not want this sync.
    void cancelled();
    /// No question is open any more.
    void answered();

private:
    void addNote(const QString &text, const QString &objectName, const QString &tone);
    void addQuestion(qsizetype index);
    void followChoices();

    SyncSession &m_session;
    QVBoxLayout *m_column;
    QList<QWidget *> m_parts;
    QWidget *m_firstNotice = nullptr;
};

} // namespace moorix
