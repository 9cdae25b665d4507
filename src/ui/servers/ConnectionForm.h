// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "servers/ServerConnection.h"
#include "ui/servers/ConnectionRules.h"

#include <QDialog>
#include <QHash>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QSpinBox;
class QVBoxLayout;

namespace moorix {

class AppModel;
class SignInSection;

/// Creates or edits one saved server. Shows only the fields its protocol knows, says beside a field what is wrong with
/// it, and tries the connection without saving. Opened with `open()`; deletes itself.
class ConnectionForm final : public QDialog
{
    Q_OBJECT

public:
    enum class Purpose { create, edit };

    ConnectionForm(AppModel &model, const ServerConnection &server, Purpose purpose, QWidget *parent = nullptr);
    ~ConnectionForm() override;

    /// The record as the fields stand.
    ServerConnection record() const;
    void done(int result) override;

signals:
    void saved(const moorix::ServerConnection &server);

private:
    void makeSections(QVBoxLayout &column);
    void makeServerSection(QVBoxLayout &column);
    void makeOptionsSection(QVBoxLayout &column);
    void makeLookSection(QVBoxLayout &column);
    QFormLayout *addSection(QVBoxLayout &column, const QString &title);
    QWidget *makeFooter();
    void fillChoices();
    void show(const ServerConnection &server);
    void loadFacts();
    void protocolChanged();
    void updateRows();
    NetworkProtocol protocol() const;
    /// Returns whether the record can be used; focuses the first field that is wrong otherwise.
    bool showProblems();
    void clearProblems();
    void addProblemLabel(ConnectionField field, QFormLayout &form, QWidget *input);
    void save();
    void test();
    void startTest(const ConnectionCredentials &stored);
    void endTest(const QString &text, bool isFailure);

    AppModel &m_model;
    ServerConnection m_original;
    NetworkProtocol m_lastProtocol;
    QLineEdit *m_name;
    QComboBox *m_protocol;
    QLineEdit *m_host;
    QSpinBox *m_port;
    SignInSection *m_signIn;
    QLineEdit *m_remotePath;
    QComboBox *m_folder;
    QCheckBox *m_favorite;
    QComboBox *m_color;
    QComboBox *m_symbol;
    QCheckBox *m_passive;
    QCheckBox *m_tls;
    QSpinBox *m_keepAlive;
    QCheckBox *m_strict;
    QComboBox *m_charset;
    QPlainTextEdit *m_notes;
    QFormLayout *m_serverForm = nullptr;
    QFormLayout *m_optionsForm = nullptr;
    QLabel *m_protocolNote = nullptr;
    QLabel *m_result = nullptr;
    QPushButton *m_test = nullptr;
    QPushButton *m_save = nullptr;
    struct Problem
    {
        QLabel *label;
        QWidget *input;
    };
    QHash<ConnectionField, Problem> m_problems;
    bool m_isTesting = false;
    Job m_factsJob;
    Job m_testJob;
    Job m_saveJob;
};

} // namespace moorix
