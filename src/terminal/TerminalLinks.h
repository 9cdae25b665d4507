// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QString>

#include <vector>

namespace moorix {

/// The addresses of hyperlinks, by a number from 1. Bounded: when there are too many, all are forgotten.
class TerminalLinks final
{
public:
    /// No more fits: cells must lose their links and this be cleared before the next `add`.
    bool isFull() const { return m_addresses.size() >= 0xFFFF || m_characters > 8'000'000; }
    quint16 add(const QString &address);
    QString address(quint16 id) const { return id == 0 || id > m_addresses.size() ? QString() : m_addresses[id - 1U]; }
    void clear();

private:
    std::vector<QString> m_addresses;
    QHash<QString, quint16> m_ids;
    qsizetype m_characters = 0;
};

} // namespace moorix
