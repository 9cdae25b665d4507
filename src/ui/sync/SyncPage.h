// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLabel;

namespace moorix {

class SyncEndView;
class SyncEngine;
class SyncFilterBar;
class SyncFooter;
class SyncHeader;
class SyncHistoryView;
class SyncPairEditor;
class SyncListView;
class SyncProgressView;
class SyncQuestions;
class SyncRowBar;
class SyncRowsModel;
class SyncSession;
struct Comparison;

/// One folder pair, from the look at both sides to what came of it. The session outlives the page.
class SyncPage final : public QWidget
{
    Q_OBJECT
    Q_MOC_INCLUDE("app/Comparison.h")

public:
    SyncPage(SyncEngine &engine, SyncSession &session, QWidget *parent = nullptr);
    ~SyncPage() override;

    SyncSession &session() const { return m_session; }
    /// Gives the keyboard to what asks for it now: a question, the rows, a button.
    void focusContent();
    void focusSearch();
    void showSettings();

signals:
    void backRequested();
    void messageRaised(const QString &sentence);
    void comparisonRequested(const moorix::Comparison &comparison);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void layOut();
    void connectParts();
    void follow();
    void arrange();
    bool hasKeyboard() const;
    void showEmptiness();
    void closeExtras();
    void compare(qsizetype row);

    SyncSession &m_session;
    SyncHeader *m_header;
    SyncPairEditor *m_editor;
    SyncQuestions *m_questions;
    SyncProgressView *m_progress;
    SyncEndView *m_end;
    SyncRowsModel *m_rows;
    SyncFilterBar *m_filter;
    SyncListView *m_list;
    QLabel *m_empty;
    SyncHistoryView *m_history;
    SyncRowBar *m_rowBar;
    SyncFooter *m_footer;
};

} // namespace moorix
