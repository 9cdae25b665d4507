// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/editor/EditorPage.h"

#include "app/AppModel.h"
#include "editor/Languages.h"
#include "files/Format.h"
#include "ui/MessageBar.h"
#include "ui/editor/EditorFindBar.h"
#include "ui/editor/EditorStatusLine.h"
#include "ui/editor/EditorView.h"
#include "ui/editor/GoToLineBar.h"

#include <QApplication>
#include <QKeyEvent>
#include <QVBoxLayout>

using namespace std::chrono_literals;

namespace moorix {

EditorPage::EditorPage(const AppModel &model, const Opened &opened, QWidget *parent)
    : QWidget(parent)
    , m_document(new TextDocument({model.localFiles(), model.recoveryCopies()}, opened.path, opened.place,
                                  opened.loaded, opened.protection, this))
    , m_disk(model.localFiles())
    , m_notice(new MessageBar(this))
    , m_view(new EditorView(this))
    , m_findBar(new EditorFindBar(this))
    , m_goToBar(new GoToLineBar(this))
    , m_status(new EditorStatusLine(this))
{
    setObjectName(QStringLiteral("editorPage"));
    build();
    connectView();
    connectStatus();
    connectSearch();
    connectDocument();
    m_language = languages::of(title(), opened.loaded.text).name;
    showManner(opened.loaded);
    m_view->setContent(opened.loaded.text);
    m_status->showPlace(m_view->place());
    showFile();
    showProtection();
}

void EditorPage::build()
{
    setFocusProxy(m_view);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_notice);
    column->addWidget(m_view, 1);
    column->addWidget(m_findBar);
    column->addWidget(m_goToBar);
    column->addWidget(m_status);
}

void EditorPage::connectView()
{
    m_keepSoon.setSingleShot(true);
    connect(&m_keepSoon, &QTimer::timeout, this, &EditorPage::keep);
    connect(m_view, &EditorView::contentChanged, this, [this] {
        // Long texts are written less often.
        constexpr long longText = 1'000'000;
        if (!m_keepSoon.isActive())
            m_keepSoon.start(m_view->length() > longText ? 5s : 1s);
        if (m_findBar->isVisible())
            m_searchSoon.start();
        emit stepsChanged();
    });
    connect(m_view, &EditorView::placeChanged, this, [this] { m_status->showPlace(m_view->place()); });
    connect(m_view, &QsciScintilla::modificationChanged, this, [this](bool isModified) {
        // Undone down to what is on the disk: nothing is left to be kept.
        if (!isModified && !m_isElsewhere && !m_document->isSaving()) {
            m_keepSoon.stop();
            m_document->forget();
        }
        emit titleChanged();
    });
}

void EditorPage::connectStatus()
{
    connect(m_status, &EditorStatusLine::placeRequested, this, &EditorPage::goToLine);
    connect(m_status, &EditorStatusLine::languageChosen, this, &EditorPage::setLanguage);
    connect(m_status, &EditorStatusLine::indentationChosen, this, [this](const Indentation &indentation) {
        m_view->setIndentation(indentation);
        m_status->showIndentation(indentation);
    });
    connect(m_status, &EditorStatusLine::lineEndChosen, this, [this](LineEnd lineEnd) {
        // The component would do it line by line, with a step to be undone for each.
        m_view->replaceContent(withLineEnds(m_view->content(), lineEnd));
        showLineEnds({lineEnd, false});
    });
    connect(m_status, &EditorStatusLine::encodingChosen, this, [this](TextEncoding encoding) {
        if (encoding == m_document->encoding())
            return;
        m_document->setEncoding(encoding);
        m_status->showEncoding(encoding);
        m_notice->offer(tr("“%1” will be written in %2.").arg(Format::display(title()), nameOf(encoding)), tr("Save"),
                        MessageBar::Tone::information, [this] { save(); });
    });
    connect(m_status, &EditorStatusLine::readingChosen, this, [this](TextEncoding encoding) { askToReload(encoding); });
}

