// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/ZipStep.h"

#include "base/Error.h"
#include "files/NativePath.h"
#include "platform/ProcessRunner.h"

#include <QFileInfo>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

const QString program = u"/usr/bin/zip"_s;

/// What the tool means by its exit code, where its own words may not tell.
QString meaning(int exitCode)
{
    switch (exitCode) {
    case 12:
        return u"There was nothing to archive."_s;
    case 14:
        return u"The archive could not be written; the disk of the temporary folder may be full."_s;
    case 15:
        return u"The archive could not be made."_s;
    case 18:
        return u"Some files could not be read."_s;
    default:
        return u"It ended with code %1."_s.arg(exitCode);
    }
}

QString failureText(const ProcessResult &result)
{
    const QString words = NativePath::text(result.standardError).trimmed();
    const QString reason =
        result.crashed ? u"It was ended by signal %1."_s.arg(result.exitCode) : meaning(result.exitCode);
    return words.isEmpty() ? u"zip failed: "_s + reason : u"zip failed: %1\n%2"_s.arg(words, reason);
}

} // namespace

void zip(const QStringList &sources, const QString &to, ProcessRunner &runner, const std::stop_token &stop)
{
    if (std::any_of(sources.cbegin(), sources.cend(), [](const QString &source) { return !source.startsWith(u'/'); }))
        throw Error(u"Backup"_s, u"zip failed: a source is no absolute path, and could be taken for an option."_s);
    if (!QFileInfo::exists(program))
        throw Error(u"Backup"_s, u"zip failed: “%1” is not installed; it comes with the package “zip”."_s.arg(program));
    ProcessRequest request;
    request.program = program;
    request.arguments = QStringList{u"-r"_s, u"-q"_s, to} + sources;
    // Both add options to those given here.
    request.environment = QProcessEnvironment::systemEnvironment();
    request.environment->remove(u"ZIP"_s);
    request.environment->remove(u"ZIPOPT"_s);
    const ProcessResult result = runner.run(request, stop);
    if (result.crashed || result.exitCode != 0)
        throw Error(u"Backup"_s, failureText(result));
    if (!QFileInfo::exists(to))
        throw Error(u"Backup"_s, u"zip failed: it made no archive."_s);
}

} // namespace moorix
