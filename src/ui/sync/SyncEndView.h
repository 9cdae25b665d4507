// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QLabel;
class QPushButton;

namespace moorix {

class SyncSession;

/// How a sync ended: what was done, why it failed, what was kept where; and how to go on.
class SyncEndView final : public QFrame
{
    Q_OBJECT

public:
    explicit SyncEndView(SyncSession &session, QWidget *parent = nullptr);

private:
    void follow();
    void showSign(const QString &iconName, int color);

    SyncSession &m_session;
    QLabel *m_sign;
    QLabel *m_title;
    QLabel *m_words;
    QLabel *m_notes;
    QPushButton *m_again;
};

} // namespace moorix