/// All but the text itself.
void EditorPage::showManner(const LoadedText &loaded)
{
    m_isPlain = loaded.longestLine > EditorView::longLine;
    m_indentation = Indentation::of(loaded.text);
    m_view->setIndentation(m_indentation);
    setLanguage(m_language);
    m_status->showIndentation(m_indentation);
    showLineEnds(loaded.lineEnds);
    m_status->showEncoding(loaded.encoding);
}

void EditorPage::showLineEnds(const LineEnds &lineEnds)
{
    m_view->setEolMode(lineEnds.most == LineEnd::crlf ? QsciScintilla::EolWindows
                       : lineEnds.most == LineEnd::cr ? QsciScintilla::EolMac
                                                      : QsciScintilla::EolUnix);
    m_status->showLineEnds(lineEnds);
}

/// After what may have changed them all.
void EditorPage::followLineEnds()
{
    if (m_view->lines() > 1)
        showLineEnds(m_view->lineEnds());
}

void EditorPage::setLanguage(const QString &name)
{
    m_language = name;
    m_view->setLanguage(languages::named(name), m_isPlain);
    m_status->showLanguage(m_isPlain ? QString() : name);
}

QString EditorPage::where() const
{
    return Format::display(m_document->place().isEmpty() ? path() : m_document->place());
}

void EditorPage::showFile()
{
    m_status->showFile(m_document->protection().reason.isEmpty() ? where() : tr("%1 (read-only)").arg(where()));
}

void EditorPage::showProtection()
{
    const WriteProtection &protection = m_document->protection();
    const bool isProtected = !protection.reason.isEmpty();
    m_view->setReadOnly(isProtected);
    m_status->setReadOnly(isProtected);
    showFile();
    if (!isProtected)
        return;
    const QString sentence = tr("“%1” is shown for reading only. %2").arg(Format::display(title()), protection.reason);
    if (!protection.isWaivable) {
        m_notice->tell(sentence, MessageBar::Tone::information);
        return;
    }
    m_notice->offer(sentence, tr("Edit anyway"), MessageBar::Tone::information, [this] {
        m_document->waiveProtection();
        showProtection();
        focusContent();
    });
}

bool EditorPage::isModified() const
{
    return m_view->isModified() || m_isElsewhere;
}

bool EditorPage::canUndo() const
{
    return m_view->isUndoAvailable() && !m_view->isReadOnly();
}

bool EditorPage::canRedo() const
{
    return m_view->isRedoAvailable() && !m_view->isReadOnly();
}

void EditorPage::focusContent()
{
    m_view->setFocus();
}

void EditorPage::setWraps(bool wraps)
{
    m_view->setWraps(wraps && !m_isPlain);
}

void EditorPage::setShowsBlanks(bool shows)
{
    m_view->setShowsBlanks(shows);
}

void EditorPage::applyLook()
{
    m_view->applyLook();
}

void EditorPage::run(EditorCommand command)
{
    using C = EditorCommand;
    switch (command) {
    case C::save:
        return save();
    case C::saveAs:
        return chooseSaveAs();
    case C::find:
        return find(false);
    case C::replace:
        return find(true);
    case C::findNext:
        return step(false);
    case C::findPrevious:
        return step(true);
    case C::goToLine:
        return goToLine();
    case C::undo:
        m_view->undo();
        return followLineEnds();
    case C::redo:
        m_view->redo();
        return followLineEnds();
    case C::reload:
        return askToReload(std::nullopt);
    case C::wrapLines:
        return emit wrapRequested();
    case C::showBlanks:
        return emit blanksRequested();
    case C::zoomIn:
        return m_view->zoomIn();
    case C::zoomOut:
        return m_view->zoomOut();
    case C::zoomReset:
        return m_view->zoomTo(0);
    case C::close:
        return askToClose();
    }
}

bool EditorPage::event(QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride && editorCommandForKey(*static_cast<QKeyEvent *>(event))) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void EditorPage::keyPressEvent(QKeyEvent *event)
{
    const auto command = editorCommandForKey(*event);
    if (!command)
        return QWidget::keyPressEvent(event);
    // The innermost of what Escape can close.
    if (event->key() == Qt::Key_Escape && m_findBar->isVisible())
        closeFind();
    else if (event->key() == Qt::Key_Escape && m_notice->isVisible())
        m_notice->dismiss();
    else
        run(*command);
}

} // namespace moorix
