// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/exchange/ImportDialog.h"

#include "app/AppModel.h"
#include "app/exchange/ImportPlan.h"
#include "app/exchange/ImportSource.h"
#include "base/Clock.h"
#include "platform/Preferences.h"
#include "servers/ServerStore.h"
#include "ui/CheckBox.h"
#include "ui/ElidedLabel.h"
#include "ui/Widgets.h"
#include "ui/exchange/ImportTree.h"
#include "ui/preferences/PreferenceTable.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

using Mode = ImportChoice::Mode;
using Origin = ExchangeContent::Origin;

constexpr qsizetype mostNotes = 4;

QHash<QString, QString> settingLabels(AppModel &model)
{
    QHash<QString, QString> labels;
    for (const PreferencePage &page : preferencePages(model)) {
        for (const PreferenceRow &row : page.rows)
            labels.insert(row.key, row.label);
    }
    return labels;
}

QString headingOf(const ExchangeContent &content)
{
    if (content.origin == Origin::fileZilla)
        return ImportDialog::tr("Sites of FileZilla");
    if (content.origin == Origin::openSSH)
        return ImportDialog::tr("Hosts of an OpenSSH configuration");
    return content.kind == ExchangeContent::Kind::configuration ? ImportDialog::tr("Configuration of Moorix")
                                                                : ImportDialog::tr("Servers of Moorix");
}

QString notesText(const ExchangeContent &content)
{
    QStringList notes = content.notes.first(std::min(mostNotes, content.notes.size()));
    if (content.passwords.isEmpty())
        notes += ImportDialog::tr("Passwords, passphrases and pasted keys are not part of it.");
    return notes.join(u'\n');
}

/// Both run on workers and return the keychain's words for what failed.
QString removeFromKeychain(KeychainStore &keychain, const QList<QUuid> &servers)
{
    QString problem;
    for (const QUuid &server : servers) {
        if (!keychain.remove(server, SecretKind::password))
            problem = keychain.lastProblem();
    }
    return problem;
}
QString putIntoKeychain(KeychainStore &keychain, const QHash<QUuid, QString> &passwords)
{
    QString problem;
    for (auto password = passwords.begin(); password != passwords.end(); ++password) {
        if (!keychain.set(password.value(), password.key(), SecretKind::password))
            problem = keychain.lastProblem();
    }
    return problem;
}

QList<documentCopies::Copy> makeCopies(const std::stop_token &stop)
{
    QList<documentCopies::Copy> copies = documentCopies::make(systemNow());
    if (stop.stop_requested())
        documentCopies::remove(copies);
    return copies;
}

} // namespace

ImportDialog::ImportDialog(AppModel &model, const QString &path, QWidget *parent)
    : QDialog(parent)
    , m_model(model)
    , m_path(path)
    , m_heading(Widgets::label(tr("Import"), Widgets::TextRole::heading, this))
    , m_file(new ElidedLabel(Qt::ElideMiddle, this))
    , m_pages(new QStackedWidget(this))
    , m_waiting(Widgets::label({}, Widgets::TextRole::muted, this))
{
    setObjectName(u"importDialog"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Import"));
    resize(860, 620);
    m_waiting->setObjectName(u"importState"_s);
    m_waiting->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    m_file->setText(path);
    m_file->setProperty("role", u"muted"_s);
    m_pages->addWidget(m_waiting);
    m_pages->addWidget(makePreview());
    m_pages->addWidget(makeEnd());
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(20, 16, 20, 16);
    column->setSpacing(6);
    column->addWidget(m_heading);
    column->addWidget(m_file);
    column->addSpacing(6);
    column->addWidget(m_pages, 1);
    column->addSpacing(6);
    column->addLayout(makeButtons());
    read();
}

ImportDialog::~ImportDialog() = default;

QWidget *ImportDialog::makePreview()
{
    auto *preview = new QWidget(this);
    m_notes = Widgets::label({}, Widgets::TextRole::muted, preview);
    m_notes->setObjectName(u"importNotes"_s);
    m_passwords = new CheckBox(preview);
    m_passwords->setObjectName(u"importPasswords"_s);
    m_tree = new ImportTree(preview);
    m_tree->setSettingLabels(settingLabels(m_model));
    connect(m_tree, &ImportTree::choiceChanged, this, &ImportDialog::showCounts);
    m_modes = new QWidget(preview);
    m_modes->setLayout(makeModes());
    auto *column = new QVBoxLayout(preview);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);
    column->addWidget(m_notes);
    column->addWidget(m_modes);
    column->addWidget(m_passwords);
    column->addWidget(m_tree, 1);
    return preview;
}

