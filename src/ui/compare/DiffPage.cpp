// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/compare/DiffPage.h"

#include "compare/DiffLoader.h"
#include "ui/Widgets.h"
#include "ui/compare/DiffHeader.h"
#include "ui/compare/DiffView.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace moorix {

namespace {

/// What the rows alone do not tell; may be empty.
QString remarkOn(const DiffContent &content)
{
    if (content.isSame)
        return DiffPage::tr("Both files hold the same.");
    if (DiffEngine::stats(content.runs) == DiffEngine::Stats{})
        return DiffPage::tr("All lines are equal, but not the bytes: the left file is %1, the right one %2.")
            .arg(nameOf(*content.left.encoding), nameOf(*content.right.encoding));
    if (!content.isAligned)
        return DiffPage::tr("So many lines in a row differ that they stand beside each other as they come, not as they "
                            "belong together.");
    return {};
}

} // namespace

DiffPage::DiffPage(Comparison comparison, QWidget *parent)
    : QWidget(parent)
    , m_comparison(std::move(comparison))
    , m_header(new DiffHeader(m_comparison, this))
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
    column->addWidget(m_remark);
    column->addWidget(m_pages, 1);
    connectParts();
    reload();
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

void DiffPage::connectParts()
{
    using namespace std::chrono_literals;
    m_patience.setSingleShot(true);
    m_patience.setInterval(150ms);
    connect(&m_patience, &QTimer::timeout, this, [this] {
        if (m_pages->currentWidget() == m_view)
            remark(tr("Reading both files…"));
        else
            say(tr("Reading both files…"), false);
    });
    connect(m_retry, &QPushButton::clicked, this, &DiffPage::reload);
    connect(m_header, &DiffHeader::backRequested, this, &DiffPage::backRequested);
    connect(m_header, &DiffHeader::changeRequested, this, [this](int step) {
        m_view->stepChange(step);
        focusContent();
    });
    connect(m_header, &DiffHeader::foldingChosen, this, [this](bool isFolded) {
        m_view->setFolded(isFolded);
        focusContent();
    });
    connect(m_header, &DiffHeader::contentFocusRequested, this, &DiffPage::focusContent);
    connect(m_header, &DiffHeader::hitRequested, this, &DiffPage::stepHit);
    connect(m_header, &DiffHeader::searched, this, [this](const QString &text) {
        m_view->setNeedle(text);
        m_header->showFound(true);
    });
    connect(m_view, &DiffView::currentChanged, this, &DiffPage::followPlace);
}

QString DiffPage::title() const
{
    return DiffHeader::title(m_comparison);
}

void DiffPage::reload()
{
    m_patience.start();
    m_reading =
        runJob([pair = m_comparison.pair](const std::stop_token &stop) { return DiffLoader::load(pair, {}, stop); },
               [this](DiffContent content) { showContent(std::move(content)); },
               [this](const Error &error) {
                   m_header->setContent(nullptr);
                   say(error.message(), true);
               });
}

void DiffPage::showContent(DiffContent content)
{
    m_header->setContent(&content);
    if (!content.obstacle.isEmpty()) {
        say(content.obstacle, false);
        return;
    }
    m_patience.stop();
    remark(remarkOn(content));
    const bool hadKeyboard = isAncestorOf(QApplication::focusWidget()) || QApplication::focusWidget() == this;
    m_pages->setCurrentWidget(m_view);
    m_view->setContent(std::make_shared<const DiffContent>(std::move(content)));
    if (hadKeyboard)
        focusContent();
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
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_F7 || key == Qt::Key_F3) {
            event->accept();
            return true;
        }
    }
    return QWidget::event(event);
}

void DiffPage::keyPressEvent(QKeyEvent *event)
{
    const bool isBack = event->modifiers().testFlag(Qt::ShiftModifier);
    switch (event->key()) {
    case Qt::Key_F7:
        m_view->stepChange(isBack ? -1 : 1);
        break;
    case Qt::Key_F3:
        stepHit(!isBack);
        break;
    case Qt::Key_Escape:
        emit backRequested();
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

} // namespace moorix
