// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/LeftOperations.h"

#include "files/PaneModel.h"
#include "files/PaneOperations.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

LeftOperations::LeftOperations(QObject *parent)
    : QObject(parent)
{
}

LeftOperations::~LeftOperations() = default;

void LeftOperations::takeFrom(PaneModel &pane)
{
    std::unique_ptr<PaneOperations> operations = pane.releaseOperations();
    if (!operations)
        return;
    operations->handOver([this, service = pane.service()](const QString &description, const QString &folder,
                                                          const FileActions::Outcome &outcome) {
        if (!outcome.failures.isEmpty())
            emit failed(description, outcome.failures);
        else if (!outcome.isStopped)
            emit messageRaised(u"%1 is done."_s.arg(description));
        emit folderChanged(service.get(), {folder});
    });
    follow(*operations);
    emit messageRaised(u"%1 goes on in the background."_s.arg(*operations->current()));
    m_operations.push_back(std::move(operations));
}

void LeftOperations::follow(PaneOperations &operations)
{
    connect(&operations, &PaneOperations::currentChanged, this, [this, &operations] {
        if (operations.current())
            return;
        const auto ended = std::ranges::find(m_operations, &operations, &std::unique_ptr<PaneOperations>::get);
        // It has still to tell how the last one ended.
        ended->release()->deleteLater();
        m_operations.erase(ended);
    });
}

QStringList LeftOperations::current() const
{
    QStringList descriptions;
    for (const auto &operations : m_operations)
        descriptions += *operations->current();
    return descriptions;
}

} // namespace moorix