QLayout *ImportDialog::makeModes()
{
    m_merge = new QRadioButton(tr("Add to what is here"), m_modes);
    m_merge->setObjectName(u"importMerge"_s);
    m_merge->setChecked(true);
    m_replace = new QRadioButton(tr("Replace what is here"), m_modes);
    m_replace->setObjectName(u"importReplace"_s);
    m_warning = Widgets::label({}, Widgets::TextRole::muted, m_modes);
    connect(m_replace, &QRadioButton::toggled, this, &ImportDialog::plan);
    auto *row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(18);
    row->addWidget(m_merge);
    row->addWidget(m_replace);
    row->addWidget(m_warning, 1);
    return row;
}

QWidget *ImportDialog::makeEnd()
{
    auto *end = new QWidget(this);
    m_endText = Widgets::label({}, Widgets::TextRole::heading, end);
    m_endText->setObjectName(u"importEnd"_s);
    m_endDetails = Widgets::label({}, Widgets::TextRole::muted, end);
    m_endDetails->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *column = new QVBoxLayout(end);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_endText);
    column->addWidget(m_endDetails);
    column->addStretch(1);
    return end;
}

QLayout *ImportDialog::makeButtons()
{
    m_counts = Widgets::label({}, Widgets::TextRole::muted, this);
    m_counts->setObjectName(u"importCounts"_s);
    m_undo = Widgets::button(tr("Undo"), u"undoImport"_s, this);
    m_undo->hide();
    m_cancel = Widgets::button(tr("Cancel"), u"cancelImport"_s, this);
    m_import = Widgets::primaryButton(tr("Import"), u"runImport"_s, this);
    m_import->setEnabled(false);
    connect(m_cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_undo, &QPushButton::clicked, this, &ImportDialog::undo);
    connect(m_import, &QPushButton::clicked, this, &ImportDialog::carryOut);
    auto *row = new QHBoxLayout;
    row->addWidget(m_counts, 1);
    row->addWidget(m_undo);
    row->addWidget(m_cancel);
    row->addWidget(m_import);
    return row;
}

Exchange ImportDialog::exchange() const
{
    return Exchange(
        {m_model.settings(), m_model.preferences(), m_model.servers(), m_model.backups(), m_model.syncPairs()});
}

Mode ImportDialog::mode() const
{
    return m_replace->isChecked() ? Mode::replace : Mode::merge;
}

void ImportDialog::read()
{
    m_waiting->setText(tr("Reading the file…"));
    m_job = runJob([path = m_path, runner = m_model.processes()](
                       const std::stop_token &stop) { return importSource::read(path, std::nullopt, *runner, stop); },
                   [this](ExchangeContent content) { offer(std::move(content)); },
                   [this](const Error &error) { fail(error.message()); });
}

void ImportDialog::fail(const QString &sentence)
{
    Widgets::setStyleProperty(*m_waiting, "role", u"error"_s);
    m_waiting->setText(sentence + u'\n' + tr("Nothing was changed."));
    m_pages->setCurrentWidget(m_waiting);
    m_import->hide();
    m_counts->clear();
    m_cancel->setText(tr("Close"));
}

void ImportDialog::offer(ExchangeContent content)
{
    m_heading->setText(headingOf(content));
    m_notes->setText(notesText(content));
    m_modes->setVisible(content.origin == Origin::moorix);
    m_passwords->setVisible(!content.passwords.isEmpty());
    m_passwords->setText(
        content.passwords.size() == 1
            ? tr("Put the password that the file holds into the keychain")
            : tr("Put the %1 passwords that the file holds into the keychain").arg(content.passwords.size()));
    m_content = std::make_shared<const ExchangeContent>(std::move(content));
    plan();
}

void ImportDialog::plan()
{
    m_import->setEnabled(false);
    m_warning->setText(mode() == Mode::replace ? tr("What is here now is kept as a copy.") : QString());
    m_before = exchange().documents();
    m_job = runJob([content = m_content, here = m_before,
                    mode = mode()](const std::stop_token &) { return importPlan::rows(*content, here, mode); },
                   [this](const QList<ImportRow> &rows) { showPlan(rows); },
                   [this](const Error &error) { fail(error.message()); });
}

void ImportDialog::showPlan(const QList<ImportRow> &rows)
{
    m_rows = rows;
    m_tree->show(rows, usualChoice(rows, mode()));
    const bool isFirst = m_pages->currentWidget() == m_waiting;
    m_pages->setCurrentIndex(1);
    if (isFirst)
        m_tree->setFocus();
    showCounts();
}

