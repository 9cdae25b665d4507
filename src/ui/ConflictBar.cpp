// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ConflictBar.h"

#include "base/Error.h"
#include "files/Format.h"
#include "transfers/TransferEngine.h"
#include "ui/CheckBox.h"
#include "ui/ComparisonText.h"
#include "ui/FlowLayout.h"
#include "ui/TransferText.h"
#include "ui/Widgets.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QVBoxLayout>

#include <chrono>

using namespace std::chrono_literals;

namespace moorix {

namespace {

QString facts(const FileItem &item)
{
    const QString size =
        item.isDirectory ? QCoreApplication::translate("ConflictBar", "folder") : Format::byteCount(item.size);
    return size + QStringLiteral("  ·  ") + Format::date(item.modified);
}

/// " (newer)" for the younger of two files of known age.
QString age(const FileItem &item, const FileItem &other)
{
    if (!item.modified || !other.modified || *item.modified <= *other.modified)
        return {};
    return QCoreApplication::translate("ConflictBar", "  ·  newer");
}

/// Into a line, a text or a terminal. Lists take text only to find an entry by it.
bool isTyping(const QWidget *focus)
{
    return focus && focus->testAttribute(Qt::WA_InputMethodEnabled) && !qobject_cast<const QAbstractItemView *>(focus);
}

} // namespace

ConflictBar::ConflictBar(TransferEngine &transfers, QWidget *parent)
    : QFrame(parent)
    , m_transfers(transfers)
    , m_question(Widgets::label({}, Widgets::TextRole::heading, this))
    , m_existing(Widgets::label({}, Widgets::TextRole::body, this))
    , m_source(Widgets::label({}, Widgets::TextRole::body, this))
    , m_comparison(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_compare(Widgets::button(tr("Compare"), QStringLiteral("conflictCompare"), this))
    , m_forAll(new CheckBox(tr("The same for all"), this))
{
    setObjectName(QStringLiteral("conflictBar"));
    m_question->setObjectName(QStringLiteral("conflictQuestion"));
    m_existing->setObjectName(QStringLiteral("conflictExisting"));
    m_source->setObjectName(QStringLiteral("conflictSource"));
    m_comparison->setObjectName(QStringLiteral("conflictComparison"));
    m_compare->setToolTip(tr("Tells whether both files hold the same"));
    connect(m_compare, &QPushButton::clicked, this, &ConflictBar::compare);
    m_forAll->setObjectName(QStringLiteral("conflictForAll"));
    auto *buttons = new FlowLayout(8, FlowLayout::Edge::right);
    buttons->addWidget(m_compare);
    addChoice(*buttons, tr("Cancel transfer"), QStringLiteral("conflictCancel"), ConflictAnswer::Choice::cancel);
    addChoice(*buttons, tr("Keep both"), QStringLiteral("conflictKeepBoth"), ConflictAnswer::Choice::rename);
    addConditions(*buttons);
    addChoice(*buttons, tr("Overwrite"), QStringLiteral("conflictOverwrite"), ConflictAnswer::Choice::overwrite);
    addChoice(*buttons, tr("Skip"), QStringLiteral("conflictSkip"), ConflictAnswer::Choice::skip);
    // A folder with a long name is cut off; it must not push the answers out of the window.
    for (QLabel *label : {m_question, m_existing, m_source, m_comparison})
        label->setMinimumWidth(1);
    auto *answers = new QHBoxLayout;
    answers->addWidget(m_forAll, 0, Qt::AlignTop);
    answers->addLayout(buttons, 1);
    auto *sides = new QHBoxLayout;
    sides->setSpacing(24);
    sides->addWidget(m_existing, 1);
    sides->addWidget(m_source, 1);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(16, 12, 16, 12);
    column->setSpacing(8);
    column->addWidget(m_question);
    column->addLayout(sides);
    column->addWidget(m_comparison);
    column->addLayout(answers);
    m_grace.setSingleShot(true);
    m_grace.setInterval(250ms);
    connect(&m_grace, &QTimer::timeout, this, &ConflictBar::leave);
    connect(&transfers, &TransferEngine::conflictChanged, this, &ConflictBar::follow);
    connect(
        qApp, &QApplication::focusChanged, this,
        [this] {
            const QWidget *focus = QApplication::focusWidget();
            if (m_isUnheard && focus && !isTyping(focus))
                takeKeyboard();
        },
        // Whoever gives the keyboard away is not done with it yet.
        Qt::QueuedConnection);
    hide();
    follow();
}

void ConflictBar::addChoice(QLayout &row, const QString &text, const QString &objectName, ConflictAnswer::Choice choice)
{
    QPushButton *button = choice == ConflictAnswer::Choice::skip ? Widgets::primaryButton(text, objectName, this)
                                                                 : Widgets::button(text, objectName, this);
    if (choice == ConflictAnswer::Choice::overwrite)
        button->setProperty("role", QStringLiteral("danger"));
    row.addWidget(button);
    // A click leaves the keyboard on the harmless answer.
    button->setFocusPolicy(Qt::TabFocus);
    button->installEventFilter(this);
    connect(button, &QPushButton::clicked, this, [this, choice] { answer(choice); });
}

void ConflictBar::addConditions(QLayout &row)
{
    using Choice = ConflictAnswer::Choice;
    QPushButton *button = Widgets::button(tr("Overwrite if…"), QStringLiteral("conflictConditions"), this);
    auto *menu = new QMenu(button);
    const auto add = [&](const QString &text, const QString &objectName, Choice choice) {
        QAction *action = menu->addAction(text, this, [this, choice] { answer(choice); });
        action->setObjectName(objectName);
        return action;
    };
    m_older = add(tr("The copy is newer"), QStringLiteral("conflictOverwriteOlder"), Choice::overwriteOlder);
    m_otherSize = add(tr("The sizes differ"), QStringLiteral("conflictOverwriteOtherSize"), Choice::overwriteOtherSize);
    menu->addSeparator();
    m_resume = add(tr("Go on where the existing file ends"), QStringLiteral("conflictResume"), Choice::resume);
    button->setMenu(menu);
    row.addWidget(button);
}

void ConflictBar::answer(ConflictAnswer::Choice choice)
{
    m_transfers.answer({choice, m_forAll->isChecked()});
}

void ConflictBar::compare()
{
    if (!m_transfers.conflict())
        return;
    tell(tr("Comparing…"));
    m_comparing = m_transfers.compareConflict(
        [this](const ContentComparison &comparison) { tell(comparisonText(comparison)); },
        [this](const Error &error) { tell(tr("They could not be compared: %1").arg(error.message())); });
}

void ConflictBar::tell(const QString &comparison)
{
    m_comparison->setText(comparison);
    m_comparison->setVisible(!comparison.isEmpty());
}

void ConflictBar::follow()
{
    const std::optional<TransferConflict> &conflict = m_transfers.conflict();
    m_comparing.cancel();
    tell({});
    if (!conflict) {
        m_isUnheard = false;
        m_grace.start();
        return;
    }
    m_grace.stop();
    const FileItem &existing = conflict->existing;
    const FileItem &source = conflict->source;
    m_question->setText(TransferText::question(*conflict, m_transfers));
    m_existing->setText(tr("There: %1%2").arg(facts(existing), age(existing, source)));
    m_source->setText(tr("Copy: %1%2").arg(facts(source), age(source, existing)));
    m_forAll->setChecked(false);
    m_older->setEnabled(source.modified && existing.modified);
    m_otherSize->setEnabled(!source.isDirectory && !existing.isDirectory);
    m_resume->setEnabled(conflict->canResume());
    m_compare->setEnabled(!source.isDirectory && !existing.isDirectory);
    noteKeyboard();
    show();
    m_isUnheard = isTyping(QApplication::focusWidget());
    if (!m_isUnheard)
        takeKeyboard();
}

void ConflictBar::noteKeyboard()
{
    if (!isAncestorOf(QApplication::focusWidget()))
        m_before = QApplication::focusWidget();
}

/// The harmless answer is the one that a hasty Return gives.
void ConflictBar::takeKeyboard()
{
    m_isUnheard = false;
    noteKeyboard();
    auto *skip = findChild<QPushButton *>(QStringLiteral("conflictSkip"));
    // Screen readers say what has the keyboard, not what it is about.
    skip->setAccessibleDescription(m_question->text());
    skip->setFocus();
}

void ConflictBar::leave()
{
    // Left to itself it would go to whatever comes next.
    if (m_before && isAncestorOf(QApplication::focusWidget()))
        m_before->setFocus();
    hide();
}

bool ConflictBar::eventFilter(QObject *watched, QEvent *event)
{
    // The second click of two would answer the next question, which nobody has read yet.
    return event->type() == QEvent::MouseButtonDblClick || QFrame::eventFilter(watched, event);
}

} // namespace moorix
