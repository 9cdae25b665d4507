// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QUrl>

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>

namespace moorix {

/// One request to a web server. Nothing secret may be in `url`.
struct HttpRequest
{
    /// http or https.
    QUrl url;
    QByteArray userAgent;
    /// Sent by POST as JSON; without it the request is a GET.
    std::optional<QByteArray> json;
    /// An answer that is longer, or says so, fails the request.
    qint64 sizeLimitBytes = qint64(1024) * 1024;
    /// How long the server may say nothing.
    std::chrono::milliseconds silenceLimit = std::chrono::seconds(30);
    /// How long all of it may take; zero is any time.
    std::chrono::milliseconds timeLimit = std::chrono::seconds(60);
    /// Told, on the running thread, that a successful answer begins, and its length if the server says it. May throw,
    /// which ends the request.
    std::function<void(std::optional<qint64> lengthBytes)> begin;
    /// Takes the body of a successful answer as it comes, on the running thread; the reply then holds none of it. May
    /// throw, which ends the request.
    std::function<void(QByteArrayView)> takeBody;
};

struct HttpReply
{
    int status = 0;
    /// Of a successful answer; of others nothing is read.
    QByteArray body;

    bool isSuccess() const { return status >= 200 && status < 300; }
};

/// Asks web servers. Blocking; for worker threads; safe to call from several at once.
class HttpClient
{
public:
    virtual ~HttpClient() = default;

    /// Returns whatever the server answers, whole. Follows redirects on the same host, but none from https to http, and
    /// for a POST only those that keep it. Throws an Error of the domain "Network" that names the host when there is no
    /// whole answer within the limits, and Cancelled after a stop. Where the server says no length, an answer that was
    /// cut may count as whole.
    virtual HttpReply send(const HttpRequest &request, const std::stop_token &stop) = 0;
};

} // namespace moorix
