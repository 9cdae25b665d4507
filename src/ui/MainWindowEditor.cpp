// SPDX-License-Identifier: GPL-3.0-or-later
// The editor in the window.
#include "ui/MainWindow.h"

#include "editor/RecoveryCopies.h"
#include "files/Format.h"
#include "ui/MessageBar.h"
#include "ui/RemoteOpening.h"
#include "ui/SideView.h"
#include "ui/editor/EditorArea.h"

#include <QBoxLayout>
#include <QStackedWidget>

namespace moorix {

void MainWindow::connectEditor()
{
    m_editor = new EditorArea(m_model, this);
    m_middle->addWidget(m_editor);
    m_handlers[WindowCommand::editor] = [this] {
        if (showsEditor())
            showSides();
        else if (m_editor->isEmpty())
            emit m_model.messageRaised(tr("No file is open in the editor; F4 opens the one that is selected."));
        else
            showEditor();
    };
    for (SideView *view : m_sideViews)
        connect(view, &SideView::editRequested, m_editor, &EditorArea::open);
    connect(m_editor, &EditorArea::shown, this, &MainWindow::showEditor);
    connect(m_editor, &EditorArea::titleChanged, this, [this] {
        if (showsEditor())
            showLocation();
    });
    connect(m_editor, &EditorArea::backRequested, this, &MainWindow::showSides);
    connect(m_editor, &EditorArea::emptied, this, [this] {
        if (!showsEditor())
            return;
        showSides();
        activeView().focusContent();
    });
    connect(m_editor, &EditorArea::comparisonRequested, this, &MainWindow::showComparison);
    connect(m_editor, &EditorArea::foundNoText, this, [this](const QString &path) {
        openWithDesktop(m_model, path);
        emit m_model.messageRaised(
            tr("“%1” is no text; the desktop's program opens it.").arg(Format::display(Format::fileName(path))));
    });
    connect(m_editor, &EditorArea::foundTooLarge, this, [this](const QString &path, const QString &sentence) {
        m_question->offer(sentence, tr("Open with the desktop's program"), MessageBar::Tone::information,
                          [this, path] { openWithDesktop(m_model, path); });
    });
    connect(m_middle, &QStackedWidget::currentChanged, this, [this] {
        if (showsEditor())
            m_editor->focusContent();
    });
    m_leftOver = runJob([copies = m_model.recoveryCopies()](const std::stop_token &) { return copies->leftOver(); },
                        [this](const RecoveryCopies::LeftOver &leftOver) {
                            if (!leftOver.found.isEmpty())
                                offerUnsavedText(leftOver.found);
                            for (const QString &problem : leftOver.problems)
                                emit m_model.messageRaised(problem);
                        },
                        [this](const Error &error) { emit m_model.messageRaised(error.message()); });
}

bool MainWindow::showsEditor() const
{
    return m_editor && m_middle->currentWidget() == m_editor;
}

void MainWindow::showEditor()
{
    // A sync that stands there is left in order.
    if (!showsEditor())
        showSides();
    m_middle->setCurrentWidget(m_editor);
    followSession();
    m_editor->focusContent();
}

/// What earlier runs have left waits until somebody looks at it, also over several starts.
void MainWindow::offerUnsavedText(const QList<RecoveryCopies::Found> &found)
{
    auto *bar = new MessageBar(centralWidget());
    bar->setObjectName(QStringLiteral("unsavedTextBar"));
    bar->setProperty("place", QStringLiteral("window"));
    auto *column = static_cast<QBoxLayout *>(centralWidget()->layout());
    column->insertWidget(column->indexOf(m_question), bar);
    const RecoveryCopies::Found &last = found.constLast();
    const QString sentence =
        found.size() == 1
            ? tr("Changes of “%1” were not saved when Moorix ended (%2).")
                  .arg(Format::display(last.record.place.isEmpty() ? last.record.path : last.record.place),
                       Format::date(last.written))
            : tr("Changes of %1 files were not saved when Moorix ended.").arg(found.size());
    bar->offer(sentence, tr("Show them"), MessageBar::Tone::warning, [this, found] {
        for (const RecoveryCopies::Found &each : found)
            m_editor->restore(each);
    });
}

/// False, once, where that fails: the question before has promised it.
bool MainWindow::keepUnsavedText()
{
    const QString problem = m_editor->keepNow();
    if (problem.isEmpty() || std::exchange(m_hasWarnedOfLoss, true))
        return true;
    m_mayClose = false;
    m_question->ask(tr("What is not saved cannot be kept for the next start and would be lost: %1").arg(problem),
                    tr("Quit all the same"), MessageBar::Tone::danger, [this] { quitNow(); });
    return false;
}

/// What lists would do with these keys, done to the text.
void MainWindow::runEditorCommand(PaneCommand command)
{
    switch (command) {
    case PaneCommand::filter:
        m_editor->run(EditorCommand::find);
        break;
    case PaneCommand::reload:
        m_editor->run(EditorCommand::reload);
        break;
    case PaneCommand::goBack:
    case PaneCommand::goUp:
        showSides();
        break;
    default:
        break;
    }
}

} // namespace moorix
