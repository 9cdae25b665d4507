// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/exchange/DocumentCopies.h"

#include "base/Error.h"
#include "base/JsonFile.h"
#include "platform/AppPaths.h"

#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace moorix::documentCopies {

using namespace Qt::StringLiterals;

namespace {

QString copyPath(const QString &document, const QDateTime &now)
{
    const QFileInfo file(document);
    return u"%1/%2.before-import-%3.json"_s.arg(file.absolutePath(), file.completeBaseName(),
                                                now.toUTC().toString(u"yyyyMMdd'T'HHmmsszzz'Z'"_s));
}

} // namespace

QList<Copy> make(const QDateTime &now)
{
    const QString support = AppPaths::applicationSupport();
    QList<Copy> made;
    try {
        for (const QString &document :
             {support + u"/servers.json"_s, support + u"/backups.json"_s, support + u"/sync/pairs.json"_s,
              AppPaths::configuration() + u"/preferences.json"_s}) {
            if (const auto bytes = jsonFile::read(document)) {
                const Copy copy{document, copyPath(document, now)};
                jsonFile::write(copy.copy, *bytes);
                made += copy;
            }
        }
    } catch (const Error &) {
        remove(made);
        throw;
    }
    return made;
}

bool putBack(const Copy &copy)
{
    return std::rename(QFile::encodeName(copy.copy).constData(), QFile::encodeName(copy.document).constData()) == 0;
}

void remove(const QList<Copy> &copies)
{
    for (const Copy &copy : copies)
        QFile::remove(copy.copy);
}

} // namespace moorix::documentCopies
