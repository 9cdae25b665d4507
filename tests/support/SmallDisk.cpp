// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/SmallDisk.h"

#include <QCoreApplication>
#include <QProcess>

using namespace Qt::StringLiterals;

namespace moorix::test {

namespace {

constexpr auto variable = "MOORIX_SMALL_DISK";

} // namespace

std::optional<QString> SmallDisk::folder()
{
    return qEnvironmentVariableIsEmpty(variable) ? std::nullopt : std::optional(qEnvironmentVariable(variable));
}

bool SmallDisk::run(const QString &mountPoint, const QString &folder, const char *testClass, QByteArray &said)
{
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(variable), folder);
    program.setProcessEnvironment(environment);
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(u"unshare"_s,
                  {u"--mount"_s, u"sh"_s, u"-c"_s,
                   u"mount --make-rprivate / && mount -t tmpfs -o size=%1 none \"$0\" && exec \"$@\""_s.arg(bytes),
                   mountPoint, QCoreApplication::applicationFilePath(), QString::fromLatin1(testClass)});
    program.waitForFinished(120'000);
    said = program.readAll();
    return program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0;
}

} // namespace moorix::test
