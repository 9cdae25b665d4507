// SPDX-License-Identifier: GPL-3.0-or-later
// The introduction in the window.
#include "ui/MainWindow.h"

#include "platform/Preferences.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "ui/introduction/IntroductionPage.h"
#include "ui/sync/SyncArea.h"

#include <QStackedWidget>

namespace moorix {

void MainWindow::offerIntroduction()
{
    // Where a window has stood is stored when it closes.
    const bool isFirstStart = m_model.preferences().value(QStringLiteral("window.geometry")).isUndefined();
    if (isFirstStart && showsSides() && !m_model.settings().permissionOnboardingDismissed.value())
        showIntroduction();
}

void MainWindow::showIntroduction()
{
    if (!m_introduction) {
        m_introduction = new IntroductionPage(m_model.keychain(), this);
        m_middle->addWidget(m_introduction);
        connect(m_introduction, &IntroductionPage::newServerRequested, this, [this] { newServer(std::nullopt); });
        connect(m_introduction, &IntroductionPage::importRequested, this, &MainWindow::importServers);
        connect(m_introduction, &IntroductionPage::fileImportRequested, this, &MainWindow::chooseImport);
        connect(m_introduction, &IntroductionPage::dismissed, this, [this] {
            m_model.settings().permissionOnboardingDismissed.set(true);
            showSides();
        });
        connect(&m_model.servers(), &ServerStore::libraryChanged, m_introduction,
                [this, known = knownServers()]() mutable {
                    const QSet<QUuid> now = knownServers();
                    for (const QUuid &id : now - std::exchange(known, now)) {
                        if (showsIntroduction())
                            m_introduction->noteServer(m_model.servers().server(id)->displayName());
                    }
                });
    }
    showSides();
    m_middle->setCurrentWidget(m_introduction);
    m_introduction->begin();
    showLocation();
}

bool MainWindow::showsIntroduction() const
{
    return m_introduction && m_middle->currentWidget() == m_introduction;
}

QSet<QUuid> MainWindow::knownServers() const
{
    QSet<QUuid> ids;
    for (const ServerConnection &server : m_model.servers().library().servers)
        ids += server.id;
    return ids;
}

} // namespace moorix
