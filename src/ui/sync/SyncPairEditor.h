// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QLineEdit;
class QPlainTextEdit;

namespace moorix {

class SyncEngine;
class SyncSession;

/// A pair's name and what it leaves out, a pattern on each line. Kept with a saved pair, else for this session.
class SyncPairEditor final : public QFrame
{
    Q_OBJECT

public:
    SyncPairEditor(SyncEngine &engine, SyncSession &session, QWidget *parent = nullptr);

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
    QLineEdit *m_name;
    QPlainTextEdit *m_patterns;
};

} // namespace moorix
