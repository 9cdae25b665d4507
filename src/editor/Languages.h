// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

namespace moorix {

/// How the text of a file is to be coloured.
struct Language
{
    /// For the user, and the language's identity.
    QString name;
    /// Which rules colour it: the name of one of the editor's lexers.
    QString lexer;
    /// In lower case, without the dot.
    QStringList suffixes = {};
    /// Of whole files, in lower case.
    QStringList fileNames = {};
    /// As the first line of scripts names them, without a version.
    QStringList interpreters = {};
    /// For lexers that serve several languages; separated by blanks.
    QByteArray keywords = {};
};

namespace languages {

/// By name, plain text first.
const QList<Language> &all();
/// By the file's name, else by its first line, else plain text.
const Language &of(const QString &fileName, const QByteArray &text);
/// Plain text where there is none of that name.
const Language &named(const QString &name);

} // namespace languages

} // namespace moorix
