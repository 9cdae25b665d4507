// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalPasteBar.h"

#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

constexpr int previewedLines = 4;
constexpr int previewedCharacters = 100;

QStringList linesOf(QString text)
{
    text.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
    if (text.endsWith(u'\n'))
        text.chop(1);
    return text.split(u'\n');
}

/// The first lines, and how many more there are.
QString preview(const QStringList &lines)
{
    QStringList shown = lines.mid(0, lines.size() > previewedLines ? previewedLines - 1 : previewedLines);
    for (QString &line : shown) {
        line.replace(u'\t', u"    "_s);
        line.removeIf([](QChar character) { return character.category() == QChar::Other_Control; });
        if (line.size() > previewedCharacters)
            line = line.first(previewedCharacters - 1) + u'…';
    }
    if (lines.size() > shown.size())
        shown << TerminalPasteBar::tr("… and %L1 more").arg(lines.size() - shown.size());
    return shown.join(u'\n');
}

} // namespace

TerminalPasteBar::TerminalPasteBar(QWidget *parent)
    : QFrame(parent)
    , m_question(Widgets::label({}, Widgets::TextRole::body, this))
    , m_preview(Widgets::label({}, Widgets::TextRole::monospace, this))
    , m_paste(Widgets::primaryButton(tr("Paste"), u"terminalPasteAccept"_s, this))
    , m_cancel(Widgets::button(tr("Cancel"), u"terminalPasteCancel"_s, this))
{
    setObjectName(u"terminalPasteBar"_s);
    setProperty("role", u"lowerBar"_s);
    setFocusPolicy(Qt::ClickFocus);
    setFocusProxy(m_paste);
    m_question->setObjectName(u"terminalPasteQuestion"_s);
    m_preview->setObjectName(u"terminalPastePreview"_s);
    m_preview->setWordWrap(false);
    // Long lines are cut off at the edge; they must not widen the window.
    m_preview->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(4);
    texts->addWidget(m_question);
    texts->addWidget(m_preview);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(12, 8, 10, 8);
    row->addLayout(texts, 1);
    row->addWidget(m_cancel, 0, Qt::AlignBottom);
    row->addWidget(m_paste, 0, Qt::AlignBottom);
    hide();
    connect(m_paste, &QPushButton::clicked, this, [this] { answer(true); });
    connect(m_cancel, &QPushButton::clicked, this, [this] { answer(false); });
}

void TerminalPasteBar::ask(const QString &text, int leftOut)
{
    m_text = text;
    const QStringList lines = linesOf(text);
    QString question =
        lines.size() == 1
            ? tr("Paste this line with the Enter at its end? The program may run it at once.")
            : tr("Paste %Ln lines? The program may run each of them at once.", nullptr, int(lines.size()));
    if (leftOut > 0)
        question += u' ' + (leftOut == 1 ? tr("One control character will be left out.")
                                         : tr("%Ln control characters will be left out.", nullptr, int(leftOut)));
    m_question->setText(question);
    m_preview->setText(preview(lines));
    show();
    m_paste->setFocus(Qt::OtherFocusReason);
}

void TerminalPasteBar::answer(bool isAccepted)
{
    const QString text = std::exchange(m_text, {});
    hide();
    emit closed();
    if (isAccepted)
        emit accepted(text);
}

void TerminalPasteBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        answer(false);
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        answer(!m_cancel->hasFocus());
    else
        QFrame::keyPressEvent(event);
}

} // namespace moorix
