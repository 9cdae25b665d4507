// SPDX-License-Identifier: GPL-3.0-or-later
// The commands that act on all transfers.
#include "ui/MainWindow.h"

#include "app/EditedFiles.h"
#include "app/PaneTabs.h"
#include "platform/DesktopNotifier.h"
#include "servers/ServerStore.h"
#include "transfers/TransferEngine.h"
#include "ui/LeftOperationNotices.h"
#include "ui/SideView.h"
#include "ui/TransferDrawer.h"
#include "ui/TransferNotices.h"
#include "ui/TransferRules.h"

#include <QApplication>
#include <QStackedWidget>

#include <algorithm>

namespace moorix {

namespace {

/// Ids first: the list changes while they are acted on.
void forEach(TransferEngine &engine, bool (*applies)(const TransferStatus &),
             void (TransferEngine::*run)(const QUuid &id))
{
    QList<QUuid> ids;
    for (const TransferStatus &transfer : engine.transfers()) {
        if (applies(transfer))
            ids += transfer.id;
    }
    for (const QUuid &id : std::as_const(ids))
        (engine.*run)(id);
}

bool canRetryWhole(const TransferStatus &transfer)
{
    return TransferRules::canRetry(transfer) && !TransferRules::canRetryFailed(transfer);
}

bool hasEnded(const TransferStatus &transfer)
{
    return !isOpen(transfer.state);
}

} // namespace

void MainWindow::addTransferCommands()
{
    using enum WindowCommand;
    TransferEngine &engine = m_model.transfers();
    m_handlers[pauseTransfers] = [&engine] { forEach(engine, TransferRules::canPause, &TransferEngine::pause); };
    m_handlers[resumeTransfers] = [&engine] { forEach(engine, TransferRules::canResume, &TransferEngine::resume); };
    m_handlers[retryTransfers] = [&engine] {
        forEach(engine, TransferRules::canRetryFailed, &TransferEngine::retryFailed);
        forEach(engine, canRetryWhole, &TransferEngine::retryAll);
    };
    m_handlers[cancelTransfers] = [&engine] { forEach(engine, TransferRules::canCancel, &TransferEngine::cancel); };
    m_handlers[clearTransfers] = [&engine] { engine.clearEnded(); };
    connect(m_drawer, &TransferDrawer::targetRequested, this, &MainWindow::showTargetOf);
    connect(m_drawer, &TransferDrawer::keyboardReleased, this, &MainWindow::leaveDrawer);
    auto *notices = new TransferNotices(engine, this);
    notices->follow(m_model.editedFiles());
    auto *notifier = new DesktopNotifier(this);
    connect(notices, &TransferNotices::raised, notifier, &DesktopNotifier::notify);
    connect(m_leftNotices, &LeftOperationNotices::raised, notifier, &DesktopNotifier::notify);
    connect(notices, &TransferNotices::raised, this, [this] { QApplication::alert(this); });
    connect(notifier, &DesktopNotifier::activated, this, [this] {
        show();
        raise();
        activateWindow();
    });
}

void MainWindow::showTargetOf(const QUuid &transfer)
{
    const TransferEngine::Ends ends = m_model.transfers().ends(transfer);
    const auto server = ends.destination ? m_model.servers().server(*ends.destination) : std::nullopt;
    if (ends.destination && !server) {
        emit m_model.messageRaised(
            tr("The server of this transfer is not saved, so its folder cannot be opened again."));
        return;
    }
    // What stands in their place asks first.
    showSides();
    if (!showsSides())
        return;
    if (server)
        activeTabs().openServer(*server, std::nullopt, ends.targetFolder);
    else
        activeTabs().openLocal(ends.targetFolder);
    activeView().focusContent();
}

void MainWindow::leaveDrawer()
{
    if (showsSides())
        activeView().focusContent();
    else
        m_middle->currentWidget()->setFocus();
}

std::optional<QString> MainWindow::refusalOfTransfers(WindowCommand command) const
{
    const auto none = [this](bool (*applies)(const TransferStatus &)) {
        return std::ranges::none_of(m_model.transfers().transfers(), applies);
    };
    using enum WindowCommand;
    if (command == pauseTransfers && none(TransferRules::canPause))
        return tr("No transfer is under way.");
    if (command == resumeTransfers && none(TransferRules::canResume))
        return tr("No transfer is paused.");
    if (command == retryTransfers && none(TransferRules::canRetryFailed) && none(canRetryWhole))
        return tr("No transfer has failed.");
    if (command == cancelTransfers && none(TransferRules::canCancel))
        return tr("No transfer is under way or waits.");
    if (command == clearTransfers && none(hasEnded))
        return tr("No transfer has ended.");
    return std::nullopt;
}

} // namespace moorix
