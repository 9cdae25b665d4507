// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace moorix {

class HttpClient;
struct Release;

/// Brings the installer of a release into a folder. What arrives stands in a private part file there until it is whole;
/// then it takes its name, which no other file ever loses by that. Nothing is executed.
namespace InstallerDownload {

struct Options
{
    std::shared_ptr<HttpClient> http;
    QByteArray userAgent;
    /// Made when it is not there.
    QString folder;
    /// Told, on the running thread, how much has arrived and how much there is, if the server says it.
    std::function<void(qint64 bytes, std::optional<qint64> totalBytes)> progress = {};
};

/// The path of the file. Blocking; throws an Error of the domain "Moorix.Update", and leaves nothing then. The sentence
/// may have a second line with the reason.
QString run(const Release &release, const Options &options, const std::stop_token &stop);

/// A path in `in` where nothing lies, not even a dangling link: `fileName`, or the same with "-2", "-3" … before its
/// extension.
QString uniqueDestinationURL(const QString &in, const QString &fileName);

} // namespace InstallerDownload

} // namespace moorix
