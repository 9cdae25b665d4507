// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppModel.h"
#include "app/CommandLine.h"
#include "base/Job.h"
#include "platform/SecretServiceKeychain.h"
#include "platform/SystemProcessRunner.h"
#include "ui/FirstPaint.h"
#include "ui/MainWindow.h"
#include "ui/TerminationSignals.h"
#include "ui/Translations.h"

#include <QApplication>
#include <QIcon>
#include <QLocale>

#include <cstdio>
#include <cstdlib>

using namespace moorix;

namespace {

constexpr std::chrono::seconds patienceAtExit{5};

/// Qt aborts when it finds no display; a sentence and an exit code say more than a core file.
void explainMissingDisplay(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type != QtFatalMsg) {
        if (type >= QtCriticalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(message));
        return;
    }
    std::fputs("Moorix cannot open its window: no display was found. On a machine without one, use its commands "
               "(moorix --help).\n",
               stderr);
    std::_Exit(1);
}

int runWindow(int &argc, char **argv)
{
    qInstallMessageHandler(explainMissingDisplay);
    QApplication application(argc, argv);
    qInstallMessageHandler(nullptr);
    QApplication::setApplicationName(QStringLiteral("moorix"));
    QApplication::setApplicationDisplayName(QStringLiteral("Moorix"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/moorix.svg")));
    QApplication::setDesktopFileName(QStringLiteral("moorix"));
    Translations::install(application, QLocale());
    int code = 0;
    {
        AppModel model({std::make_shared<SystemProcessRunner>(), std::make_shared<SecretServiceKeychain>()});
        MainWindow window(model);
        const TerminationSignals signalsOfTheSystem;
        QObject::connect(&signalsOfTheSystem, &TerminationSignals::terminationRequested, &window, &MainWindow::quitNow);
        const QStringList targets = QApplication::arguments().mid(1);
        window.openTargets(targets);
        auto *firstPaint = new FirstPaint(window);
        if (targets.isEmpty())
            QObject::connect(firstPaint, &FirstPaint::painted, &window, &MainWindow::offerIntroduction);
        window.show();
        code = QApplication::exec();
    }
    // Letting go of the model has queued the end of each connection; no event loop is left to begin it.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
    stopAllWork(patienceAtExit);
    return code;
}

int runCommand(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const int code = CommandLine::run(QCoreApplication::arguments());
    stopAllWork(patienceAtExit);
    return code;
}

} // namespace

int main(int argc, char *argv[])
{
    QStringList arguments;
    for (int index = 0; index < argc; ++index)
        arguments += QString::fromLocal8Bit(argv[index]);
    return CommandLine::isCommand(arguments) ? runCommand(argc, argv) : runWindow(argc, argv);
}
