// SPDX-License-Identifier: GPL-3.0-or-later
// How a page looks for something in its text.
#include "ui/editor/EditorPage.h"

#include "ui/MessageBar.h"
#include "ui/editor/EditorFindBar.h"
#include "ui/editor/EditorView.h"
#include "ui/editor/GoToLineBar.h"

#include <QLocale>

#include <algorithm>
#include <utility>

namespace moorix {

using namespace std::chrono_literals;

void EditorPage::connectSearch()
{
    m_searchSoon.setSingleShot(true);
    m_searchSoon.setInterval(80ms);
    connect(&m_searchSoon, &QTimer::timeout, this, &EditorPage::search);
    connect(m_findBar, &EditorFindBar::queryChanged, this, [this] { m_searchSoon.start(); });
    connect(m_findBar, &EditorFindBar::stepRequested, this, &EditorPage::step);
    connect(m_findBar, &EditorFindBar::replaceRequested, this, &EditorPage::replaceOne);
    connect(m_findBar, &EditorFindBar::replaceAllRequested, this, &EditorPage::replaceAll);
    connect(m_findBar, &EditorFindBar::closed, this, &EditorPage::closeFind);
    connect(m_goToBar, &GoToLineBar::chosen, m_view, &EditorView::goTo);
    connect(m_goToBar, &GoToLineBar::closed, this, &EditorPage::focusContent);
    connect(m_view, &EditorView::placeChanged, this, [this] {
        if (m_findBar->isVisible())
            showHitCount();
    });
}

void EditorPage::find(bool replaces)
{
    m_findBar->open(m_view->selectedWords(), replaces, !m_view->isReadOnly());
}

void EditorPage::closeFind()
{
    m_findBar->hide();
    m_pendingStep.reset();
    m_view->setHits({});
    m_searchedRevision = -1;
    focusContent();
}

void EditorPage::goToLine()
{
    m_goToBar->open(m_view->place().line, m_view->lines());
}

/// Looks through the whole text in the background; steps wait for what comes of it.
void EditorPage::search()
{
    m_searchSoon.stop();
    const TextSearch::Query query = m_findBar->query();
    const TextSearch finder(query);
    m_searchProblem = finder.problem();
    const qint64 revision = m_view->revision();
    m_searching =
        runJob([finder, text = m_view->content()](const std::stop_token &stop) { return finder.hits(text, stop); },
               [this, query, revision](const QList<TextSearch::Hit> &hits) {
                   // The next search is under way already.
                   if (revision != m_view->revision())
                       return;
                   m_hits = hits;
                   m_searched = query;
                   m_searchedRevision = revision;
                   m_view->setHits(m_findBar->isVisible() ? hits : QList<TextSearch::Hit>());
                   showHitCount();
                   if (const auto isBackward = std::exchange(m_pendingStep, {}))
                       takeStep(*isBackward);
               },
               [this](const Error &error) {
                   m_searchProblem = error.message();
                   m_pendingStep.reset();
                   m_hits.clear();
                   m_view->setHits({});
                   showHitCount();
               });
}

void EditorPage::showHitCount()
{
    if (!m_searchProblem.isEmpty()) {
        m_findBar->showCount(m_searchProblem, true);
        return;
    }
    const QLocale locale;
    if (m_findBar->query().needle.isEmpty()) {
        m_findBar->showCount({}, false);
    } else if (m_hits.isEmpty()) {
        m_findBar->showCount(tr("No hits"), true);
    } else {
        const TextSearch::Hit selection = m_view->selection();
        const auto at = std::ranges::lower_bound(std::as_const(m_hits), selection.begin, {}, &TextSearch::Hit::begin);
        const QString all = locale.toString(m_hits.size());
        const bool isAtHit = at != m_hits.cend() && *at == selection;
        m_findBar->showCount(isAtHit              ? tr("%1 of %2").arg(locale.toString(at - m_hits.cbegin() + 1), all)
                             : m_hits.size() == 1 ? tr("1 hit")
                                                  : tr("%1 hits").arg(all),
                             false);
    }
}

void EditorPage::step(bool isBackward)
{
    if (m_findBar->query().needle.isEmpty())
        return find(false);
    if (m_searchedRevision == m_view->revision() && m_searched == m_findBar->query())
        return takeStep(isBackward);
    m_pendingStep = isBackward;
    search();
}

/// On to the next hit, from the last to the first.
void EditorPage::takeStep(bool isBackward)
{
    if (m_hits.isEmpty())
        return;
    const TextSearch::Hit selection = m_view->selection();
    const bool isAtHit = std::ranges::binary_search(m_hits, selection.begin, {}, &TextSearch::Hit::begin);
    auto hit = m_hits.cbegin();
    if (isBackward) {
        hit = std::ranges::lower_bound(std::as_const(m_hits), selection.begin, {}, &TextSearch::Hit::begin);
        hit = (hit == m_hits.cbegin() ? m_hits.cend() : hit) - 1;
    } else {
        // An empty hit is left, too.
        const qsizetype from = isAtHit && selection.end == selection.begin ? selection.end + 1 : selection.end;
        hit = std::ranges::lower_bound(std::as_const(m_hits), from, {}, &TextSearch::Hit::begin);
        hit = hit == m_hits.cend() ? m_hits.cbegin() : hit;
    }
    m_view->select(*hit);
    showHitCount();
}

void EditorPage::replaceOne()
{
    if (m_view->isReadOnly())
        return;
    const TextSearch::Hit selection = m_view->selection();
    const auto replacement =
        TextSearch(m_findBar->query()).replacementAt(m_view->content(), selection, m_findBar->replacement());
    // The first press only goes to a hit.
    if (replacement)
        m_view->replace(selection, *replacement);
    step(false);
}

void EditorPage::replaceAll()
{
    const TextSearch finder(m_findBar->query());
    if (m_view->isReadOnly() || m_findBar->query().needle.isEmpty() || !finder.problem().isEmpty())
        return;
    const qint64 revision = m_view->revision();
    m_replacing =
        runJob([finder, text = m_view->content(), replacement = m_findBar->replacement()](
                   const std::stop_token &stop) { return finder.replaceAll(text, replacement, stop); },
               [this, revision](const TextSearch::Replaced &replaced) {
                   if (revision != m_view->revision())
                       return replaceAll();
                   if (replaced.count > 0)
                       m_view->replaceContent(replaced.text);
                   followLineEnds();
                   m_searchSoon.stop();
                   search();
                   emit messageRaised(replaced.count == 1
                                          ? tr("1 hit was replaced.")
                                          : tr("%1 hits were replaced.").arg(QLocale().toString(replaced.count)));
               },
               [this](const Error &error) { m_notice->tell(error.message(), MessageBar::Tone::danger); });
}

} // namespace moorix
