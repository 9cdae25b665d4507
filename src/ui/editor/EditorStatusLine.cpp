// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/editor/EditorStatusLine.h"

#include "editor/Languages.h"
#include "ui/ElidedLabel.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QLocale>
#include <QMenu>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace moorix {

EditorStatusLine::EditorStatusLine(QWidget *parent)
    : QFrame(parent)
    , m_file(new ElidedLabel(Qt::ElideMiddle, this))
    , m_place(addButton(u"editorPlace"_s, tr("Line and column; go to another one (Ctrl+G)"), nullptr))
    , m_indentation(addButton(u"editorIndentation"_s, tr("What the Tab key puts"), &EditorStatusLine::fillIndentation))
    , m_lineEnds(addButton(u"editorLineEnds"_s, tr("How lines end"), &EditorStatusLine::fillLineEnds))
    , m_encoding(addButton(u"editorEncoding"_s, tr("How the file writes characters"), &EditorStatusLine::fillEncoding))
    , m_language(addButton(u"editorLanguage"_s, tr("How the text is coloured"), &EditorStatusLine::fillLanguage))
{
    setObjectName(u"editorStatusLine"_s);
    setProperty("role", u"statusLine"_s);
    m_file->setObjectName(u"editorFile"_s);
    m_file->setProperty("role", u"muted"_s);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(14, 0, 8, 0);
    row->setSpacing(2);
    row->addWidget(m_file, 1);
    for (QPushButton *button : {m_place, m_indentation, m_lineEnds, m_encoding, m_language})
        row->addWidget(button);
    setFixedHeight(28);
    connect(m_place, &QPushButton::clicked, this, &EditorStatusLine::placeRequested);
}

QPushButton *EditorStatusLine::addButton(const QString &objectName, const QString &toolTip,
                                         void (EditorStatusLine::*fill)(QMenu &))
{
    QPushButton *button = Widgets::button({}, objectName, this);
    button->setProperty("role", u"link"_s);
    button->setFocusPolicy(Qt::TabFocus);
    button->setToolTip(toolTip);
    if (!fill)
        return button;
    connect(button, &QPushButton::clicked, this, [this, button, fill] {
        auto *menu = new QMenu(this);
        menu->setObjectName(u"editorMenu"_s);
        menu->setAttribute(Qt::WA_DeleteOnClose);
        (this->*fill)(*menu);
        const QSize size = menu->sizeHint();
        menu->popup(button->mapToGlobal(QPoint(button->width() - size.width(), -size.height())));
    });
    return button;
}

void EditorStatusLine::showFile(const QString &text)
{
    m_file->setText(text);
}

void EditorStatusLine::showPlace(const EditorView::Place &place)
{
    const QLocale locale;
    QString text = tr("Line %1, column %2").arg(locale.toString(place.line), locale.toString(place.column));
    if (place.selected > 0)
        text += tr(" (%1 selected)").arg(locale.toString(place.selected));
    m_place->setText(text);
}

void EditorStatusLine::showIndentation(const Indentation &indentation)
{
    m_shownIndentation = indentation;
    m_indentation->setText(indentation.usesTabs ? tr("Tabs: %1").arg(indentation.width)
                                                : tr("Spaces: %1").arg(indentation.width));
}

void EditorStatusLine::showLineEnds(const LineEnds &lineEnds)
{
    m_shownLineEnds = lineEnds;
    m_lineEnds->setText(lineEnds.isMixed ? tr("Mixed line ends") : nameOf(lineEnds.most));
}

void EditorStatusLine::showEncoding(TextEncoding encoding)
{
    m_shownEncoding = encoding;
    m_encoding->setText(nameOf(encoding));
}

void EditorStatusLine::showLanguage(const QString &name)
{
    m_language->setText(name.isEmpty() ? tr("Plain: very long lines") : name);
    m_language->setEnabled(!name.isEmpty());
}

void EditorStatusLine::setReadOnly(bool isReadOnly)
{
    m_isReadOnly = isReadOnly;
}

void EditorStatusLine::fillIndentation(QMenu &menu)
{
    for (const bool usesTabs : {false, true}) {
        for (const int width : {2, 4, 8}) {
            const Indentation indentation{usesTabs, width};
            QAction *action =
                menu.addAction(usesTabs ? tr("Tabs, %1 columns wide").arg(width) : tr("%1 spaces").arg(width), this,
                               [this, indentation] { emit indentationChosen(indentation); });
            action->setCheckable(true);
            action->setChecked(indentation == m_shownIndentation);
        }
        if (!usesTabs)
            menu.addSeparator();
    }
}

void EditorStatusLine::fillLineEnds(QMenu &menu)
{
    const std::pair<LineEnd, QString> rows[] = {{LineEnd::lf, tr("LF (Unix, Linux, macOS)")},
                                                {LineEnd::crlf, tr("CRLF (Windows)")},
                                                {LineEnd::cr, tr("CR (classic Mac)")}};
    for (const auto &[lineEnd, text] : rows) {
        QAction *action = menu.addAction(text, this, [this, lineEnd = lineEnd] { emit lineEndChosen(lineEnd); });
        action->setCheckable(true);
        action->setChecked(!m_shownLineEnds.isMixed && m_shownLineEnds.most == lineEnd);
        action->setEnabled(!m_isReadOnly);
    }
}

void EditorStatusLine::fillEncoding(QMenu &menu)
{
    menu.addAction(tr("Save in"))->setEnabled(false);
    for (const TextEncoding encoding : textEncodings) {
        QAction *action = menu.addAction(nameOf(encoding), this, [this, encoding] { emit encodingChosen(encoding); });
        action->setCheckable(true);
        action->setChecked(encoding == m_shownEncoding);
        action->setEnabled(!m_isReadOnly);
    }
    menu.addSeparator();
    QMenu *again = menu.addMenu(tr("Read the file again in"));
    for (const TextEncoding encoding : textEncodings)
        again->addAction(nameOf(encoding), this, [this, encoding] { emit readingChosen(encoding); });
}

void EditorStatusLine::fillLanguage(QMenu &menu)
{
    for (const Language &language : languages::all()) {
        QAction *action =
            menu.addAction(language.name, this, [this, name = language.name] { emit languageChosen(name); });
        action->setCheckable(true);
        action->setChecked(language.name == m_language->text());
    }
}

} // namespace moorix
