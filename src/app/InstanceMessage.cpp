// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/InstanceMessage.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace moorix::instanceMessage {

using namespace Qt::StringLiterals;

namespace {

constexpr int protocolVersion = 1;

QByteArray lineOf(QJsonObject object)
{
    object.insert(u"moorix"_s, protocolVersion);
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

std::optional<QJsonObject> objectOf(const QByteArray &line)
{
    if (line.size() > longestBytes)
        return std::nullopt;
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    return object.value(u"moorix"_s).toInt() == protocolVersion ? std::optional(object) : std::nullopt;
}

} // namespace

QByteArray encode(const OpenRequest &request)
{
    return lineOf(
        {{u"targets"_s, QJsonArray::fromStringList(request.targets)}, {u"activationToken"_s, request.activationToken}});
}

std::optional<OpenRequest> decode(const QByteArray &line)
{
    const std::optional<QJsonObject> object = objectOf(line);
    if (!object || !object->value(u"targets"_s).isArray())
        return std::nullopt;
    OpenRequest request;
    for (const QJsonValue &target : object->value(u"targets"_s).toArray()) {
        if (!target.isString())
            return std::nullopt;
        request.targets += target.toString();
    }
    request.activationToken = object->value(u"activationToken"_s).toString();
    return request;
}

QByteArray answer(bool isAccepted)
{
    return lineOf({{u"accepted"_s, isAccepted}});
}

std::optional<bool> decodeAnswer(const QByteArray &line)
{
    const QJsonValue accepted = QJsonDocument::fromJson(line).object().value(u"accepted"_s);
    return accepted.isBool() ? std::optional(accepted.toBool()) : std::nullopt;
}

} // namespace moorix::instanceMessage
