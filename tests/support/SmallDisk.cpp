// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/SmallDisk.h"

#include "support/TestTree.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace moorix::test {

namespace {

constexpr auto variable = "MOORIX_SMALL_DISK";

} // namespace

std::optional<QString> SmallDisk::folder()
{
    return qEnvironmentVariableIsEmpty(variable) ? std::nullopt : std::optional(qEnvironmentVariable(variable));
}

void SmallDisk::verify(const char *testClass, const char *row, const QString &inside)
{
    if (::geteuid() != 0)
        QSKIP("Only root can mount a small disk.");
    const TestTree tree{{"disk/", {}}};
    const QString mountPoint = tree.path("disk");
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(variable), mountPoint + inside);
    program.setProcessEnvironment(environment);
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(u"unshare"_s,
                  {u"--mount"_s, u"sh"_s, u"-c"_s,
                   u"mount --make-rprivate / && mount -t tmpfs -o size=%1 none \"$0\" && exec \"$@\""_s.arg(bytes),
                   mountPoint, QCoreApplication::applicationFilePath(), QString::fromLatin1(testClass)});
    program.waitForFinished(120'000);
    const QByteArray output = program.readAll();
    QVERIFY2(program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0, output.constData());
    QVERIFY2(output.contains(row), output.constData());
}

} // namespace moorix::test
