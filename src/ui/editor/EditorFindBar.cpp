// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/editor/EditorFindBar.h"

#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/editor/EditorCommand.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

constexpr int fieldWidth = 380;

} // namespace

EditorFindBar::EditorFindBar(QWidget *parent)
    : QFrame(parent)
    , m_needle(new QLineEdit(this))
    , m_count(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_case(addOption(u"Aa"_s, tr("Match upper and lower case"), u"editorFindCase"_s))
    , m_words(addOption(u"ab|"_s, tr("Whole words only"), u"editorFindWords"_s))
    , m_pattern(addOption(u".*"_s, tr("Regular expression; in the replacement, $1 or \\1 is its first group"),
                          u"editorFindPattern"_s))
    , m_replacement(new QLineEdit(this))
    , m_replacing(new QWidget(this))
    , m_replace(Widgets::button(tr("Replace"), u"editorReplace"_s, m_replacing))
    , m_replaceAll(Widgets::button(tr("Replace all"), u"editorReplaceAll"_s, m_replacing))
{
    setObjectName(u"editorFindBar"_s);
    setProperty("role", u"lowerBar"_s);
    setFocusPolicy(Qt::ClickFocus);
    setFocusProxy(m_needle);
    m_needle->setObjectName(u"editorNeedle"_s);
    m_needle->setPlaceholderText(tr("Find…"));
    m_needle->addAction(Theme::icon(u"edit-find"_s, Theme::Color::mutedText), QLineEdit::LeadingPosition);
    m_needle->setFixedWidth(fieldWidth);
    m_count->setObjectName(u"editorHits"_s);
    m_count->setWordWrap(false);
    m_replacement->setObjectName(u"editorReplacement"_s);
    m_replacement->setPlaceholderText(tr("Replace by…"));
    m_replacement->addAction(Theme::icon(u"edit-find-replace"_s, Theme::Color::mutedText), QLineEdit::LeadingPosition);
    m_replacement->setFixedWidth(fieldWidth);
    auto *previous = Widgets::iconButton(u"go-up"_s, toolTipOf(EditorCommand::findPrevious), u"editorPrevious"_s, this);
    auto *next = Widgets::iconButton(u"go-down"_s, toolTipOf(EditorCommand::findNext), u"editorNext"_s, this);
    auto *closeButton = Widgets::iconButton(u"window-close"_s, tr("Close (Esc)"), u"editorFindClose"_s, this);
    auto *finding = new QHBoxLayout;
    finding->setSpacing(4);
    for (QWidget *part : std::initializer_list<QWidget *>{m_case, m_words, m_pattern, previous, next})
        finding->addWidget(part);
    finding->addSpacing(6);
    finding->addWidget(m_count);
    finding->addStretch(1);
    finding->addWidget(closeButton);
    auto *replacing = new QHBoxLayout(m_replacing);
    replacing->setContentsMargins(0, 0, 0, 0);
    replacing->setSpacing(6);
    replacing->addWidget(m_replace);
    replacing->addWidget(m_replaceAll);
    replacing->addStretch(1);
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(10, 7, 8, 7);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(6);
    grid->addWidget(m_needle, 0, 0);
    grid->addLayout(finding, 0, 1);
    grid->addWidget(m_replacement, 1, 0);
    grid->addWidget(m_replacing, 1, 1);
    grid->setColumnStretch(1, 1);
    setTabOrder(m_needle, m_replacement);
    for (QLineEdit *field : {m_needle, m_replacement})
        field->installEventFilter(this);
    hide();

    connect(m_needle, &QLineEdit::textChanged, this, &EditorFindBar::queryChanged);
    for (QToolButton *option : {m_case, m_words, m_pattern})
        connect(option, &QToolButton::toggled, this, &EditorFindBar::queryChanged);
    connect(previous, &QToolButton::clicked, this, [this] { emit stepRequested(true); });
    connect(next, &QToolButton::clicked, this, [this] { emit stepRequested(false); });
    connect(m_replace, &QPushButton::clicked, this, &EditorFindBar::replaceRequested);
    connect(m_replaceAll, &QPushButton::clicked, this, &EditorFindBar::replaceAllRequested);
    connect(closeButton, &QToolButton::clicked, this, &EditorFindBar::closed);
}

QToolButton *EditorFindBar::addOption(const QString &text, const QString &toolTip, const QString &objectName)
{
    auto *option = new QToolButton(this);
    option->setObjectName(objectName);
    option->setText(text);
    option->setCheckable(true);
    option->setToolTip(toolTip);
    option->setAccessibleName(toolTip);
    return option;
}

void EditorFindBar::open(const QString &text, bool replaces, bool mayReplace)
{
    const bool showsReplacing = mayReplace && (replaces || (isVisible() && m_replacement->isVisible()));
    m_replacement->setVisible(showsReplacing);
    m_replacing->setVisible(showsReplacing);
    const QString before = m_needle->text();
    if (!text.isEmpty())
        m_needle->setText(text);
    show();
    m_needle->setFocus(Qt::ShortcutFocusReason);
    m_needle->selectAll();
    if (m_needle->text() == before)
        emit queryChanged();
}

TextSearch::Query EditorFindBar::query() const
{
    return {m_needle->text(), m_pattern->isChecked(), m_case->isChecked(), m_words->isChecked()};
}

QString EditorFindBar::replacement() const
{
    return m_replacement->text();
}

void EditorFindBar::showCount(const QString &text, bool hasFailed)
{
    m_count->setText(text);
    Widgets::setStyleProperty(*m_count, "role", hasFailed ? u"error"_s : u"muted"_s);
}

bool EditorFindBar::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return QFrame::eventFilter(watched, event);
    const auto &key = *static_cast<QKeyEvent *>(event);
    if (key.key() != Qt::Key_Return && key.key() != Qt::Key_Enter)
        return QFrame::eventFilter(watched, event);
    if (watched == m_replacement && key.modifiers().testFlag(Qt::ControlModifier))
        emit replaceAllRequested();
    else if (watched == m_replacement)
        emit replaceRequested();
    else
        emit stepRequested(key.modifiers().testFlag(Qt::ShiftModifier));
    return true;
}

} // namespace moorix
