// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/compare/DiffPage.h"

#include "files/FileService.h"
#include "ui/MessageBar.h"
#include "ui/Widgets.h"
#include "ui/compare/DiffHeader.h"
#include "ui/compare/DiffSwitches.h"
#include "ui/compare/DiffView.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace moorix {

namespace {

/// Lines that end differently differ in all else that is compared.
QString lineEndRemark(const DiffContent &content)
{
    const DiffLineEnds left = content.left.text.lineEnds();
    const DiffLineEnds right = content.right.text.lineEnds();
    if (left == right || left == DiffLineEnds::none || right == DiffLineEnds::none ||
        content.options.space != DiffOptions::Space::compared)
        return {};
    return DiffPage::tr("The lines end in %1 on the left and in %2 on the right.").arg(nameOf(left), nameOf(right));
}

/// What the rows alone do not tell; may be empty.
QString remarkOn(const DiffContent &content, bool isSaved)
{
    if (content.isSame && !isSaved)
        return DiffPage::tr("Both files will hold the same once they are saved.");
    if (content.isSame)
        return DiffPage::tr("Both files hold the same.");
    const bool isEqual = DiffEngine::stats(content.runs) == DiffEngine::Stats{};
    if (isEqual && content.left.encoding != content.right.encoding)
        return DiffPage::tr("All lines are equal, but not the bytes: the left file is %1, the right one %2.")
            .arg(nameOf(*content.left.encoding), nameOf(*content.right.encoding));
    if (isEqual)
        return DiffPage::tr("All lines are equal but for what is ignored.");
    if (!content.isAligned)
        return DiffPage::tr("So many lines in a row differ that they stand beside each other as they come, not as they "
                            "belong together.");
    return lineEndRemark(content);
}

} // namespace

