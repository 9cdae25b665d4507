// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/FileItem.h"

#include <QHash>
#include <QHashFunctions>
#include <QStringList>

namespace moorix {

namespace {

struct SymbolRow
{
    const char *symbol;
    /// Lower-case extensions, separated by blanks.
    const char *extensions;
};

constexpr SymbolRow symbolRows[] = {
    {"image-x-generic", "png jpg jpeg gif bmp tif tiff webp avif heic heif svg ico xcf psd raw cr2 nef dng"},
    {"video-x-generic", "mp4 m4v mov mkv webm avi wmv flv mpg mpeg ogv 3gp"},
    {"audio-x-generic", "mp3 m4a aac flac wav ogg oga opus wma aiff mid midi"},
    {"text-plain", "txt text log md markdown rst csv tsv nfo"},
    {"x-office-document", "rtf doc docx odt pages tex epub"},
    {"application-pdf", "pdf"},
    {"x-office-spreadsheet", "xls xlsx ods numbers"},
    {"x-office-presentation", "ppt pptx odp"},
    {"package-x-generic", "zip tar gz tgz bz2 tbz xz txz zst 7z rar lz lzma cab iso dmg deb rpm jar war enc"},
    {"text-html", "html htm xhtml"},
    {"text-x-script",
     "c cc cpp cxx h hh hpp m mm swift rs go java kt scala cs js mjs ts jsx tsx py rb pl php lua sh bash zsh fish sql "
     "css scss less xml json yaml yml toml ini conf cfg plist cmake mk gradle patch diff"},
    {"application-x-executable", "app exe msi appimage run bin com desktop"},
    {"font-x-generic", "ttf otf woff woff2"},
    {"application-certificate", "pem crt cer key p12 pub"},
};

QHash<QString, QString> symbolTable()
{
    QHash<QString, QString> table;
    for (const SymbolRow &row : symbolRows) {
        const QStringList extensions = QString::fromLatin1(row.extensions).split(u' ');
        for (const QString &extension : extensions)
            table.insert(extension, QString::fromLatin1(row.symbol));
    }
    return table;
}

} // namespace

QString FileItem::symbol() const
{
    static const QHash<QString, QString> table = symbolTable();
    if (isSymlink)
        return isShownAsFolder() ? QStringLiteral("folder") : QStringLiteral("inode-symlink");
    if (isDirectory)
        return QStringLiteral("folder");
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot <= 0)
        return QStringLiteral("text-x-generic");
    return table.value(name.sliced(dot + 1).toLower(), QStringLiteral("text-x-generic"));
}

size_t qHash(const FileItem &item, size_t seed) noexcept
{
    const qint64 date = item.modified ? item.modified->toMSecsSinceEpoch() : 0;
    return qHashMulti(seed, item.name, item.path, item.isDirectory, item.isSymlink, item.size, date,
                      item.permissions.value_or(QString()), item.ownerName.value_or(QString()), item.leadsToFolder);
}

} // namespace moorix
