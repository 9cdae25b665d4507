// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <memory>
#include <stop_token>

namespace moorix {

class HttpClient;

/// What a diagnostics server asks for.
struct DiagnosticCommand
{
    /// The server's own mark, which means nothing here.
    QString id;
    QString action;

    bool operator==(const DiagnosticCommand &) const = default;
};

/// The answer to a check-in.
struct DiagnosticsReply
{
    /// Empty when the server names none.
    QString latestVersion;
    /// In the server's order. Entries without an identifier of at most 256 characters or without an action are left
    /// out, and so is what comes after the first 32.
    QList<DiagnosticCommand> commands;

    /// Throws an Error of the domain "Moorix.Diagnostics" when `body` is no JSON object.
    static DiagnosticsReply parse(const QByteArray &body);
};

/// Talks to one diagnostics server. Blocking; for workers.
class DiagnosticsExchange final
{
public:
    DiagnosticsExchange(std::shared_ptr<HttpClient> http, QUrl endpoint, QByteArray userAgent);

    /// Throws an Error when the server cannot be asked or answers something else.
    DiagnosticsReply checkIn(const QByteArray &payload, const std::stop_token &stop) const;
    void post(const QByteArray &result, const std::stop_token &stop) const;

    /// "command-result.php" beside the endpoint.
    static QUrl resultAddress(const QUrl &endpoint);

private:
    QByteArray send(const QUrl &url, const QByteArray &json, const std::stop_token &stop) const;

    std::shared_ptr<HttpClient> m_http;
    QUrl m_endpoint;
    QByteArray m_userAgent;
};

} // namespace moorix
