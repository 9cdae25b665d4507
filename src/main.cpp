// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppModel.h"
#include "app/CommandLine.h"
#include "app/InstanceHandOver.h"
#include "app/InstanceLock.h"
#include "app/InstanceServer.h"
#include "base/Job.h"
#include "files/NativePath.h"
#include "platform/SecretServiceKeychain.h"
#include "platform/SystemProcessRunner.h"
#include "ui/FirstPaint.h"
#include "ui/MainWindow.h"
#include "ui/TerminationSignals.h"
#include "ui/Translations.h"

#include <QApplication>
#include <QDesktopServices>
#include <QIcon>
#include <QLocale>
#include <QUrl>

#include <cstdio>
#include <cstdlib>

using namespace moorix;

namespace {

constexpr std::chrono::seconds patienceAtExit{5};
constexpr std::chrono::seconds patienceForOpenWindow{3};

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

QString activationToken()
{
    const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? qEnvironmentVariable("DESKTOP_STARTUP_ID") : token;
}

/// There is no second window: two would write over each other's preferences and transfers.
int tellOpenWindow(HandOver outcome, const InstanceLock &lock)
{
    if (outcome == HandOver::accepted)
        return 0;
    if (outcome == HandOver::tooMuch) {
        std::fputs(
            "Moorix is running, and its window takes no more than 256 KiB of names at once. Nothing was opened.\n",
            stderr);
        return 1;
    }
    if (outcome == HandOver::refused) {
        std::fputs("Moorix is running, and its window does not take this: it may be of another version. Close it and "
                   "start again.\n",
                   stderr);
        return 1;
    }
    const InstanceLock::Holder holder = lock.holder().value_or(InstanceLock::Holder{});
    const auto process = static_cast<long long>(holder.process);
    if (!holder.deafness.isEmpty()) {
        std::fprintf(stderr,
                     "Moorix is running already (process %lld), but its window could not set up where it hears of "
                     "further starts: %s. Nothing was opened; open it in that window.\n",
                     process, qPrintable(holder.deafness));
        return 1;
    }
    std::fprintf(stderr,
                 "Moorix is running already (process %lld) but does not answer. Nothing was opened; wait for its "
                 "window, or end that process if it stays like this.\n",
                 process);
    return 1;
}

/// Names as they are on disk, whatever their encoding.
QStringList argumentsFrom(int argc, char **argv)
{
    QStringList arguments;
    for (int index = 0; index < argc; ++index)
        arguments += NativePath::text(argv[index]);
    return arguments;
}

/// Without that, a further start would only find a window that does not answer.
void explainDeafness(const InstanceServer &instance, InstanceLock &lock, AppModel &model)
{
    if (instance.problem().isEmpty())
        return;
    lock.noteDeafness(instance.problem());
    emit model.messageRaised(
        QStringLiteral("Further starts of Moorix cannot open anything in this window: %1.").arg(instance.problem()));
}

int runWindow(int &argc, char **argv, InstanceLock &lock)
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
        AppModel::Platform platform{std::make_shared<SystemProcessRunner>(), std::make_shared<SecretServiceKeychain>()};
        platform.openFile = [](const QString &path) { return QDesktopServices::openUrl(QUrl::fromLocalFile(path)); };
        AppModel model(std::move(platform));
        MainWindow window(model);
        const InstanceServer instance(lock.socketPath());
        QObject::connect(&instance, &InstanceServer::openRequested, &window, [&window](const OpenRequest &request) {
            window.openFromOutside(request.targets, request.activationToken);
        });
        const TerminationSignals signalsOfTheSystem;
        QObject::connect(&signalsOfTheSystem, &TerminationSignals::terminationRequested, &window, &MainWindow::quitNow);
        explainDeafness(instance, lock, model);
        // Qt has taken its own options out of them.
        const QStringList targets = argumentsFrom(argc, argv).mid(1);
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
    const int code = CommandLine::run(argumentsFrom(argc, argv));
    stopAllWork(patienceAtExit);
    return code;
}

} // namespace

int main(int argc, char *argv[])
{
    const QStringList arguments = argumentsFrom(argc, argv);
    if (CommandLine::isCommand(arguments))
        return runCommand(argc, argv);
    InstanceLock lock;
    if (lock.tryToTake())
        return runWindow(argc, argv, lock);
    const OpenRequest request{absoluteTargets(arguments.mid(1)), activationToken()};
    const HandOver outcome = handOver(lock.socketPath(), request, patienceForOpenWindow);
    // A window that was closing may be gone by now.
    if (outcome == HandOver::unanswered && lock.tryToTake())
        return runWindow(argc, argv, lock);
    return tellOpenWindow(outcome, lock);
}
