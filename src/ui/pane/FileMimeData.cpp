// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/FileMimeData.h"

#include "files/FileService.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {
constexpr auto itemsType = "application/x-moorix-items"_L1;
constexpr auto urlsType = "text/uri-list"_L1;
} // namespace

FileMimeData::FileMimeData(std::shared_ptr<FileService> service, QList<FileItem> items, bool isLocal)
    : m_service(std::move(service))
    , m_items(std::move(items))
{
    QByteArray paths;
    QList<QUrl> urls;
    for (const FileItem &item : m_items) {
        paths += item.path.toUtf8() + '\0';
        urls.append(QUrl::fromLocalFile(item.path));
    }
    setData(itemsType, paths);
    if (isLocal)
        setUrls(urls);
}

QStringList FileMimeData::acceptedTypes()
{
    return {itemsType, urlsType};
}

QStringList FileMimeData::localPaths(const QMimeData &data)
{
    QStringList paths;
    for (const QUrl &url : data.urls()) {
        if (url.isLocalFile())
            paths.append(url.toLocalFile());
    }
    return paths;
}

} // namespace moorix
