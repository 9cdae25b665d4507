// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/PaneNotices.h"

#include "files/Format.h"
#include "files/PaneModel.h"
#include "ui/MessageBar.h"
#include "ui/pane/PaneNotice.h"

using namespace std::chrono_literals;

namespace moorix {

PaneNotices::PaneNotices(PaneModel &pane, QWidget &list, MessageBar &banner)
    : QObject(&list)
    , m_pane(pane)
    , m_banner(banner)
    , m_notice(new PaneNotice(list))
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(150ms);
    connect(&m_patience, &QTimer::timeout, this, &PaneNotices::show);
    connect(&pane, &PaneModel::isLoadingChanged, this, &PaneNotices::followLoading);
    connect(&pane, &PaneModel::errorMessageChanged, this, [this] {
        // A load reports its failure before it counts as ended.
        m_loadFailed = m_pane.isLoading() && m_pane.errorMessage();
        show();
    });
    connect(&pane, &PaneModel::displayedChanged, this, &PaneNotices::show);
    connect(&banner, &MessageBar::dismissed, &pane, &PaneModel::clearError);
    followLoading();
}

void PaneNotices::followLoading()
{
    if (m_pane.isLoading()) {
        m_lastPath = m_pane.loadingPath();
        m_patience.start();
    }
    show();
}

void PaneNotices::show()
{
    showBanner();
    if (m_pane.displayedCount() > 0)
        m_notice->hide();
    else
        showInstead();
}

void PaneNotices::showBanner()
{
    if (!m_pane.errorMessage() || m_pane.currentPath().isEmpty()) {
        m_banner.dismiss();
    } else if (m_loadFailed) {
        m_banner.offer(*m_pane.errorMessage(), tr("Retry"), MessageBar::Tone::danger, [this] { retry(); });
    } else {
        m_banner.tell(*m_pane.errorMessage(), MessageBar::Tone::danger);
    }
}

void PaneNotices::showInstead()
{
    const bool isBlank = m_pane.currentPath().isEmpty();
    if (m_pane.isLoading()) {
        if (m_patience.isActive()) {
            if (isBlank)
                m_notice->hide();
            return;
        }
        m_notice->tell(tr("Listing %1…").arg(Format::display(m_pane.loadingPath())), tr("Cancel"),
                       [this] { m_pane.cancelLoading(); });
    } else if (isBlank && m_pane.errorMessage()) {
        m_notice->tell(*m_pane.errorMessage(), tr("Retry"), [this] { retry(); });
    } else if (isBlank) {
        m_notice->tell(tr("Nothing is listed yet."), m_lastPath.isEmpty() ? QString() : tr("Retry"),
                       [this] { retry(); });
    } else {
        showEmptyFolder();
    }
}

void PaneNotices::showEmptyFolder()
{
    if (!m_pane.searchQuery().isEmpty()) {
        m_notice->tell(tr("Nothing matches “%1”.").arg(m_pane.searchQuery()), tr("Clear filter"),
                       [this] { m_pane.setSearchQuery({}); });
    } else if (const qsizetype hidden = m_pane.items().size(); hidden > 0) {
        m_notice->tell(hidden == 1 ? tr("This folder holds one hidden entry.")
                                   : tr("This folder holds %Ln hidden entries.", nullptr, int(hidden)),
                       tr("Show hidden files"), [this] { m_pane.setShowHidden(true); });
    } else {
        m_notice->tell(tr("This folder is empty."), {}, {});
    }
}

void PaneNotices::retry()
{
    m_pane.load(m_lastPath, true);
}

} // namespace moorix