void ImportDialog::showCounts()
{
    const importPlan::ImportCounts counts = importPlan::counts(m_rows, m_tree->choice());
    m_counts->setText(counts.isNothing() ? tr("Nothing to import: all of it is here already or left out.")
                                         : counts.forecast() + u'.');
    m_import->setEnabled(!counts.isNothing());
    m_import->setText(mode() == Mode::replace ? tr("Replace") : tr("Import"));
}

void ImportDialog::carryOut()
{
    m_import->setEnabled(false);
    // What is only in memory so far is part of what is kept.
    m_model.preferences().flush();
    m_job = runJob(
        makeCopies, [this](const QList<documentCopies::Copy> &copies) { apply(copies); },
        [this](const Error &error) { fail(error.message()); });
}

void ImportDialog::apply(const QList<documentCopies::Copy> &copies)
{
    m_copies = copies;
    const ImportChoice choice = m_tree->choice();
    m_before = exchange().documents();
    try {
        m_after = exchange().apply(*m_content, choice, copies);
    } catch (const Error &error) {
        documentCopies::remove(copies);
        fail(error.message());
        return;
    }
    finish(importPlan::counts(m_rows, choice).text());
}

void ImportDialog::finish(const QString &counts)
{
    QString kept;
    if (importPlan::losesAnything(m_rows, m_tree->choice())) {
        kept = tr("What was here before is kept beside the documents:");
        for (const documentCopies::Copy &copy : std::as_const(m_copies))
            kept += u'\n' + copy.copy;
    } else {
        documentCopies::remove(std::exchange(m_copies, {}));
    }
    tellEnd(counts + u'.', kept);
    m_undo->show();
    storePasswords();
}

void ImportDialog::tellEnd(const QString &text, const QString &details)
{
    m_endText->setText(text);
    m_endDetails->setText(details);
    m_pages->setCurrentIndex(2);
    m_notes->clear();
    m_counts->clear();
    m_import->hide();
    m_cancel->setText(tr("Done"));
    m_cancel->setFocus();
}

void ImportDialog::storePasswords()
{
    QHash<QUuid, QString> passwords = m_passwords->isChecked() ? m_content->passwords : QHash<QUuid, QString>();
    passwords.removeIf([this](const auto &password) { return !m_model.servers().server(password.key()); });
    if (passwords.isEmpty())
        return;
    m_storedPasswords = passwords.keys();
    m_undo->setEnabled(false);
    m_passwordJob = runJob([keychain = m_model.keychain(),
                            passwords](const std::stop_token &) { return putIntoKeychain(*keychain, passwords); },
                           [this](const QString &problem) {
                               m_undo->setEnabled(true);
                               m_endDetails->setText(
                                   problem.isEmpty() ? tr("The passwords are in the keychain.")
                                                     : tr("Not all passwords are in the keychain: %1").arg(problem));
                           },
                           [this](const Error &error) {
                               m_undo->setEnabled(true);
                               m_endDetails->setText(error.message());
                           });
}

void ImportDialog::undo()
{
    m_undo->setEnabled(false);
    m_model.preferences().flush();
    m_job = runJob(
        makeCopies, [this](const QList<documentCopies::Copy> &copies) { takeBack(copies); },
        [this](const Error &error) {
            tellEnd(tr("The import was not undone. %1").arg(error.message()), m_endDetails->text());
        });
}

void ImportDialog::takeBack(const QList<documentCopies::Copy> &copies)
{
    try {
        exchange().undo(m_before, m_after, copies);
        documentCopies::remove(copies + std::exchange(m_copies, {}));
        tellEnd(tr("The import is undone; all is as it was."), {});
        forgetPasswords();
    } catch (const Error &error) {
        documentCopies::remove(copies);
        tellEnd(error.message(), m_endDetails->text());
    }
}

void ImportDialog::forgetPasswords()
{
    if (m_storedPasswords.isEmpty())
        return;
    const auto told = [this](const QString &problem) {
        if (!problem.isEmpty())
            tellEnd(tr("The import is undone, but its passwords are still in the keychain."), problem);
    };
    m_passwordJob = runJob([keychain = m_model.keychain(), servers = m_storedPasswords](
                               const std::stop_token &) { return removeFromKeychain(*keychain, servers); },
                           told, [told](const Error &error) { told(error.message()); });
}

} // namespace moorix
