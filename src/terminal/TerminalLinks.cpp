// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalLinks.h"

namespace moorix {

quint16 TerminalLinks::add(const QString &address)
{
    quint16 &id = m_ids[address];
    if (id == 0) {
        m_addresses.push_back(address);
        m_characters += address.size();
        id = quint16(m_addresses.size());
    }
    return id;
}

void TerminalLinks::clear()
{
    m_addresses.clear();
    m_ids.clear();
    m_characters = 0;
}

} // namespace moorix
