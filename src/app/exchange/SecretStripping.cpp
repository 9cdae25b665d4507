// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/exchange/SecretStripping.h"

#include <QRegularExpression>

namespace moorix {

using namespace Qt::StringLiterals;

QString withoutSecrets(QString text)
{
    // A password may hold an "@": what counts is the last one before the path.
    static const QRegularExpression login(u"(://[^\\s/:@]*):[^\\s/]+@"_s);
    // One that is cut off hides the rest of the text all the same.
    static const QRegularExpression key(
        u"-----BEGIN [A-Z0-9 ]*PRIVATE KEY-----.*?(-----END [A-Z0-9 ]*PRIVATE KEY-----|$)"_s,
        QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression puttyKey(u"PuTTY-User-Key-File-\\d.*$"_s,
                                             QRegularExpression::DotMatchesEverythingOption);
    text.replace(login, u"\\1:[removed]@"_s);
    text.replace(key, u"[removed]"_s);
    return text.replace(puttyKey, u"[removed]"_s);
}

} // namespace moorix
