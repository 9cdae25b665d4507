// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TransferNotices.h"

#include "app/EditedFiles.h"
#include "files/Format.h"
#include "transfers/TransferEngine.h"
#include "ui/TransferText.h"

#include <QApplication>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace moorix {

namespace {

/// Nobody turns to something else for less.
constexpr auto longTime = 10s;

bool isLookedAt()
{
    return QApplication::activeWindow() != nullptr;
}

/// Why an edited file was not uploaded, unless the user knows.
QString reasonOf(const EditedFile &file)
{
    const QString server = Format::display(file.serverName);
    switch (file.state) {
    case EditedFile::State::changedThere:
        return TransferNotices::tr("It was changed on %1 meanwhile.").arg(server);
    case EditedFile::State::goneThere:
        return TransferNotices::tr("It is no longer on %1.").arg(server);
    case EditedFile::State::failed:
        return file.problem;
    default:
        return {};
    }
}

} // namespace

TransferNotices::TransferNotices(TransferEngine &transfers, QObject *parent)
    : QObject(parent)
    , m_transfers(transfers)
{
    connect(&transfers, &TransferEngine::conflictChanged, this, &TransferNotices::followQuestion);
    connect(&transfers, &TransferEngine::listChanged, this, &TransferNotices::followList);
    connect(&transfers, &TransferEngine::transferChanged, this, &TransferNotices::followTransfer);
    followList();
}

void TransferNotices::follow(const EditedFiles &files)
{
    connect(&files, &EditedFiles::filesChanged, this, [this, &files] {
        QSet<QUuid> unsent;
        for (const EditedFile &file : files.files()) {
            const QString reason = reasonOf(file);
            if (reason.isEmpty())
                continue;
            unsent.insert(file.id);
            if (!m_unsent.contains(file.id) && !isLookedAt())
                emit raised(u"edited"_s, tr("“%1” was not uploaded").arg(Format::display(file.name)), reason);
        }
        m_unsent = unsent;
    });
}

void TransferNotices::followQuestion()
{
    const std::optional<TransferConflict> &conflict = m_transfers.conflict();
    if (!conflict || isLookedAt())
        return;
    emit raised(u"question"_s, tr("A transfer waits for an answer"), TransferText::question(*conflict, m_transfers));
}

void TransferNotices::followList()
{
    for (const TransferStatus &transfer : m_transfers.transfers()) {
        if (isOpen(transfer.state))
            m_open.insert(transfer.id);
    }
}

void TransferNotices::followTransfer(const QUuid &id)
{
    const auto transfer = std::ranges::find(m_transfers.transfers(), id, &TransferStatus::id);
    if (transfer == m_transfers.transfers().end())
        return;
    if (isOpen(transfer->state)) {
        m_open.insert(id);
        return;
    }
    if (!m_open.remove(id) || isLookedAt())
        return;
    // One topic for all: many that fail one after the other are not to cover the screen.
    if (transfer->state == TransferStatus::State::failed)
        emit raised(u"end"_s, tr("A transfer failed"),
                    u"%1 — %2"_s.arg(TransferText::title(*transfer, m_transfers), transfer->failures.value(0)));
    else if (transfer->state == TransferStatus::State::finished && transfer->timeTaken >= longTime)
        emit raised(u"end"_s, tr("A transfer is finished"),
                    u"%1 — %2"_s.arg(TransferText::title(*transfer, m_transfers), TransferText::outcome(*transfer)));
}

} // namespace moorix
