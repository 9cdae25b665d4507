// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QWidget>

#include <array>

class QComboBox;
class QFormLayout;
class QLineEdit;

namespace moorix {

class SecretField;

/// How the user proves who they are: the part of the connection form with the user name, the method and its secrets.
/// Only what the method needs is shown.
class SignInSection final : public QWidget
{
    Q_OBJECT

public:
    explicit SignInSection(QWidget *parent = nullptr);

    void show(const ServerConnection &server);
    /// Protocols without keys offer the password alone.
    void setProtocol(NetworkProtocol protocol);
    void setDetectedKeys(const QStringList &paths);
    void setStored(bool hasPassword, bool hasPassphrase, bool hasPrivateKey);

    /// Writes the section's fields into the record.
    void read(ServerConnection &server) const;
    /// Secrets to store: absent ones stay as they are.
    ConnectionCredentials secrets() const;
    bool hasPastedKey() const;
    QFormLayout &form() const { return *m_form; }
    QLineEdit &username() const { return *m_username; }
    QWidget &keyField() const;

signals:
    void edited();

private:
    AuthMethod method() const;
    QWidget *makeKeyFileRow();
    void updateRows();
    void chooseKeyFile();

    QFormLayout *m_form;
    QLineEdit *m_username;
    QComboBox *m_method;
    QComboBox *m_keyFile = nullptr;
    QWidget *m_keyFileRow;
    SecretField *m_password;
    SecretField *m_privateKey;
    SecretField *m_passphrase;
    NetworkProtocol m_protocol = NetworkProtocol::sftp;
};

} // namespace moorix
