// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/ComparisonSession.h"
#include "ui/compare/DiffChoices.h"

#include <QTimer>
#include <QWidget>

#include <functional>

class QLabel;
class QPushButton;
class QStackedWidget;

namespace moorix {

class DiffHeader;
class DiffView;
class MessageBar;

/// Two files against each other, from reading them to the last change taken over and saved. Reads in the background,
/// and not at all any more once it is gone. F7 and Shift+F7 go through the changes, Alt+Left and Alt+Right copy one
/// across, Ctrl+Z and Ctrl+Shift+Z undo and do it again, Ctrl+S saves what was changed.
class DiffPage final : public QWidget
{
    Q_OBJECT
    Q_MOC_INCLUDE("files/FileService.h")

public:
    DiffPage(Comparison comparison, ComparisonSession::Environment environment, const DiffChoices &choices,
             QWidget *parent = nullptr);

    QString title() const;
    void focusContent();
    void focusSearch();
    /// Reads both files anew; what was looked at stays in sight, and what is not saved stays as it is.
    void reload();
    /// Whether nothing is left to be asked before it goes.
    bool isFreeToGo() const { return m_givesUpChanges || !m_session.edits().isChanged(); }
    /// False after asking what is to become of changes that are not saved; `leave` is run once they are saved or given
    /// up, and may then ask again.
    bool mayLeave(std::function<void()> leave);
    /// Of changes that are not saved: a sentence, or nothing.
    QString unsavedSentence() const;

signals:
    void backRequested();
    void choicesChanged(const moorix::DiffChoices &choices);
    void folderChanged(const moorix::FileService *service, const QStringList &folders);

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QWidget *makeMessage();
    void connectHeader();
    void connectSession();
    void showContent();
    void remark(const QString &sentence);
    /// In place of the files.
    void say(const QString &sentence, bool mayRetry);
    /// Says so where it takes longer than a moment.
    void wait(const QString &sentence);
    void followPlace();
    void followEdits();
    void stepHit(bool isNext);
    void copyCurrent(DiffSide to);
    void copy(const DiffLayout::Hunk &hunk, DiffSide to);
    void refuseCopy(const QString &reason);
    void undo();
    void redo();
    void saveChanged();
    void askToReplace(DiffSide side, bool isGone);
    void failSave(DiffSide side, const QString &reason);
    void finishSave(DiffSide side);

    ComparisonSession m_session;
    DiffHeader *m_header;
    MessageBar *m_bar;
    QLabel *m_remark;
    QStackedWidget *m_pages;
    DiffView *m_view;
    QLabel *m_message;
    QPushButton *m_retry;
    QTimer m_patience;
    QString m_waitingFor;
    /// Where keys were faster than the comparison: copies that are still to be made.
    QList<DiffSide> m_waiting;
    /// The side whose lines the last step has left where they were.
    DiffSide m_steady = DiffSide::left;
    /// Whose save the bar tells or asks of.
    std::optional<DiffSide> m_barIsAbout;
    /// Set while a save is waited for.
    std::function<void()> m_leave;
    bool m_givesUpChanges = false;
};

} // namespace moorix
