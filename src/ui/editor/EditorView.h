// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "editor/LineEnds.h"
#include "editor/TextSearch.h"

#include <Qsci/qsciscintilla.h>

namespace moorix {

struct Language;

/// The text of one file, to be read and changed. Places are counted from 1 for the user, in characters; hits are bytes
/// of the text, which is UTF-8 throughout.
class EditorView final : public QsciScintilla
{
    Q_OBJECT

public:
    /// Lines longer than this are neither coloured nor wrapped.
    static constexpr qsizetype longLine = 20'000;

    explicit EditorView(QWidget *parent = nullptr);

    /// Another text, with nothing to be undone.
    void setContent(const QByteArray &text);
    /// Another text as one step that can be undone; the caret stays in its line.
    void replaceContent(const QByteArray &text);
    QByteArray content() const;
    LineEnds lineEnds() const;
    /// Counts the changes of the text.
    qint64 revision() const { return m_revision; }
    /// The text is what is on the disk.
    void markSaved();

    /// `isPlain` leaves the rules of the language out, for texts on which they would take too long.
    void setLanguage(const Language &language, bool isPlain);
    void setIndentation(const Indentation &indentation);
    void setWraps(bool wraps);
    void setShowsBlanks(bool shows);
    /// The theme or its text size is another one.
    void applyLook();

    struct Place
    {
        int line = 1;
        int column = 1;
        qsizetype selected = 0;
    };
    Place place() const;
    /// Beyond the end of the text or of the line, the end.
    void goTo(int line, int column);
    TextSearch::Hit selection() const;
    void select(const TextSearch::Hit &hit);
    /// The selected text, where it is of one line.
    QString selectedWords() const;
    /// Marks these from now on.
    void setHits(QList<TextSearch::Hit> hits);
    void replace(const TextSearch::Hit &hit, const QByteArray &text);

signals:
    void contentChanged();
    void placeChanged();

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void freeKeys();
    void fitMargin();
    QFont textFont() const;
    void paintHits();

    qint64 m_revision = 0;
    QList<TextSearch::Hit> m_hits;
};

} // namespace moorix
