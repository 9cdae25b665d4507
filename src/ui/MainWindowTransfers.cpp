// SPDX-License-Identifier: GPL-3.0-or-later
// The commands that act on all transfers.
#include "ui/MainWindow.h"

#include "transfers/TransferEngine.h"
#include "ui/TransferRules.h"

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
