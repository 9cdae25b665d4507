// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QCoreApplication;
class QLocale;

namespace moorix::Translations {

/// Loads `moorix_LOCALE.qm` for the language of `locale`: of the program itself, then, which wins, from the folder
/// `translations` of the user's data; and Qt's own texts. Texts that are not translated stay English. To be called
/// before the first text is asked for, since tables of commands are made once.
void install(QCoreApplication &application, const QLocale &locale);

} // namespace moorix::Translations
