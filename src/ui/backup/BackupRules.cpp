// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/BackupRules.h"

#include "backup/BackupNames.h"

#include <QCoreApplication>

#include <algorithm>

namespace moorix {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("moorix", text);
}

std::optional<QString> destinationProblem(const BackupJob &job, bool isServerThere)
{
    if (job.destinationServerID && !isServerThere)
        return tr("The server of this backup is no longer saved. Choose another destination.");
    if (job.destinationPath.isEmpty())
        return tr("Choose the folder that the archives go to.");
    if (!job.destinationPath.startsWith(u'/'))
        return tr("Give the whole path of the folder; it begins with “/”.");
    return std::nullopt;
}

std::optional<QString> passphraseProblem(const BackupJob &job, const TypedPassphrase &typed)
{
    if (!job.encrypt)
        return std::nullopt;
    if (typed.once.isEmpty() && typed.again.isEmpty())
        return typed.isStored ? std::nullopt : std::optional(tr("Type the passphrase that encrypts the archives."));
    if (typed.once != typed.again)
        return tr("The two passphrases differ. Nobody could open archives with a slip in it.");
    return std::nullopt;
}

/// Where the words of a problem that is not one of a single field belong.
BackupField fieldOf(const BackupJob &job, const QList<BackupJob> &all)
{
    const bool clashes =
        std::ranges::any_of(all, [&job](const BackupJob &each) { return BackupNames::clash(job, each); });
    const bool isInside =
        !job.destinationServerID && std::ranges::any_of(job.sourcePaths, [&job](const QString &source) {
            return BackupNames::isWithin(job.destinationPath, source);
        });
    if (isInside)
        return BackupField::destination;
    return clashes ? BackupField::name : BackupField::sources;
}

} // namespace

QList<BackupProblem> backupProblems(const BackupJob &job, const QList<BackupJob> &all, const TypedPassphrase &typed,
                                    bool isServerThere)
{
    QList<BackupProblem> problems;
    const auto add = [&problems](BackupField field, const std::optional<QString> &text) {
        if (text)
            problems.append({field, *text});
    };
    if (job.name.trimmed().isEmpty())
        add(BackupField::name, tr("The backup needs a name; its archives bear it."));
    if (job.sourcePaths.isEmpty())
        add(BackupField::sources, tr("Add the files and folders that are to be backed up."));
    add(BackupField::destination, destinationProblem(job, isServerThere));
    if (problems.isEmpty()) {
        if (const auto problem = BackupNames::problem(job, all))
            add(fieldOf(job, all), problem);
    }
    add(BackupField::passphrase, passphraseProblem(job, typed));
    return problems;
}

} // namespace moorix
