// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/EndpointAddress.h"

namespace moorix {

using namespace Qt::StringLiterals;

EndpointAddress EndpointAddress::parse(const QString &setting)
{
    const QString text = setting.trimmed();
    if (text.isEmpty())
        return {State::notConfigured};
    const QUrl url(text, QUrl::StrictMode);
    const bool isWeb = url.scheme() == u"https" || url.scheme() == u"http";
    if (!url.isValid() || !isWeb || url.host().isEmpty())
        return {State::invalid};
    QString host = url.host();
    if (host.endsWith(u'.'))
        host.chop(1);
    if (host == u"example" || host.endsWith(u".example"_s))
        return {State::notConfigured};
    return {State::usable, url};
}

} // namespace moorix
