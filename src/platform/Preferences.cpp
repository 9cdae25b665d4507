// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Preferences.h"

#include "base/Error.h"
#include "base/JsonFile.h"

#include <QDateTime>
#include <QJsonDocument>

#include <chrono>

namespace moorix {

Preferences::Preferences(QString path, QObject *parent)
    : QObject(parent)
    , m_path(std::move(path))
{
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(std::chrono::milliseconds(250));
    connect(&m_saveTimer, &QTimer::timeout, this, &Preferences::flush);
    load();
}

Preferences::~Preferences()
{
    if (m_isDirty)
        flush();
}

void Preferences::load()
{
    std::optional<QByteArray> bytes;
    try {
        bytes = jsonFile::read(m_path);
        if (!bytes)
            return;
    } catch (const Error &) {
        // An unreadable file is treated like a damaged one: set aside below, never written over.
    }
    const QJsonDocument document = QJsonDocument::fromJson(bytes.value_or(QByteArray()));
    if (document.isObject()) {
        m_values = document.object();
        return;
    }
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    jsonFile::setAside(m_path, QStringLiteral("%1.corrupt-%2").arg(m_path, stamp));
}

QJsonValue Preferences::value(const QString &key) const
{
    return m_values.value(key);
}

void Preferences::setValue(const QString &key, const QJsonValue &value)
{
    if (m_values.value(key) == value)
        return;
    m_values.insert(key, value);
    m_isDirty = true;
    m_saveTimer.start();
}

void Preferences::flush()
{
    m_saveTimer.stop();
    try {
        jsonFile::write(m_path, QJsonDocument(m_values).toJson());
        m_isDirty = false;
    } catch (const Error &error) {
        emit saveFailed(error.message());
    }
}

} // namespace moorix

#include "moc_Preferences.cpp"
