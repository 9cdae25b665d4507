// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/Comparison.h"
#include "app/TextDocument.h"
#include "editor/TextSearch.h"
#include "ui/editor/EditorCommand.h"

#include <QWidget>

namespace moorix {

class EditorFindBar;
class EditorStatusLine;
class EditorView;
class GoToLineBar;
class MessageBar;

/// One open file: its text with what is said of it above, and below it the lines to look for something and of how it
/// is written. What was typed and not saved is kept for the case of a crash, a second after it was typed.
class EditorPage final : public QWidget
{
    Q_OBJECT

public:
    struct Opened
    {
        QString path;
        /// What the user knows the file by where that is not its path: "web: /etc/hosts".
        QString place;
        LoadedText loaded;
        WriteProtection protection;
    };

    EditorPage(const AppModel &model, const Opened &opened, QWidget *parent = nullptr);

    const QString &path() const { return m_document->path(); }
    QString title() const { return m_document->name(); }
    /// Where the file lies, for the user.
    QString where() const;
    bool isModified() const;
    bool canUndo() const;
    bool canRedo() const;
    void focusContent();
    void run(EditorCommand command);
    /// Goes on with what an earlier run has left of this file, as a change of what is on the disk.
    void restore(const RecoveryCopies::Found &found, const QByteArray &text);
    /// Keeps unsaved text at the end of the program: blocking. Returns what went wrong, or nothing.
    QString keepNow();
    /// Saves, and calls `done` once everything is saved.
    void saveThen(std::function<void()> done);
    void setWraps(bool wraps);
    void setShowsBlanks(bool shows);
    void applyLook();

signals:
    /// The name, or whether it is modified.
    void titleChanged();
    /// There are other steps to be undone or done again.
    void stepsChanged();
    /// Nothing is left to be asked.
    void closed();
    void comparisonRequested(const moorix::Comparison &comparison);
    void wrapRequested();
    void blanksRequested();
    void messageRaised(const QString &sentence);

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void build();
    void connectView();
    void connectStatus();
    void connectSearch();
    void connectDocument();
    void showManner(const LoadedText &loaded);
    void showLineEnds(const LineEnds &lineEnds);
    void followLineEnds();
    void showFile();
    void showProtection();
    void setLanguage(const QString &name);

    /// Where a text is to be saved; without a path, into its own file.
    struct Target
    {
        QString path = {};
        TextDocument::Guard guard = TextDocument::Guard::known;
    };

    void save();
    void write(const Target &target);
    void chooseSaveAs();
    void afterSave();
    void afterRefusal();
    void sayStanding(textFile::Standing standing);
    void sayUnencodable(const QString &character, int line);
    void askToReload(std::optional<TextEncoding> encoding);
    void compare();
    void keep();
    void askToClose();

    void find(bool replaces);
    void closeFind();
    void goToLine();
    void search();
    void step(bool isBackward);
    void takeStep(bool isBackward);
    void showHitCount();
    void replaceOne();
    void replaceAll();

    TextDocument *m_document;
    std::shared_ptr<FileService> m_disk;
    MessageBar *m_notice;
    EditorView *m_view;
    EditorFindBar *m_findBar;
    GoToLineBar *m_goToBar;
    EditorStatusLine *m_status;
    QString m_language;
    bool m_isPlain = false;
    Indentation m_indentation;
    QTimer m_keepSoon;
    qint64 m_savedRevision = -1;
    /// What was last saved is none of the texts that undoing leads to.
    bool m_isElsewhere = false;
    /// Of the last save, and of one that waits for it to end.
    Target m_target;
    std::optional<Target> m_nextTarget;
    /// Why the text cannot be kept for the case of a crash, as it was told.
    QString m_keepProblem;
    /// Once everything is saved.
    std::function<void()> m_afterSave;

    QList<TextSearch::Hit> m_hits;
    QString m_searchProblem;
    /// Which text the hits are of; -1 for none.
    qint64 m_searchedRevision = -1;
    TextSearch::Query m_searched;
    /// A step that waits for the hits.
    std::optional<bool> m_pendingStep;
    QTimer m_searchSoon;
    Job m_searching;
    Job m_replacing;
};

} // namespace moorix
