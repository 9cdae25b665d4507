// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/FileMimeData.h"

#include "files/FileService.h"
#include "files/NativePath.h"

#include <QSysInfo>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {
constexpr auto itemsType = "application/x-moorix-items"_L1;
constexpr auto urlsType = "text/uri-list"_L1;
constexpr auto gnomeType = "x-special/gnome-copied-files"_L1;
constexpr auto kdeCutType = "application/x-kde-cutselection"_L1;

/// Some programs put the name of the machine into the URLs of its files.
bool isThisMachine(const QString &host)
{
    return host.isEmpty() || host == "localhost"_L1 || host == QSysInfo::machineHostName().toLower();
}
} // namespace

FileMimeData::FileMimeData(std::shared_ptr<FileService> service, QList<FileItem> items, bool isLocal)
    : m_service(std::move(service))
    , m_items(std::move(items))
{
    QByteArray paths;
    QList<QUrl> urls;
    for (const FileItem &item : m_items) {
        paths += item.path.toUtf8() + '\0';
        urls.append(url(item.path));
    }
    setData(itemsType, paths);
    if (isLocal)
        setUrls(urls);
}

QStringList FileMimeData::acceptedTypes()
{
    return {itemsType, urlsType};
}

void FileMimeData::noteWhetherCut(bool isCut)
{
    if (!hasUrls())
        return;
    QByteArray lines = isCut ? "cut" : "copy";
    for (const QUrl &url : urls())
        lines += '\n' + url.toEncoded();
    setData(gnomeType, lines);
    setData(kdeCutType, isCut ? "1" : "0");
}

bool FileMimeData::hasLocalPaths(const QMimeData &data)
{
    const QByteArray list = data.data(urlsType);
    return list.startsWith("file:") || list.contains("\nfile:");
}

QStringList FileMimeData::localPaths(const QMimeData &data)
{
    QStringList paths;
    for (const QUrl &url : data.urls()) {
        if (url.isLocalFile() && isThisMachine(url.host()))
            paths.append(NativePath::text(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1())));
    }
    return paths;
}

bool FileMimeData::isCut(const QMimeData &data)
{
    return data.data(kdeCutType).startsWith('1') || data.data(gnomeType).startsWith("cut\n");
}

bool FileMimeData::isOurs(const QMimeData &data)
{
    return qobject_cast<const FileMimeData *>(&data) || data.hasFormat(itemsType);
}

QUrl FileMimeData::url(const QString &path)
{
    if (NativePath::isUnicode(path))
        return QUrl::fromLocalFile(path);
    return QUrl::fromEncoded("file://" + NativePath::bytes(path).toPercentEncoding("/"));
}

} // namespace moorix
