// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

namespace moorix {

/// The lines of a configuration for `curl -K`: long option names without dashes, values quoted exactly.
class CurlConfig final
{
public:
    void flag(const char *option) { m_text += QByteArray(option) + '\n'; }
    void set(const char *option, const QByteArray &value);
    void append(const CurlConfig &more) { m_text += more.m_text; }

    const QByteArray &text() const { return m_text; }

private:
    QByteArray m_text;
};

} // namespace moorix
