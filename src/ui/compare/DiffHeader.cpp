// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/compare/DiffHeader.h"

#include "compare/DiffLoader.h"
#include "files/Format.h"
#include "ui/ElidedLabel.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/compare/DiffSideCard.h"
#include "ui/compare/DiffSwitches.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QToolButton>
#include <QVBoxLayout>

namespace moorix {

DiffHeader::DiffHeader(const Comparison &comparison, const DiffChoices &choices, QWidget *parent)
    : QFrame(parent)
    , m_comparison(comparison)
    , m_added(new QLabel(this))
    , m_removed(new QLabel(this))
    , m_place(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_previous(Widgets::iconButton(QStringLiteral("go-up"), tr("Previous change (Shift+F7)"),
                                     QStringLiteral("diffPrevious"), this))
    , m_next(Widgets::iconButton(QStringLiteral("go-down"), tr("Next change (F7)"), QStringLiteral("diffNext"), this))
    , m_undo(Widgets::iconButton(QStringLiteral("edit-undo"), tr("Undo (Ctrl+Z)"), QStringLiteral("diffUndo"), this))
    , m_redo(
          Widgets::iconButton(QStringLiteral("edit-redo"), tr("Redo (Ctrl+Shift+Z)"), QStringLiteral("diffRedo"), this))
    , m_switches(new DiffSwitches(choices, this))
    , m_search(new QLineEdit(this))
{
    setProperty("role", QStringLiteral("bar"));
    setObjectName(QStringLiteral("diffHeader"));
    auto *top = new QHBoxLayout;
    top->setSpacing(8);
    addTools(*top);
    auto *ends = new QHBoxLayout;
    ends->setSpacing(10);
    m_cards = {new DiffSideCard(DiffSide::left, comparison.leftPlace, comparison.pair.a, this),
               new DiffSideCard(DiffSide::right, comparison.rightPlace, comparison.pair.b, this)};
    for (const DiffSide side : {DiffSide::left, DiffSide::right}) {
        ends->addWidget(&card(side), 1);
        connect(&card(side), &DiffSideCard::saveRequested, this, [this, side] { emit saveRequested(side); });
    }
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(10, 8, 12, 10);
    column->setSpacing(8);
    column->addLayout(top);
    column->addLayout(ends);
    setContent(nullptr);
    showEdits(false, false, false, false);
}

QString DiffHeader::title(const Comparison &comparison)
{
    const QString left = Format::display(comparison.pair.a.name);
    const QString right = Format::display(comparison.pair.b.name);
    return left == right ? left : tr("%1 ↔ %2").arg(left, right);
}

void DiffHeader::addTools(QHBoxLayout &row)
{
    QToolButton *back =
        Widgets::iconButton(QStringLiteral("go-previous"), tr("Back (Esc)"), QStringLiteral("diffBack"), this);
    auto *name = new ElidedLabel(Qt::ElideMiddle, this);
    name->setObjectName(QStringLiteral("diffTitle"));
    name->setProperty("role", QStringLiteral("heading"));
    name->setText(title(m_comparison));
    m_added->setObjectName(QStringLiteral("diffAdded"));
    m_added->setProperty("tone", QStringLiteral("good"));
    m_added->setToolTip(tr("Lines that only the right file has"));
    m_removed->setObjectName(QStringLiteral("diffRemoved"));
    m_removed->setProperty("tone", QStringLiteral("danger"));
    m_removed->setToolTip(tr("Lines that only the left file has"));
    m_place->setObjectName(QStringLiteral("diffPlace"));
    m_place->setWordWrap(false);
    m_search->setObjectName(QStringLiteral("diffSearch"));
    m_search->setPlaceholderText(tr("Find…"));
    m_search->setAccessibleName(tr("Find in both files"));
    m_search->setClearButtonEnabled(true);
    m_search->addAction(Theme::icon(QStringLiteral("search"), Theme::Color::mutedText), QLineEdit::LeadingPosition);
    m_search->installEventFilter(this);
    row.addWidget(back);
    row.addWidget(name, 1);
    for (QWidget *part : std::initializer_list<QWidget *>{m_added, m_removed, m_place, m_previous, m_next, m_undo,
                                                          m_redo, m_switches, m_search})
        row.addWidget(part);
    connect(back, &QToolButton::clicked, this, &DiffHeader::backRequested);
    connect(m_previous, &QToolButton::clicked, this, [this] { emit changeRequested(-1); });
    connect(m_next, &QToolButton::clicked, this, [this] { emit changeRequested(1); });
    connect(m_undo, &QToolButton::clicked, this, &DiffHeader::undoRequested);
    connect(m_redo, &QToolButton::clicked, this, &DiffHeader::redoRequested);
    connect(m_search, &QLineEdit::textChanged, this, &DiffHeader::searched);
}

void DiffHeader::setContent(const DiffContent *content)
{
    const bool hasLines = content && content->obstacle.isEmpty();
    if (content) {
        card(DiffSide::left).showFile(content->left);
        card(DiffSide::right).showFile(content->right);
    }
    const DiffEngine::Stats stats = hasLines ? DiffEngine::stats(content->runs) : DiffEngine::Stats{};
    m_added->setText(tr("+%1").arg(QLocale().toString(stats.added)));
    m_removed->setText(tr("−%1").arg(QLocale().toString(stats.removed)));
    const bool hasChanges = stats.added + stats.removed > 0;
    for (QWidget *part : std::initializer_list<QWidget *>{m_added, m_removed, m_place, m_previous, m_next})
        part->setVisible(hasChanges);
    m_switches->setCanFold(hasChanges);
    m_switches->setVisible(hasLines);
    m_search->setVisible(hasLines);
}

void DiffHeader::showEdits(bool isLeftChanged, bool isRightChanged, bool canUndo, bool canRedo)
{
    card(DiffSide::left).setChanged(isLeftChanged);
    card(DiffSide::right).setChanged(isRightChanged);
    m_undo->setVisible(canUndo || canRedo);
    m_redo->setVisible(canUndo || canRedo);
    m_undo->setEnabled(canUndo);
    m_redo->setEnabled(canRedo);
}

void DiffHeader::showSaving(DiffSide side, bool isSaving)
{
    card(side).setSaving(isSaving);
}

void DiffHeader::showPlace(qsizetype change, qsizetype count)
{
    const QString all = QLocale().toString(count);
    m_place->setText(change > 0   ? tr("Change %1 of %2").arg(QLocale().toString(change), all)
                     : count == 1 ? tr("1 change")
                                  : tr("%Ln changes", nullptr, int(count)));
}

void DiffHeader::focusSearch()
{
    m_search->setFocus(Qt::ShortcutFocusReason);
    m_search->selectAll();
}

QString DiffHeader::needle() const
{
    return m_search->text();
}

void DiffHeader::showFound(bool isFound)
{
    m_search->setToolTip(isFound ? QString() : tr("No line holds this text."));
    Widgets::setStyleProperty(*m_search, "tone", isFound ? QString() : QStringLiteral("danger"));
}

/// The title needs the room more.
void DiffHeader::resizeEvent(QResizeEvent *event)
{
    constexpr int narrow = 700;
    m_search->setFixedWidth(width() < narrow ? 130 : 200);
    QFrame::resizeEvent(event);
}

bool DiffHeader::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_search || event->type() != QEvent::KeyPress)
        return QFrame::eventFilter(watched, event);
    const auto *press = static_cast<QKeyEvent *>(event);
    switch (press->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        emit hitRequested(!press->modifiers().testFlag(Qt::ShiftModifier));
        return true;
    case Qt::Key_Escape:
        m_search->clear();
        [[fallthrough]];
    case Qt::Key_Down:
        emit contentFocusRequested();
        return true;
    default:
        return QFrame::eventFilter(watched, event);
    }
}

} // namespace moorix
