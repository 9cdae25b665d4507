// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/AppModel.h"
#include "ui/editor/EditorPage.h"

#include <QWidget>

#include <map>

class QHBoxLayout;
class QStackedWidget;
class QTabBar;
class QToolButton;

namespace moorix {

/// All files that are open in the editor, one tab each. They stay open while something else is shown.
class EditorArea final : public QWidget
{
    Q_OBJECT

public:
    explicit EditorArea(AppModel &model, QWidget *parent = nullptr);

    /// Opens a text file of this machine, or shows it where it is open already. `place` is what the user knows it by
    /// where that is not its path, or empty. What is no text, or too much of it, is not opened but told of.
    void open(const QString &path, const QString &place);
    /// Opens what an earlier run has left unsaved.
    void restore(const RecoveryCopies::Found &found);

    bool isEmpty() const { return pages().isEmpty(); }
    QString title() const;
    void focusContent();
    void run(EditorCommand command);
    void stepTab(int step);
    QList<EditorPage *> unsaved() const;
    /// Saves everything, then calls `done`; stops at the first file that cannot be saved and shows it.
    void saveAll(std::function<void()> done);
    /// Keeps unsaved text at the end of the program: blocking. Returns what went wrong, or nothing.
    QString keepNow();
    void applyLook();

signals:
    /// A file is open and wants to be seen.
    void shown();
    void titleChanged();
    /// Back to where the user came from, with everything still open.
    void backRequested();
    /// The last file was closed.
    void emptied();
    void comparisonRequested(const moorix::Comparison &comparison);
    /// Not for the editor.
    void foundNoText(const QString &path);
    void foundTooLarge(const QString &path, const QString &sentence);

private:
    QList<EditorPage *> pages() const;
    EditorPage *current() const;
    QWidget *makeHeader();
    QToolButton *addButton(QHBoxLayout &row, EditorCommand command, const QString &objectName);
    void take(const QString &path, const QString &place, const std::function<void(EditorPage &)> &done);
    EditorPage *add(const EditorPage::Opened &opened);
    void addCloseButton(int index, EditorPage *page);
    void close(EditorPage *page);
    void updateTab(EditorPage *page);
    void updateSteps();
    void setSwitch(bool &value, const QString &key, QToolButton *button, void (EditorPage::*apply)(bool));

    AppModel &m_model;
    QTabBar *m_bar;
    QStackedWidget *m_stack;
    QToolButton *m_undo = nullptr;
    QToolButton *m_redo = nullptr;
    QToolButton *m_wrap = nullptr;
    QToolButton *m_blanks = nullptr;
    bool m_wraps = false;
    bool m_showsBlanks = false;
    /// Files that are being read.
    std::map<QString, Job> m_opening;
    std::map<QUuid, Job> m_restoring;
};

} // namespace moorix
