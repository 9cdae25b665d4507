// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Error.h"

#include <system_error>

namespace moorix {

Error::Error(QString domain, QString message)
    : m_domain(std::move(domain))
    , m_message(std::move(message))
    , m_utf8(m_message.toUtf8())
{
}

Cancelled::Cancelled()
    : Error(QStringLiteral("Moorix.Cancelled"), QStringLiteral("Cancelled."))
{
}

QString systemErrorText(int errorNumber)
{
    return QString::fromStdString(std::generic_category().message(errorNumber));
}

} // namespace moorix
