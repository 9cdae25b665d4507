// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/CurlConfig.h"

namespace moorix {

void CurlConfig::set(const char *option, const QByteArray &value)
{
    m_text += QByteArray(option) + " = \"";
    for (const char byte : value) {
        switch (byte) {
        case '\\':
        case '"':
            m_text += '\\';
            m_text += byte;
            break;
        case '\n':
            m_text += "\\n";
            break;
        case '\r':
            m_text += "\\r";
            break;
        case '\t':
            m_text += "\\t";
            break;
        case '\v':
            m_text += "\\v";
            break;
        default:
            m_text += byte;
        }
    }
    m_text += "\"\n";
}

} // namespace moorix
