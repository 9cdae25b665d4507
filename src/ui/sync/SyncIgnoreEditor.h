// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QPlainTextEdit;

namespace moorix {

class SyncEngine;
class SyncSession;

/// What a pair leaves out, a pattern on each line. Kept with a saved pair, else for this session.
class SyncIgnoreEditor final : public QFrame
{
    Q_OBJECT

public:
    SyncIgnoreEditor(SyncEngine &engine, SyncSession &session, QWidget *parent = nullptr);

    /// Shows what is in force.
    void open();

signals:
    void closed();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void apply();

    SyncEngine &m_engine;
    SyncSession &m_session;
    QPlainTextEdit *m_edit;
};

} // namespace moorix
