// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/UpdatesPanel.h"

#include "endpoints/AppUpdateManager.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>

namespace moorix {

UpdatesPanel::UpdatesPanel(AppUpdateManager &updates, QWidget *parent)
    : QWidget(parent)
    , m_updates(updates)
    , m_status(Widgets::label({}, Widgets::TextRole::heading, this))
    , m_last(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_error(Widgets::label({}, Widgets::TextRole::error, this))
    , m_check(Widgets::button(tr("Check now"), QStringLiteral("updateCheckNow"), this))
    , m_download(Widgets::primaryButton(tr("Download Update"), QStringLiteral("updateDownloadNow"), this))
{
    m_status->setObjectName(QStringLiteral("updateStatus"));
    m_last->setObjectName(QStringLiteral("updateLastChecked"));
    m_error->setObjectName(QStringLiteral("updateError"));
    auto *texts = new QVBoxLayout;
    texts->setSpacing(4);
    texts->addWidget(m_status);
    texts->addWidget(m_error);
    texts->addWidget(m_last);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addLayout(texts, 1);
    row->addWidget(m_check, 0, Qt::AlignTop);
    row->addWidget(m_download, 0, Qt::AlignTop);
    connect(m_check, &QPushButton::clicked, this, [this] { m_updates.checkForUpdates(true); });
    connect(m_download, &QPushButton::clicked, this, [this] { m_updates.downloadAndOpenLatestDMG(); });
    connect(&updates, &AppUpdateManager::changed, this, &UpdatesPanel::follow);
    follow();
}

void UpdatesPanel::follow()
{
    m_status->setText(m_updates.statusMessage());
    const auto &last = m_updates.lastCheckedAt();
    const QString version = tr("This is version %1.").arg(m_updates.currentVersionString());
    m_last->setText(
        last ? tr("%1 Last checked %2.").arg(version, QLocale().toString(last->toLocalTime(), QLocale::ShortFormat))
             : version);
    const QString error = m_updates.lastError().value_or(QString());
    // What the status says already is not said twice.
    m_error->setText(m_updates.statusMessage().endsWith(error) ? QString() : error.section(u'\n', -1));
    m_error->setVisible(!m_error->text().isEmpty());
    m_check->setEnabled(!m_updates.isChecking());
    m_download->setVisible(m_updates.availableRelease().has_value());
    m_download->setEnabled(!m_updates.isDownloading());
}

} // namespace moorix
