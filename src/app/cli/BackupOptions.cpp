// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/BackupOptions.h"

#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "app/cli/OptionValues.h"
#include "backup/BackupJob.h"
#include "platform/AppPaths.h"

#include <QCommandLineParser>
#include <QDir>
#include <QLocale>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

QString absolute(const QString &path)
{
    const QString expanded = AppPaths::expandTilde(path);
    return QDir::cleanPath(QDir::current().absoluteFilePath(expanded));
}

/// A weekday's English name, or the day of a month.
void applyDay(const QString &text, BackupJob &job)
{
    for (int day = 1; day <= 7; ++day) {
        if (text.compare(QLocale::c().dayName(day), Qt::CaseInsensitive) == 0) {
            job.dayOfWeek = day;
            return;
        }
    }
    job.dayOfMonth = optionValues::number(u"day"_s, text, 1, 31);
}

void applyTime(const QString &text, BackupJob &job)
{
    const QTime time = QTime::fromString(text, u"H:mm"_s);
    if (!time.isValid())
        throw UsageError(u"--at takes a time such as 18:30, not “%1”."_s.arg(text));
    job.hour = time.hour();
    job.minute = time.minute();
}

void applyDestination(const QString &target, BackupJob &job, CommandContext &context)
{
    const auto remote = splitTarget(target);
    job.destinationServerID.reset();
    if (!remote) {
        job.destinationPath = absolute(target);
        return;
    }
    const ServerConnection server = context.server(remote->first);
    job.destinationServerID = server.id;
    job.destinationPath = remote->second.isEmpty() ? server.remotePath : remote->second;
    if (!job.destinationPath.startsWith(u'/'))
        throw UsageError(u"--to takes an absolute path on a server, not “%1”."_s.arg(job.destinationPath));
}

} // namespace

QList<QCommandLineOption> backupOptions()
{
    return {{u"name"_s, u"Its name, and the beginning of its archives' names."_s, u"NAME"_s},
            {u"source"_s, u"A file or folder of this machine; may be given several times."_s, u"PATH"_s},
            {u"to"_s, u"The folder the archives go to: a local one, or SERVER:PATH."_s, u"TARGET"_s},
            {u"every"_s, u"daily, weekly or monthly."_s, u"PERIOD"_s},
            {u"day"_s, u"A weekday, or a day of the month from 1 to 31."_s, u"DAY"_s},
            {u"at"_s, u"The time of day, local time."_s, u"HH:MM"_s},
            {u"keep"_s, u"How many archives stay; 0 keeps all."_s, u"NUMBER"_s},
            {u"scheduled"_s, u"Whether it runs by itself: yes or no."_s, u"YES|NO"_s},
            {u"zip"_s, u"One zip archive a run (yes), or a folder of plain copies (no)."_s, u"YES|NO"_s},
            {u"encrypt"_s, u"Encrypt the archives."_s},
            {u"no-encrypt"_s, u"Do not encrypt them."_s}};
}

void applyBackupOptions(const QCommandLineParser &parser, BackupJob &job, CommandContext &context)
{
    if (parser.isSet(u"name"_s))
        job.name = parser.value(u"name"_s);
    if (parser.isSet(u"source"_s)) {
        job.sourcePaths.clear();
        const QStringList sources = parser.values(u"source"_s);
        for (const QString &source : sources)
            job.sourcePaths.append(absolute(source));
    }
    if (parser.isSet(u"to"_s))
        applyDestination(parser.value(u"to"_s), job, context);
    if (parser.isSet(u"every"_s)) {
        const auto frequency = backupFrequencyFromRaw(parser.value(u"every"_s));
        if (!frequency)
            throw UsageError(u"--every takes daily, weekly or monthly, not “%1”."_s.arg(parser.value(u"every"_s)));
        job.frequency = *frequency;
    }
    if (parser.isSet(u"day"_s))
        applyDay(parser.value(u"day"_s), job);
    if (parser.isSet(u"at"_s))
        applyTime(parser.value(u"at"_s), job);
    if (parser.isSet(u"keep"_s))
        job.keepVersions = optionValues::number(u"keep"_s, parser.value(u"keep"_s), 0, 100'000);
    if (parser.isSet(u"scheduled"_s))
        job.enabled = optionValues::yesOrNo(u"scheduled"_s, parser.value(u"scheduled"_s));
    if (parser.isSet(u"zip"_s))
        job.zip = optionValues::yesOrNo(u"zip"_s, parser.value(u"zip"_s));
    if (parser.isSet(u"encrypt"_s) || parser.isSet(u"no-encrypt"_s))
        job.encrypt = parser.isSet(u"encrypt"_s);
}

QString readPassphrase(const QString &prompt, const std::stop_token &stop)
{
    QString passphrase = QString::fromUtf8(console::readSecret(prompt, stop));
    if (passphrase.endsWith(u'\n'))
        passphrase.chop(1);
    if (passphrase.isEmpty())
        throw UsageError(u"Standard input held no passphrase."_s);
    return passphrase;
}

} // namespace moorix
