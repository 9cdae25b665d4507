// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/MainWindow.h"

#include "app/exchange/Exchange.h"
#include "app/exchange/ExchangeFile.h"
#include "app/exchange/ImportSource.h"
#include "base/Clock.h"
#include "base/JsonFile.h"
#include "platform/AppPaths.h"
#include "ui/exchange/ImportDialog.h"

#include <QFileDialog>
#include <QFileInfo>

namespace moorix {

using Kind = ExchangeContent::Kind;

void MainWindow::addExchangeCommands()
{
    using enum WindowCommand;
    m_handlers[importServers] = [this] { this->MainWindow::importServers(); };
    m_handlers[importFile] = [this] { chooseImport(); };
    m_handlers[exportServers] = [this] { chooseExport(Kind::servers); };
    m_handlers[exportConfiguration] = [this] { chooseExport(Kind::configuration); };
}

void MainWindow::importServers()
{
    (new ImportDialog(m_model, importSource::usualOpenSSHFile(), this))->open();
}

void MainWindow::chooseImport()
{
    // In a hidden folder, which nobody would find in a dialog.
    const QString sites = AppPaths::home() + QStringLiteral("/.config/filezilla");
    auto *dialog = new QFileDialog(this, tr("Import"), QFileInfo::exists(sites) ? sites : AppPaths::home(),
                                   tr("Exports and sites (*.json *.xml);;Exports of Moorix (*.json);;"
                                      "Sites of FileZilla (*.xml);;All files (*)"));
    dialog->setObjectName(QStringLiteral("importFileDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    connect(dialog, &QFileDialog::fileSelected, this,
            [this](const QString &path) { (new ImportDialog(m_model, path, this))->open(); });
    dialog->open();
}

void MainWindow::chooseExport(Kind kind)
{
    auto *dialog = new QFileDialog(
        this, kind == Kind::configuration ? tr("Export configuration") : tr("Export servers"), AppPaths::home());
    dialog->setObjectName(QStringLiteral("exportFileDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QStringLiteral("json"));
    dialog->selectFile(exchangeFile::usualName(kind));
    connect(dialog, &QFileDialog::fileSelected, this, [this, kind](const QString &path) { exportTo(path, kind); });
    dialog->open();
}

void MainWindow::exportTo(const QString &path, Kind kind)
{
    const Exchange exchange(
        {m_model.settings(), m_model.preferences(), m_model.servers(), m_model.backups(), m_model.syncPairs()});
    m_export = runJob(
        [documents = exchange.documents(), path, kind](const std::stop_token &) {
            jsonFile::write(path, exchangeFile::encode(documents, kind, systemNow()));
        },
        [this, path] { emit m_model.messageRaised(tr("“%1” is written. It holds no passwords.").arg(path)); },
        [this](const Error &error) { emit m_model.messageRaised(error.message()); });
}

} // namespace moorix
