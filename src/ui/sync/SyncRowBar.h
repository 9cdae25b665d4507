// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "sync/SyncChoice.h"

#include <QFrame>

#include <vector>

class QBoxLayout;
class QHBoxLayout;
class QLabel;
class QPushButton;

namespace moorix {

class ElidedLabel;
class SyncListView;
class SyncRowsModel;
class SyncSession;

/// What there is to know of the selected rows, and what can be chosen for them.
class SyncRowBar final : public QFrame
{
    Q_OBJECT

public:
    SyncRowBar(SyncSession &session, SyncRowsModel &rows, SyncListView &list, QWidget *parent = nullptr);

    QSize minimumSizeHint() const override;
    /// Compares the two files of the one selected row: line by line where they are small enough for that, else what
    /// they hold as a whole. Does nothing for other rows.
    void compare();

signals:
    void comparisonRequested(qsizetype row);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    struct Choice
    {
        SyncChoice choice;
        QPushButton *button;
    };

    void addChoice(QHBoxLayout &row, SyncChoice choice, const QString &objectName);
    void follow();
    void showFacts(const QList<qsizetype> &places);
    /// The place of the one selected row that is a file on both sides; -1 without one.
    qsizetype comparable() const;

    SyncSession &m_session;
    SyncRowsModel &m_rows;
    SyncListView &m_list;
    QBoxLayout *m_parts = nullptr;
    ElidedLabel *m_title;
    ElidedLabel *m_facts;
    QPushButton *m_compare;
    std::vector<Choice> m_choices;
    /// Which file the facts tell the comparison of.
    qsizetype m_compared = -1;
    Job m_comparing;
};

} // namespace moorix
