// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/DiagnosticsExchange.h"

#include "base/Error.h"
#include "endpoints/ForeignText.h"
#include "platform/HttpClient.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void fail(const QString &sentence)
{
    throw Error(u"Moorix.Diagnostics"_s, sentence);
}

/// Databases number their rows.
QString textOf(const QJsonValue &value)
{
    if (value.isDouble() && value.toInteger(-1) >= 0)
        return QString::number(value.toInteger());
    return value.toString();
}

QString identifierIn(const QJsonObject &entry)
{
    const QString id = textOf(entry.value(u"id"_s));
    return id.isEmpty() ? textOf(entry.value(u"command_id"_s)) : id;
}

} // namespace

DiagnosticsReply DiagnosticsReply::parse(const QByteArray &body)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isObject())
        fail(u"The diagnostics response was not valid JSON."_s);
    constexpr qsizetype mostCommands = 32;
    constexpr qsizetype longestIdentifier = 256;
    constexpr qsizetype longestVersion = 64;
    const QJsonObject object = document.object();
    DiagnosticsReply reply;
    reply.latestVersion = foreignText::line(object[u"update"_s][u"latest_version"_s].toString()).left(longestVersion);
    const QJsonArray entries = object[u"commands"_s].toArray();
    for (const QJsonValue &entry : entries) {
        const DiagnosticCommand command{identifierIn(entry.toObject()), entry[u"action"_s].toString()};
        if (command.id.isEmpty() || command.id.size() > longestIdentifier || command.action.isEmpty())
            continue;
        if (reply.commands.size() < mostCommands)
            reply.commands.append(command);
    }
    return reply;
}

DiagnosticsExchange::DiagnosticsExchange(std::shared_ptr<HttpClient> http, QUrl endpoint, QByteArray userAgent)
    : m_http(std::move(http))
    , m_endpoint(std::move(endpoint))
    , m_userAgent(std::move(userAgent))
{
}

DiagnosticsReply DiagnosticsExchange::checkIn(const QByteArray &payload, const std::stop_token &stop) const
{
    return DiagnosticsReply::parse(send(m_endpoint, payload, stop));
}

void DiagnosticsExchange::post(const QByteArray &result, const std::stop_token &stop) const
{
    send(resultAddress(m_endpoint), result, stop);
}

QUrl DiagnosticsExchange::resultAddress(const QUrl &endpoint)
{
    return endpoint.resolved(QUrl(u"command-result.php"_s));
}

QByteArray DiagnosticsExchange::send(const QUrl &url, const QByteArray &json, const std::stop_token &stop) const
{
    HttpRequest request;
    request.url = url;
    request.userAgent = m_userAgent;
    request.json = json;
    const HttpReply reply = m_http->send(request, stop);
    if (!reply.isSuccess())
        fail(u"The diagnostics server returned an unexpected status."_s);
    return reply.body;
}

} // namespace moorix
