// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/servers/ImportServers.h"

#include "app/AppModel.h"
#include "servers/ServerStore.h"
#include "ui/Widgets.h"
#include "ui/servers/ServerLook.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>

namespace moorix {

ImportServers::ImportServers(AppModel &model, QWidget *parent)
    : QDialog(parent)
    , m_model(model)
    , m_state(Widgets::label(tr("Reading ~/.ssh/config…"), Widgets::TextRole::muted, this))
    , m_list(new QListWidget(this))
    , m_import(Widgets::primaryButton({}, QStringLiteral("importChecked"), this))
{
    setObjectName(QStringLiteral("importServers"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Import servers"));
    resize(480, 420);
    m_list->setObjectName(QStringLiteral("importList"));
    m_list->setAccessibleName(tr("Hosts to import"));
    QPushButton *cancel = Widgets::button(tr("Cancel"), QStringLiteral("cancelImport"), this);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cancel);
    buttons->addWidget(m_import);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(20, 16, 20, 16);
    column->addWidget(Widgets::label(tr("Hosts of your SSH configuration"), Widgets::TextRole::heading, this));
    column->addWidget(m_state);
    column->addWidget(m_list, 1);
    column->addLayout(buttons);
    updateButton();

    connect(m_list, &QListWidget::itemChanged, this, &ImportServers::updateButton);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_import, &QPushButton::clicked, this, &ImportServers::importChecked);
    m_job = model.findImportableHosts([this](const QList<ServerConnection> &hosts) { offer(hosts); },
                                      [this](const Error &error) { m_state->setText(error.message()); });
}

ImportServers::~ImportServers() = default;

void ImportServers::offer(const QList<ServerConnection> &hosts)
{
    m_hosts = hosts;
    m_state->setText(hosts.isEmpty() ? tr("There is no host in ~/.ssh/config that is not in the library already.")
                                     : tr("Passwords are not part of it; keys named there are used as they are."));
    for (const ServerConnection &host : hosts) {
        auto *item =
            new QListWidgetItem(ServerLook::icon(host),
                                QStringLiteral("%1  ·  %2").arg(host.displayName(), ServerLook::address(host)), m_list);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        item->setCheckState(Qt::Checked);
    }
    updateButton();
    m_list->setFocus();
}

void ImportServers::updateButton()
{
    int checked = 0;
    for (int row = 0; row < m_list->count(); ++row)
        checked += m_list->item(row)->checkState() == Qt::Checked ? 1 : 0;
    m_import->setEnabled(checked > 0);
    m_import->setText(checked == 1 ? tr("Import 1 server") : tr("Import %n servers", nullptr, int(checked)));
}

void ImportServers::importChecked()
{
    for (int row = 0; row < m_list->count(); ++row) {
        if (m_list->item(row)->checkState() == Qt::Checked)
            m_model.servers().upsert(m_hosts.at(row));
    }
    accept();
}

} // namespace moorix
