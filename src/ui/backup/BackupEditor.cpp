// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/BackupEditor.h"

#include "app/AppModel.h"
#include "backup/BackupNames.h"
#include "backup/BackupSchedule.h"
#include "backup/BackupStore.h"
#include "base/Clock.h"
#include "files/Format.h"
#include "platform/AppPaths.h"
#include "servers/ServerStore.h"
#include "ui/MessageBar.h"
#include "ui/Widgets.h"
#include "ui/backup/BackupText.h"
#include "ui/backup/PassphraseSection.h"
#include "ui/backup/ServerFolderPicker.h"
#include "ui/backup/SourceList.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QSpinBox>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

void BackupEditor::fillPlaces()
{
    m_place->addItem(tr("This computer"), QUuid());
    for (const ServerConnection &server : m_model.servers().library().servers)
        m_place->addItem(Format::display(server.displayName()), server.id);
    const QUuid wanted = m_original.destinationServerID.value_or(QUuid());
    if (m_place->findData(wanted) < 0)
        m_place->addItem(tr("A removed server"), wanted);
}

void BackupEditor::show(const BackupJob &job)
{
    const QScopedValueRollback filling(m_isFilling, true);
    m_name->setText(job.name);
    m_sources->setPaths(job.sourcePaths);
    m_place->setCurrentIndex(m_place->findData(job.destinationServerID.value_or(QUuid())));
    m_folder->setText(job.destinationPath);
    m_frequency->setCurrentIndex(int(job.frequency));
    m_weekday->setCurrentIndex(int(std::clamp<qint64>(job.dayOfWeek, 1, 7)) - 1);
    m_monthDay->setValue(int(job.dayOfMonth));
    m_hour->setValue(int(job.hour));
    m_minute->setValue(int(job.minute));
    m_zip->setChecked(job.zip);
    m_encrypt->setChecked(job.encrypt);
    m_keep->setValue(int(std::max<qint64>(0, job.keepVersions)));
}

BackupJob BackupEditor::record() const
{
    BackupJob job = m_original;
    job.name = m_name->text().trimmed();
    job.sourcePaths = m_sources->paths();
    const QUuid server = m_place->currentData().toUuid();
    job.destinationServerID = server.isNull() ? std::nullopt : std::optional(server);
    const QString folder = m_folder->text();
    job.destinationPath = server.isNull() ? AppPaths::expandTilde(folder) : folder;
    job.frequency = BackupFrequency(m_frequency->currentIndex());
    job.dayOfWeek = m_weekday->currentIndex() + 1;
    job.dayOfMonth = m_monthDay->value();
    job.hour = m_hour->value();
    job.minute = m_minute->value();
    job.zip = m_zip->isChecked();
    job.encrypt = m_encrypt->isChecked();
    job.keepVersions = m_keep->value();
    return job;
}

bool BackupEditor::isEdited() const
{
    return m_passphrase->isEdited() || record() != m_original;
}

QString BackupEditor::title() const
{
    return m_purpose == Purpose::create ? tr("New backup") : tr("Edit “%1”").arg(Format::display(m_original.name));
}

void BackupEditor::addSources(const QStringList &paths)
{
    m_sources->add(paths);
}

/// Rows that apply, and what will come of it all.
void BackupEditor::followFields()
{
    const BackupJob job = record();
    m_when->setRowVisible(m_weekday, job.frequency == BackupFrequency::weekly);
    m_when->setRowVisible(m_monthDay->parentWidget(), job.frequency == BackupFrequency::monthly);
    m_how->setRowVisible(m_passphrase->parentWidget(), job.encrypt);
    m_zip->setEnabled(!job.encrypt);
    m_monthHint->setText(job.dayOfMonth > 28 ? tr("in a month without a day %1, its last day").arg(job.dayOfMonth)
                                             : QString());
    const QDateTime now = systemNow();
    const QString name =
        Format::display(BackupNames::archiveName(job.name, now.toLocalTime(), BackupNames::kindOf(job)));
    m_archivePreview->setText(job.makesArchive() ? tr("Makes %1").arg(name) : tr("Makes the folder %1").arg(name));
    const QDateTime next = BackupSchedule::nextDue(job, now, QTimeZone::systemTimeZone());
    m_schedulePreview->setText(BackupSchedule::scheduleDescription(job));
    m_schedulePreview->setToolTip(BackupText::nextRun(next, now));
}

void BackupEditor::edited()
{
    if (m_isFilling)
        return;
    m_message->dismiss();
    if (m_hasTried)
        showProblems();
    followFields();
}

QList<BackupProblem> BackupEditor::problems() const
{
    const BackupJob job = record();
    const bool isServerThere =
        !job.destinationServerID || m_model.servers().server(*job.destinationServerID).has_value();
    return backupProblems(job, m_model.backups().jobs(), m_passphrase->typed(), isServerThere);
}

/// Returns whether the record can be used.
bool BackupEditor::showProblems()
{
    const QList<BackupProblem> found = problems();
    for (const Place &place : std::as_const(m_problems))
        place.label->setText({});
    for (const BackupProblem &problem : found)
        m_problems[problem.field].label->setText(problem.text);
    for (const Place &place : std::as_const(m_problems))
        place.label->setVisible(!place.label->text().isEmpty());
    followFields();
    return found.isEmpty();
}

void BackupEditor::browse()
{
    const QUuid server = m_place->currentData().toUuid();
    if (!server.isNull()) {
        if (const auto record = m_model.servers().server(server))
            m_picker->open(*record, m_folder->text());
        return;
    }
    auto *dialog =
        new QFileDialog(this, tr("Folder for the archives"),
                        m_folder->text().isEmpty() ? AppPaths::home() : AppPaths::expandTilde(m_folder->text()));
    dialog->setObjectName(u"backupFolderDialog"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    connect(dialog, &QFileDialog::fileSelected, m_folder, &QLineEdit::setText);
    dialog->open();
}

void BackupEditor::save()
{
    m_hasTried = true;
    if (!showProblems()) {
        m_problems[problems().constFirst().field].input->setFocus();
        return;
    }
    const BackupJob job = record();
    m_save->setEnabled(false);
    m_save->setText(tr("Saving…"));
    const auto secret = job.encrypt ? m_passphrase->secret() : std::nullopt;
    // The passphrase is stored even when the page is left meanwhile, so the outcome may find none.
    m_model
        .saveBackup(job, secret,
                    [self = QPointer(this), job](const QString &problem) {
                        if (self)
                            emit self->saved(job, problem);
                    })
        .detach();
}

void BackupEditor::leave(const std::function<void()> &then)
{
    if (!isEdited()) {
        then();
        return;
    }
    m_message->ask(tr("What you changed here is not saved."), tr("Discard"), MessageBar::Tone::warning, then,
                   {tr("Save"), [this] { save(); }});
}

} // namespace moorix
