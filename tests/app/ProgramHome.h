// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/TestMain.h"

#include <QProcess>

namespace moorix::test {

/// A home of its own in which the program itself is run.
struct ProgramHome
{
    TestTree tree{{"home/", ""}, {"data/Moorix/servers.json", R"({"folders": [], "servers": []})"}};
    int code = -1;
    QString out;
    QString err;

    void start(QProcess &process, const QStringList &arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), tree.path("home"));
        environment.insert(QStringLiteral("XDG_DATA_HOME"), tree.path("data"));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), tree.path("config"));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), tree.path());
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(tree.path("home"));
        process.start(QStringLiteral(MOORIX_BINARY), arguments);
    }
    void run(const QStringList &arguments)
    {
        QProcess process;
        start(process, arguments);
        if (!process.waitForFinished(20000))
            qFatal("moorix did not end.");
        code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        out = QString::fromUtf8(process.readAllStandardOutput());
        err = QString::fromUtf8(process.readAllStandardError());
    }
};

} // namespace moorix::test
