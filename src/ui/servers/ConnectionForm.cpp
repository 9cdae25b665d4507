// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/servers/ConnectionForm.h"

#include "app/AppModel.h"
#include "app/ServerConnections.h"
#include "remote/FileServiceFactory.h"
#include "remote/SSHKeys.h"
#include "servers/KeychainStore.h"
#include "ui/Widgets.h"
#include "ui/servers/ServerLook.h"
#include "ui/servers/SignInSection.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>

namespace moorix {

namespace {

/// What the form learns off the main thread when it opens.
struct Facts
{
    QStringList keys;
    ConnectionCredentials stored;
};

/// Typed secrets over the stored ones: what a connection would use once saved.
ConnectionCredentials overlaid(ConnectionCredentials stored, const ConnectionCredentials &typed)
{
    if (typed.password)
        stored.password = typed.password;
    if (typed.privateKeyText)
        stored.privateKeyText = typed.privateKeyText;
    if (typed.passphrase)
        stored.passphrase = typed.passphrase;
    return stored;
}

} // namespace

void ConnectionForm::show(const ServerConnection &server)
{
    m_name->setText(server.name);
    m_protocol->setCurrentIndex(m_protocol->findData(int(server.networkProtocol)));
    m_host->setText(server.host);
    m_port->setValue(int(server.port));
    m_signIn->show(server);
    m_remotePath->setText(server.remotePath);
    const int folder = server.folderID ? m_folder->findData(*server.folderID) : 0;
    m_folder->setCurrentIndex(std::max(0, folder));
    m_favorite->setChecked(server.isFavorite);
    m_color->setCurrentIndex(std::max(0, m_color->findData(server.colorTag.value_or(QString()))));
    m_symbol->setCurrentIndex(std::max(0, m_symbol->findData(server.symbol.value_or(QString()))));
    m_passive->setChecked(server.passiveMode);
    m_tls->setChecked(server.useTLS);
    m_keepAlive->setValue(int(server.keepAliveSeconds));
    m_strict->setChecked(server.strictHostKeyChecking);
    m_charset->setEditText(server.charset);
    m_notes->setPlainText(server.notes);
    m_lastProtocol = server.networkProtocol;
    updateRows();
}

ServerConnection ConnectionForm::record() const
{
    ServerConnection server = m_original;
    const auto textOrAbsent = [](const QComboBox &box) {
        const QString text = box.currentData().toString();
        return text.isEmpty() ? std::nullopt : std::optional(text);
    };
    server.name = m_name->text().trimmed();
    server.networkProtocol = protocol();
    server.host = m_host->text().trimmed();
    if (server.host.startsWith(u'[') && server.host.endsWith(u']'))
        server.host = server.host.mid(1, server.host.size() - 2);
    server.port = m_port->value();
    m_signIn->read(server);
    server.remotePath = m_remotePath->text();
    server.folderID = m_folder->currentIndex() > 0 ? std::optional(m_folder->currentData().toUuid()) : std::nullopt;
    server.isFavorite = m_favorite->isChecked();
    server.colorTag = textOrAbsent(*m_color);
    server.symbol = textOrAbsent(*m_symbol);
    server.passiveMode = m_passive->isChecked();
    server.useTLS = m_tls->isChecked();
    server.keepAliveSeconds = m_keepAlive->value();
    server.strictHostKeyChecking = m_strict->isChecked();
    server.charset = m_charset->currentText().trimmed();
    server.notes = m_notes->toPlainText();
    return server;
}

NetworkProtocol ConnectionForm::protocol() const
{
    return NetworkProtocol(m_protocol->currentData().toInt());
}

void ConnectionForm::loadFacts()
{
    m_factsJob = runJob(
        [server = m_original, keychain = m_model.keychain()](const std::stop_token &) {
            return Facts{SSHKeys::detected(), FileServiceFactory::credentials(server, *keychain)};
        },
        [this](const Facts &facts) {
            m_signIn->setDetectedKeys(facts.keys);
            m_signIn->setStored(facts.stored.password.has_value(), facts.stored.passphrase.has_value(),
                                facts.stored.privateKeyText.has_value());
        },
        [this](const Error &error) { endTest(error.message(), true); });
}

void ConnectionForm::protocolChanged()
{
    // A port that the user chose stays; the usual one follows the protocol.
    if (m_port->value() == ServerLook::usualPort(m_lastProtocol))
        m_port->setValue(int(ServerLook::usualPort(protocol())));
    m_tls->setChecked(protocol() == NetworkProtocol::ftps);
    m_lastProtocol = protocol();
    updateRows();
}

void ConnectionForm::updateRows()
{
    const bool isSSH = supportsKeyAuth(protocol());
    m_signIn->setProtocol(protocol());
    m_optionsForm->setRowVisible(m_passive, !isSSH);
    m_optionsForm->setRowVisible(m_tls, protocol() == NetworkProtocol::ftps);
    m_optionsForm->setRowVisible(m_keepAlive, isSSH);
    m_optionsForm->setRowVisible(m_strict, isSSH || protocol() == NetworkProtocol::ftps);
    m_strict->setText(isSSH ? tr("Refuse hosts whose key is not known yet")
                            : tr("Refuse certificates that no authority has signed"));
    m_serverForm->setRowVisible(m_protocolNote, protocol() == NetworkProtocol::ftp);
}

bool ConnectionForm::showProblems()
{
    clearProblems();
    const QList<ConnectionProblem> problems = connectionProblems(record(), m_signIn->hasPastedKey());
    for (const ConnectionProblem &problem : problems) {
        const Problem &place = m_problems[problem.field];
        place.label->setText(problem.text);
        place.label->show();
    }
    if (problems.isEmpty())
        return true;
    const ConnectionField first = problems.first().field;
    (first == ConnectionField::privateKey ? &m_signIn->keyField() : m_problems[first].input)->setFocus();
    return false;
}

void ConnectionForm::clearProblems()
{
    for (const Problem &problem : std::as_const(m_problems))
        problem.label->hide();
}

void ConnectionForm::save()
{
    if (!showProblems())
        return;
    m_testJob.cancel();
    m_save->setEnabled(false);
    m_save->setText(tr("Saving…"));
    const ServerConnection server = record();
    // The secrets are stored even when the window is closed meanwhile, so the outcome may find no form.
    m_saveJob = m_model.saveServer(server, m_signIn->secrets(),
                                   [form = QPointer<ConnectionForm>(this), server](const QString &problem) {
                                       if (!form)
                                           return;
                                       form->m_save->setText(tr("Save"));
                                       form->m_save->setEnabled(true);
                                       emit form->saved(server);
                                       if (problem.isEmpty())
                                           form->accept();
                                       else
                                           form->endTest(problem, true);
                                   });
}

void ConnectionForm::done(int result)
{
    m_saveJob.detach();
    QDialog::done(result);
}

void ConnectionForm::test()
{
    if (m_isTesting) {
        m_testJob.cancel();
        endTest(tr("Test cancelled."), false);
        return;
    }
    if (!showProblems())
        return;
    m_isTesting = true;
    m_test->setText(tr("Cancel test"));
    m_result->setText(tr("Connecting to %1…").arg(record().host));
    Widgets::setStyleProperty(*m_result, "role", QStringLiteral("muted"));
    m_testJob = runJob([server = m_original, keychain = m_model.keychain()](
                           const std::stop_token &) { return FileServiceFactory::credentials(server, *keychain); },
                       [this](const ConnectionCredentials &stored) { startTest(stored); },
                       [this](const Error &error) { endTest(error.message(), true); });
}

void ConnectionForm::startTest(const ConnectionCredentials &stored)
{
    ConnectionCredentials credentials = overlaid(stored, m_signIn->secrets());
    const ServerConnection server = record();
    credentials.privateKeyPath = server.privateKeyPath;
    m_testJob = m_model.connections().test(
        server, credentials, [this](const QString &summary) { endTest(summary, false); },
        [this](const Error &error) { endTest(error.message(), true); });
}

void ConnectionForm::endTest(const QString &text, bool isFailure)
{
    m_isTesting = false;
    m_test->setText(tr("Test connection"));
    m_result->setText(text);
    Widgets::setStyleProperty(*m_result, "role", isFailure ? QStringLiteral("error") : QStringLiteral("muted"));
}

} // namespace moorix
