// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CommandLine.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    return moorix::CommandLine::run(QCoreApplication::arguments());
}
