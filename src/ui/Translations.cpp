// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Translations.h"

#include "platform/AppPaths.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include <memory>

namespace moorix::Translations {

void install(QCoreApplication &application, const QLocale &locale)
{
    // What the texts are written in.
    if (locale.language() == QLocale::English || locale.language() == QLocale::C)
        return;
    const auto add = [&](const QString &name, const QString &folder) {
        auto translator = std::make_unique<QTranslator>();
        if (!translator->load(locale, name, QStringLiteral("_"), folder))
            return;
        translator->setParent(&application);
        QCoreApplication::installTranslator(translator.release());
    };
    add(QStringLiteral("qtbase"), QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    add(QStringLiteral("moorix"), QStringLiteral(":/translations"));
    add(QStringLiteral("moorix"), AppPaths::applicationSupport() + QStringLiteral("/translations"));
}

} // namespace moorix::Translations
