// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "editor/LineEnds.h"
#include "files/TextEncoding.h"
#include "ui/editor/EditorView.h"

#include <QFrame>

class QMenu;
class QPushButton;

namespace moorix {

class ElidedLabel;

/// The line below a text: where it lies, where the caret is, and how the text is written, each to be changed by a menu.
class EditorStatusLine final : public QFrame
{
    Q_OBJECT

public:
    explicit EditorStatusLine(QWidget *parent = nullptr);

    void showFile(const QString &text);
    void showPlace(const EditorView::Place &place);
    void showIndentation(const Indentation &indentation);
    void showLineEnds(const LineEnds &lineEnds);
    void showEncoding(TextEncoding encoding);
    /// An empty name says that the text is too long in its lines to be coloured.
    void showLanguage(const QString &name);
    /// What changes the text is not offered.
    void setReadOnly(bool isReadOnly);

signals:
    void placeRequested();
    void indentationChosen(const moorix::Indentation &indentation);
    void lineEndChosen(moorix::LineEnd lineEnd);
    void encodingChosen(moorix::TextEncoding encoding);
    void readingChosen(moorix::TextEncoding encoding);
    void languageChosen(const QString &name);

private:
    QPushButton *addButton(const QString &objectName, const QString &toolTip, void (EditorStatusLine::*fill)(QMenu &));
    void fillIndentation(QMenu &menu);
    void fillLineEnds(QMenu &menu);
    void fillEncoding(QMenu &menu);
    void fillLanguage(QMenu &menu);

    ElidedLabel *m_file;
    QPushButton *m_place;
    QPushButton *m_indentation;
    QPushButton *m_lineEnds;
    QPushButton *m_encoding;
    QPushButton *m_language;
    Indentation m_shownIndentation;
    LineEnds m_shownLineEnds;
    TextEncoding m_shownEncoding = TextEncoding::utf8;
    bool m_isReadOnly = false;
};

} // namespace moorix
