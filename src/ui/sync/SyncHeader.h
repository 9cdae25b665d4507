// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QHBoxLayout;
class QLabel;
class QToolButton;

namespace moorix {

class ElidedLabel;
class SyncEngine;
class SyncSession;

/// Which folders are synced, and what can be done about the pair.
class SyncHeader final : public QFrame
{
    Q_OBJECT

public:
    SyncHeader(SyncEngine &engine, SyncSession &session, QWidget *parent = nullptr);

    QToolButton &settingsButton() const { return *m_settings; }
    QToolButton &historyButton() const { return *m_history; }

signals:
    void backRequested();
    void messageRaised(const QString &sentence);

private:
    void addEnd(QHBoxLayout &row, const QString &iconName, const QString &where, const QString &path,
                const QString &objectName);
    void follow();
    void save();

    SyncEngine &m_engine;
    SyncSession &m_session;
    ElidedLabel *m_title;
    ElidedLabel *m_last;
    QToolButton *m_save;
    QToolButton *m_settings;
    QToolButton *m_history;
    QToolButton *m_reload;
};

} // namespace moorix
