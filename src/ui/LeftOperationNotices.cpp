// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/LeftOperationNotices.h"

#include "app/LeftOperations.h"
#include "ui/MessageBar.h"

#include <QApplication>

#include <algorithm>

namespace moorix {

namespace {

/// What more would push the lists out of the window.
constexpr qsizetype mostLines = 4;

} // namespace

LeftOperationNotices::LeftOperationNotices(const LeftOperations &operations, MessageBar &bar)
    : QObject(&bar)
    , m_bar(bar)
{
    connect(&operations, &LeftOperations::failed, this, &LeftOperationNotices::tell);
    connect(&bar, &MessageBar::dismissed, this, [this] { m_lines.clear(); });
}

void LeftOperationNotices::tell(const QString &description, const QStringList &failures)
{
    QString line = tr("%1: %2").arg(description, failures.constFirst());
    if (failures.size() > 1)
        line += tr(" — and %Ln more", nullptr, int(failures.size() - 1));
    m_lines += line;
    QStringList shown = m_lines.last(std::min(m_lines.size(), mostLines));
    if (m_lines.size() > mostLines)
        shown.prepend(tr("… %Ln more above", nullptr, int(m_lines.size() - mostLines)));
    m_bar.tell(shown.join(u'\n'), MessageBar::Tone::danger);
    if (!QApplication::activeWindow())
        emit raised(QStringLiteral("operation"), tr("Something failed in the background"), line);
}

} // namespace moorix
