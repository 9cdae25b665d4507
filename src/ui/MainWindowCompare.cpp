// SPDX-License-Identifier: GPL-3.0-or-later
// Comparisons of two files in the window.
#include "ui/MainWindow.h"

#include "app/Comparison.h"
#include "app/PaneTabs.h"
#include "app/ServerConnections.h"
#include "files/FileService.h"
#include "files/RemoteFileService.h"
#include "platform/AppPaths.h"
#include "ui/SideView.h"
#include "ui/Sidebar.h"
#include "ui/compare/DiffPage.h"
#include "ui/sync/SyncArea.h"

#include <QSplitter>
#include <QStackedWidget>

namespace moorix {

void MainWindow::connectComparisons()
{
    for (SideView *view : m_sideViews)
        connect(view, &SideView::comparisonRequested, this, &MainWindow::showComparison);
    connect(m_sync, &SyncArea::comparisonRequested, this, &MainWindow::showComparison);
    connect(m_middle, &QStackedWidget::currentChanged, this, &MainWindow::dropComparison);
}

bool MainWindow::showsComparison() const
{
    return m_comparison && m_middle->currentWidget() == m_comparison;
}

void MainWindow::showComparison(const Comparison &comparison)
{
    if (showsComparison())
        leaveComparison();
    if (showsComparison())
        return;
    m_comparedFrom = m_middle->currentWidget();
    const ComparisonSession::Environment environment{
        AppPaths::applicationSupport() + QStringLiteral("/edited"),
        [this](const QUuid &server) -> std::shared_ptr<FileService> { return m_model.connections().live(server); }};
    m_comparison = new DiffPage(comparison, environment, DiffChoices::load(m_model.preferences()), this);
    connect(m_comparison, &DiffPage::choicesChanged, this,
            [this](const DiffChoices &choices) { choices.save(m_model.preferences()); });
    connect(m_comparison, &DiffPage::backRequested, this, &MainWindow::leaveComparison);
    for (const Side side : {Side::left, Side::right})
        connect(m_comparison, &DiffPage::folderChanged, &m_model.tabs(side), &PaneTabs::reload);
    m_middle->addWidget(m_comparison);
    m_middle->setCurrentWidget(m_comparison);
    m_comparison->focusContent();
    followSession();
}

/// Back to where it was asked for.
void MainWindow::leaveComparison()
{
    if (!m_comparison || !m_comparison->mayLeave([this] { leaveComparison(); }))
        return;
    if (m_comparedFrom == m_sides) {
        showSides();
        return;
    }
    m_middle->setCurrentWidget(m_comparedFrom);
    if (showsSync())
        m_sync->focusContent();
}

/// Something else is shown; the page keeps two texts in memory.
void MainWindow::dropComparison()
{
    if (!m_comparison || showsComparison())
        return;
    if (!m_comparison->isFreeToGo()) {
        QWidget *const wanted = m_middle->currentWidget();
        m_middle->setCurrentWidget(m_comparison);
        followSession();
        // Later: whoever shows the other page gives it the keyboard, too, before this is through.
        const auto ask = [this, page = m_comparison, wanted] {
            page->focusContent();
            page->mayLeave([this, wanted] { m_middle->setCurrentWidget(wanted); });
        };
        QMetaObject::invokeMethod(m_comparison, ask, Qt::QueuedConnection);
        return;
    }
    DiffPage *page = m_comparison;
    m_comparison = nullptr;
    m_middle->removeWidget(page);
    page->deleteLater();
    // A sync behind it is left, too, unless it is what is shown.
    if (m_comparedFrom == m_sync && !showsSync()) {
        m_sync->leave();
        m_sidebar->markSync({});
    }
    m_comparedFrom = nullptr;
    followSession();
}

void MainWindow::runComparisonCommand(PaneCommand command)
{
    switch (command) {
    case PaneCommand::filter:
        m_comparison->focusSearch();
        break;
    case PaneCommand::reload:
        m_comparison->reload();
        break;
    case PaneCommand::goBack:
    case PaneCommand::goUp:
        leaveComparison();
        break;
    default:
        break;
    }
}

} // namespace moorix
