// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/FileNames.h"

#include "files/Format.h"

#include <algorithm>

namespace moorix::FileNames {

namespace {

QString copySuffix(int number)
{
    return number == 1 ? QStringLiteral(" copy") : QStringLiteral(" copy %1").arg(number);
}

} // namespace

std::optional<QString> problem(const QString &name)
{
    if (name.isEmpty())
        return QStringLiteral("A name cannot be empty.");
    if (name == u'.' || name == QStringLiteral(".."))
        return QStringLiteral("“%1” cannot be a name: it stands for a folder already.").arg(name);
    if (name.contains(u'/'))
        return QStringLiteral("“%1” cannot be a name: it contains a slash.").arg(Format::display(name));
    if (std::any_of(name.begin(), name.end(), [](QChar unit) { return unit.category() == QChar::Other_Control; })) {
        return QStringLiteral("“%1” cannot be a name: it contains control characters.").arg(Format::display(name));
    }
    return std::nullopt;
}

qsizetype extensionStart(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot <= 0 || dot == name.size() - 1)
        return name.size();
    const QString tar = QStringLiteral(".tar");
    const bool isPackedTar = dot > tar.size() && name.first(dot).endsWith(tar, Qt::CaseInsensitive);
    return isPackedTar ? dot - tar.size() : dot;
}

QString folded(const QString &name)
{
    return name.normalized(QString::NormalizationForm_C).toCaseFolded();
}

QString copyOfFile(const QString &name, int number)
{
    const qsizetype split = extensionStart(name);
    return name.first(split) + copySuffix(number) + name.sliced(split);
}

QString copyOfFolder(const QString &name, int number)
{
    return name + copySuffix(number);
}

} // namespace moorix::FileNames
