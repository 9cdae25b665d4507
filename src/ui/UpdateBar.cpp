// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/UpdateBar.h"

#include "endpoints/AppUpdateManager.h"
#include "ui/Widgets.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>

#include <algorithm>
#include <utility>

namespace moorix {

UpdateBar::UpdateBar(AppUpdateManager &updates, QWidget *parent)
    : QFrame(parent)
    , m_updates(updates)
    , m_heading(Widgets::label({}, Widgets::TextRole::heading, this))
    , m_text(Widgets::label({}, Widgets::TextRole::body, this))
    , m_scroll(new QScrollArea(this))
    , m_progress(new QProgressBar(this))
    , m_later(Widgets::button(tr("Later"), QStringLiteral("updateLater"), this))
    , m_download(Widgets::primaryButton(tr("Download Update"), QStringLiteral("updateDownload"), this))
    , m_cancel(Widgets::button(tr("Cancel"), QStringLiteral("updateCancel"), this))
    , m_retry(Widgets::primaryButton(tr("Retry"), QStringLiteral("updateRetry"), this))
    , m_close(Widgets::button(tr("Close"), QStringLiteral("updateClose"), this))
{
    setObjectName(QStringLiteral("updateBar"));
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(16, 12, 16, 12);
    row->setSpacing(16);
    row->addLayout(makeTexts(), 1);
    row->addLayout(makeButtons());
    connect(&updates, &AppUpdateManager::changed, this, &UpdateBar::follow);
    connect(&updates, &AppUpdateManager::downloadEnded, this, &UpdateBar::noteOutcome);
    follow();
}

QBoxLayout *UpdateBar::makeTexts()
{
    m_heading->setObjectName(QStringLiteral("updateHeading"));
    m_text->setObjectName(QStringLiteral("updateText"));
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_text->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    m_scroll->setWidget(m_text);
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_progress->setObjectName(QStringLiteral("updateProgress"));
    m_progress->setTextVisible(false);
    m_progress->setFixedWidth(300);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(6);
    texts->addWidget(m_heading);
    texts->addWidget(m_scroll);
    // Aligned, it does not limit the width of the texts.
    texts->addWidget(m_progress, 0, Qt::AlignLeft);
    return texts;
}

QBoxLayout *UpdateBar::makeButtons()
{
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    for (QPushButton *button : {m_later, m_cancel, m_close, m_retry, m_download}) {
        button->setFocusPolicy(Qt::TabFocus);
        buttons->addWidget(button, 0, Qt::AlignVCenter);
    }
    connect(m_later, &QPushButton::clicked, &m_updates, &AppUpdateManager::closePrompt);
    connect(m_download, &QPushButton::clicked, this, &UpdateBar::download);
    connect(m_retry, &QPushButton::clicked, this, &UpdateBar::download);
    connect(m_cancel, &QPushButton::clicked, &m_updates, &AppUpdateManager::cancelDownload);
    connect(m_close, &QPushButton::clicked, this, [this] {
        m_showsOutcome = false;
        follow();
    });
    return buttons;
}

void UpdateBar::download()
{
    m_showsOutcome = false;
    m_updates.downloadAndOpenLatestDMG();
    m_updates.closePrompt();
}

void UpdateBar::follow()
{
    // What became of a download is told next; until then the bar and its keyboard stay.
    if (std::exchange(m_wasDownloading, m_updates.isDownloading()) && !m_updates.isDownloading())
        return;
    if (m_updates.isDownloading())
        showDownload();
    else if (m_updates.isShowingPrompt())
        showPrompt();
    else if (m_showsOutcome)
        showOutcome();
    const bool isShown = m_updates.isDownloading() || m_updates.isShowingPrompt() || m_showsOutcome;
    // Left to itself the keyboard would go to whatever comes next.
    if (!isShown && m_before && isAncestorOf(QApplication::focusWidget()))
        m_before->setFocus();
    setVisible(isShown);
}

void UpdateBar::takeKeyboard()
{
    if (!isAncestorOf(QApplication::focusWidget()))
        m_before = QApplication::focusWidget();
    focusButton();
}

void UpdateBar::focusButton()
{
    for (QPushButton *button : {m_later, m_close, m_cancel}) {
        if (button->isVisibleTo(this))
            return button->setFocus();
    }
}

void UpdateBar::keyPressEvent(QKeyEvent *event)
{
    const bool isAnswer = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (auto *focused = qobject_cast<QPushButton *>(QApplication::focusWidget()); isAnswer && focused)
        focused->click();
    else if (event->key() == Qt::Key_Escape && m_later->isVisible())
        m_later->click();
    else if (event->key() == Qt::Key_Escape && m_close->isVisible())
        m_close->click();
    else
        QFrame::keyPressEvent(event);
}

void UpdateBar::showPrompt()
{
    setText(m_updates.promptTitle(), m_updates.promptText());
    showButtons({m_later, m_download});
}

void UpdateBar::showDownload()
{
    setText(m_updates.statusMessage(), {});
    const std::optional<int> permille = m_updates.downloadProgress();
    m_progress->setRange(0, permille ? 1000 : 0);
    if (permille)
        m_progress->setValue(*permille);
    showButtons({m_cancel});
}

/// A later check must not change what is said of the download.
void UpdateBar::noteOutcome()
{
    const bool isThere = !m_updates.downloadedPath().isEmpty();
    const QString error = m_updates.lastError().value_or(QString());
    m_showsOutcome = isThere || !error.isEmpty();
    m_outcome = m_updates.statusMessage();
    // The first line of a failed download's reason is in its status already.
    m_reason = isThere ? error : error.section(u'\n', 1);
    follow();
}

void UpdateBar::showOutcome()
{
    const bool isThere = !m_updates.downloadedPath().isEmpty();
    setText(m_outcome, m_reason);
    Widgets::setStyleProperty(*this, "tone", isThere && m_reason.isEmpty() ? QString() : QStringLiteral("danger"));
    if (isThere || !m_updates.availableRelease())
        showButtons({m_close});
    else
        showButtons({m_close, m_retry});
}

void UpdateBar::setText(const QString &heading, const QString &text)
{
    m_heading->setText(heading);
    m_text->setText(text);
    m_scroll->setVisible(!text.isEmpty());
    Widgets::setStyleProperty(*this, "tone", QString());
    fit();
}

/// Long notes scroll.
void UpdateBar::fit()
{
    constexpr int tallest = 150;
    constexpr int narrowest = 300;
    const int width = std::max(m_scroll->viewport()->width(), narrowest);
    m_scroll->setFixedHeight(std::min(m_text->heightForWidth(width), tallest));
}

void UpdateBar::resizeEvent(QResizeEvent *event)
{
    QFrame::resizeEvent(event);
    fit();
}

void UpdateBar::showButtons(const QList<QPushButton *> &shown)
{
    const bool hadKeyboard = isAncestorOf(QApplication::focusWidget());
    for (QPushButton *button : {m_later, m_cancel, m_close, m_retry, m_download})
        button->setVisible(shown.contains(button));
    m_progress->setVisible(shown.contains(m_cancel));
    if (hadKeyboard && !shown.contains(qobject_cast<QPushButton *>(QApplication::focusWidget())))
        focusButton();
}

} // namespace moorix