DiffPage::DiffPage(Comparison comparison, ComparisonSession::Environment environment, const DiffChoices &choices,
                   QWidget *parent)
    : QWidget(parent)
    , m_session(std::move(comparison), std::move(environment))
    , m_header(new DiffHeader(m_session.comparison(), choices, this))
    , m_bar(new MessageBar(this))
    , m_remark(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_pages(new QStackedWidget(this))
    , m_view(new DiffView(this))
    , m_message(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_retry(Widgets::button(tr("Try again"), QStringLiteral("diffRetry"), this))
{
    setObjectName(QStringLiteral("diffPage"));
    setAttribute(Qt::WA_StyledBackground);
    setFocusPolicy(Qt::StrongFocus);
    m_remark->setObjectName(QStringLiteral("diffRemark"));
    m_remark->setContentsMargins(14, 7, 14, 7);
    m_remark->hide();
    m_pages->addWidget(makeMessage());
    m_pages->addWidget(m_view);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_header);
    column->addWidget(m_bar);
    column->addWidget(m_remark);
    column->addWidget(m_pages, 1);
    connectHeader();
    connectSession();
    m_view->setWrapped(choices.isWrapped);
    wait(tr("Reading both files…"));
    m_session.setOptions(choices.options);
}

QWidget *DiffPage::makeMessage()
{
    auto *page = new QWidget(this);
    m_message->setObjectName(QStringLiteral("diffMessage"));
    m_message->setAlignment(Qt::AlignCenter);
    m_message->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *column = new QVBoxLayout(page);
    column->setContentsMargins(24, 24, 24, 24);
    column->setSpacing(14);
    column->addStretch(1);
    column->addWidget(m_message);
    column->addWidget(m_retry, 0, Qt::AlignCenter);
    column->addStretch(1);
    return page;
}

void DiffPage::connectHeader()
{
    connect(m_retry, &QPushButton::clicked, this, &DiffPage::reload);
    connect(m_header, &DiffHeader::backRequested, this, &DiffPage::backRequested);
    connect(m_header, &DiffHeader::changeRequested, this, [this](int step) {
        m_view->stepChange(step);
        focusContent();
    });
    connect(m_header, &DiffHeader::undoRequested, this, &DiffPage::undo);
    connect(m_header, &DiffHeader::redoRequested, this, &DiffPage::redo);
    connect(m_header, &DiffHeader::saveRequested, this, [this](DiffSide side) { m_session.save(side); });
    connect(m_header, &DiffHeader::contentFocusRequested, this, &DiffPage::focusContent);
    connect(m_header, &DiffHeader::hitRequested, this, &DiffPage::stepHit);
    connect(m_header, &DiffHeader::searched, this, [this](const QString &text) {
        m_view->setNeedle(text);
        m_header->showFound(true);
    });
    const DiffSwitches &switches = m_header->switches();
    connect(&switches, &DiffSwitches::foldingChosen, this, [this](bool isFolded) {
        m_view->setFolded(isFolded);
        focusContent();
    });
    connect(&switches, &DiffSwitches::wrappingChosen, this, [this](bool isWrapped) {
        m_view->setWrapped(isWrapped);
        focusContent();
        emit choicesChanged(m_header->switches().choices());
    });
    connect(&switches, &DiffSwitches::optionsChosen, this, [this](const DiffOptions &options) {
        wait(tr("Comparing both files…"));
        m_session.setOptions(options);
        emit choicesChanged(m_header->switches().choices());
    });
}

void DiffPage::connectSession()
{
    using namespace std::chrono_literals;
    m_patience.setSingleShot(true);
    m_patience.setInterval(150ms);
    connect(&m_patience, &QTimer::timeout, this, [this] {
        if (m_pages->currentWidget() == m_view)
            remark(m_waitingFor);
        else
            say(m_waitingFor, false);
    });
    connect(m_view, &DiffView::currentChanged, this, &DiffPage::followPlace);
    connect(m_view, &DiffView::copyRequested, this, &DiffPage::copy);
    connect(&m_session, &ComparisonSession::contentChanged, this, &DiffPage::showContent);
    connect(&m_session, &ComparisonSession::failed, this, [this](const QString &sentence) {
        m_waiting.clear();
        m_header->setContent(nullptr);
        say(sentence, true);
    });
    connect(&m_session, &ComparisonSession::editsChanged, this, &DiffPage::followEdits);
    connect(&m_session, &ComparisonSession::saved, this, &DiffPage::finishSave);
    connect(&m_session, &ComparisonSession::saveFailed, this, &DiffPage::failSave);
    connect(&m_session, &ComparisonSession::changedMeanwhile, this, &DiffPage::askToReplace);
    connect(&m_session, &ComparisonSession::folderChanged, this, &DiffPage::folderChanged);
    connect(m_bar, &MessageBar::dismissed, this, [this] { m_leave = {}; });
}

QString DiffPage::title() const
{
    return DiffHeader::title(m_session.comparison());
}

void DiffPage::wait(const QString &sentence)
{
    m_waitingFor = sentence;
    m_waiting.clear();
    m_patience.start();
}

void DiffPage::reload()
{
    wait(tr("Reading both files…"));
    m_session.reload();
}

void DiffPage::showContent()
{
    const std::shared_ptr<const DiffContent> &content = m_session.content();
    m_header->setContent(content.get());
    if (!content->obstacle.isEmpty()) {
        say(content->obstacle, false);
        return;
    }
    m_patience.stop();
    remark(remarkOn(*content, !m_session.edits().isChanged()));
    const bool hadKeyboard = isAncestorOf(QApplication::focusWidget()) || QApplication::focusWidget() == this;
    const bool isAnswered = m_bar->isAncestorOf(QApplication::focusWidget());
    m_pages->setCurrentWidget(m_view);
    m_view->setContent(content, m_steady);
    followPlace();
    if (hadKeyboard && !isAnswered)
        focusContent();
    if (!m_waiting.isEmpty())
        copyCurrent(m_waiting.takeFirst());
}

void DiffPage::remark(const QString &sentence)
{
    m_remark->setText(sentence);
    m_remark->setVisible(!sentence.isEmpty());
}

void DiffPage::say(const QString &sentence, bool mayRetry)
{
    m_patience.stop();
    const bool hadKeyboard = isAncestorOf(QApplication::focusWidget());
    remark({});
    m_message->setText(sentence);
    m_retry->setVisible(mayRetry);
    m_pages->setCurrentIndex(0);
    if (hadKeyboard)
        focusContent();
}

void DiffPage::followPlace()
{
    m_header->showPlace(m_view->currentChange(), m_view->changeCount());
}

void DiffPage::stepHit(bool isNext)
{
    const auto step = isNext ? DiffSearch::Step::next : DiffSearch::Step::previous;
    m_header->showFound(m_header->needle().isEmpty() || m_view->stepHit(step));
}

void DiffPage::followEdits()
{
    const DiffEdits &edits = m_session.edits();
    m_header->showEdits(edits.isChanged(DiffSide::left), edits.isChanged(DiffSide::right), edits.canUndo(),
                        edits.canRedo());
    for (const DiffSide side : {DiffSide::left, DiffSide::right})
        m_header->showSaving(side, m_session.isSaving(side));
}

void DiffPage::copyCurrent(DiffSide to)
{
    if (m_pages->currentWidget() != m_view)
        return;
    if (m_session.isBusy())
        m_waiting.append(to);
    else if (const auto hunk = m_view->currentHunk())
        copy(*hunk, to);
    else
        refuseCopy(tr("Nothing differs in this line; F7 goes to the next change."));
}

void DiffPage::refuseCopy(const QString &reason)
{
    m_waiting.clear();
    remark(reason);
}

void DiffPage::copy(const DiffLayout::Hunk &hunk, DiffSide to)
{
    // What is shown is not what there is any more.
    if (m_session.isBusy())
        return;
    if (to == DiffSide::right && m_session.comparison().isRightFixed) {
        refuseCopy(tr("Your text is changed in the editor only. What is copied to the left changes the file."));
        return;
    }
    // On with the next one, so that a key goes through all.
    m_view->stepChange(1);
    m_steady = otherSide(to);
    if (!m_session.copy(hunk, to))
        refuseCopy(tr("These lines differ only by how they end, and a file keeps its own line ends."));
}

void DiffPage::undo()
{
    m_waiting.clear();
    if (const auto changed = m_session.undo())
        m_steady = otherSide(*changed);
}

void DiffPage::redo()
{
    m_waiting.clear();
    if (const auto changed = m_session.redo())
        m_steady = otherSide(*changed);
}

void DiffPage::saveChanged()
{
    m_bar->dismiss();
    for (const DiffSide side : {DiffSide::left, DiffSide::right}) {
        if (m_session.edits().isChanged(side))
            m_session.save(side);
    }
}

void DiffPage::askToReplace(DiffSide side, bool isGone)
{
    const QString name = m_session.nameOf(side);
    m_barIsAbout = side;
    const QString question =
        isGone ? tr("“%1” is no longer there. Save it all the same?").arg(name)
               : tr("“%1” was changed by somebody else meanwhile; nothing is overwritten. Overwrite it?").arg(name);
    m_bar->ask(question, isGone ? tr("Save") : tr("Overwrite"), MessageBar::Tone::warning,
               [this, side] { m_session.save(side, ComparisonSession::Guard::anything); });
}

QString DiffPage::unsavedSentence() const
{
    const bool isLeft = m_session.edits().isChanged(DiffSide::left);
    const bool isRight = m_session.edits().isChanged(DiffSide::right);
    if (isLeft && isRight)
        return tr("Both compared files have changes that are not saved.");
    if (!isLeft && !isRight)
        return {};
    return tr("“%1” has changes that are not saved.").arg(m_session.nameOf(isLeft ? DiffSide::left : DiffSide::right));
}

bool DiffPage::mayLeave(std::function<void()> leave)
{
    if (isFreeToGo())
        return true;
    const auto giveUp = [this, leave] {
        m_givesUpChanges = true;
        leave();
    };
    const auto saveFirst = [this, leave] {
        saveChanged();
        m_leave = leave;
    };
    m_barIsAbout.reset();
    m_bar->ask(unsavedSentence(), tr("Discard"), MessageBar::Tone::warning, giveUp, {tr("Save"), saveFirst});
    return false;
}

void DiffPage::failSave(DiffSide side, const QString &reason)
{
    m_leave = {};
    m_barIsAbout = side;
    m_bar->tell(tr("“%1” is not saved: %2").arg(m_session.nameOf(side), reason), MessageBar::Tone::danger);
}

void DiffPage::finishSave(DiffSide side)
{
    if (m_barIsAbout == side)
        m_bar->dismiss();
    m_barIsAbout.reset();
    if (m_leave && !m_session.edits().isChanged())
        std::exchange(m_leave, {})();
}

void DiffPage::focusContent()
{
    if (m_pages->currentWidget() == m_view)
        m_view->setFocus();
    else if (m_retry->isVisibleTo(this))
        m_retry->setFocus();
    else
        setFocus();
}

void DiffPage::focusSearch()
{
    if (m_pages->currentWidget() == m_view)
        m_header->focusSearch();
}

/// Keys that mean something else in a list of files.
bool DiffPage::event(QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        const auto *press = static_cast<QKeyEvent *>(event);
        const int key = press->key();
        const bool isAcross =
            press->modifiers().testFlag(Qt::AltModifier) && (key == Qt::Key_Left || key == Qt::Key_Right);
        if (key == Qt::Key_F7 || key == Qt::Key_F3 || isAcross || press->matches(QKeySequence::Save)) {
            event->accept();
            return true;
        }
    }
    return QWidget::event(event);
}

void DiffPage::keyPressEvent(QKeyEvent *event)
{
    const bool isBack = event->modifiers().testFlag(Qt::ShiftModifier);
    const bool isAcross = event->modifiers().testFlag(Qt::AltModifier);
    if (event->matches(QKeySequence::Save))
        saveChanged();
    else if (event->matches(QKeySequence::Undo))
        undo();
    else if (event->matches(QKeySequence::Redo))
        redo();
    else if (isAcross && (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right))
        copyCurrent(event->key() == Qt::Key_Left ? DiffSide::left : DiffSide::right);
    else if (event->key() == Qt::Key_F7)
        m_view->stepChange(isBack ? -1 : 1);
    else if (event->key() == Qt::Key_F3)
        stepHit(!isBack);
    else if (event->key() == Qt::Key_Escape)
        emit backRequested();
    else
        QWidget::keyPressEvent(event);
}

} // namespace moorix
