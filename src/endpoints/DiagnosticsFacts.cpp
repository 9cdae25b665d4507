// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/DiagnosticsFacts.h"

#include "base/Json.h"
#include "endpoints/DiagnosticsApp.h"

#include <QFile>
#include <QStringList>
#include <QSysInfo>

#include <unistd.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// Files of the kernel tell no size: they are read to a limit.
QByteArray kernelText(const QString &path)
{
    QFile file(path);
    constexpr qint64 limit = 4096;
    return file.open(QIODevice::ReadOnly) ? file.read(limit).trimmed() : QByteArray();
}

qint64 ownMemory()
{
    const qint64 pages = kernelText(u"/proc/self/statm"_s).split(' ').value(1).toLongLong();
    return pages * ::sysconf(_SC_PAGESIZE);
}

} // namespace

DiagnosticsFacts DiagnosticsFacts::read(const DiagnosticsApp &app)
{
    DiagnosticsFacts facts;
    facts.host = QSysInfo::machineHostName();
    facts.system = QSysInfo::prettyProductName();
    facts.model = QString::fromUtf8(kernelText(u"/sys/class/dmi/id/product_name"_s));
    facts.cores = int(::sysconf(_SC_NPROCESSORS_ONLN));
    facts.memoryBytes = qint64(::sysconf(_SC_PHYS_PAGES)) * ::sysconf(_SC_PAGESIZE);
    facts.uptimeSeconds = qint64(kernelText(u"/proc/uptime"_s).split(' ').value(0).toDouble());
    facts.ownMemoryBytes = ownMemory();
    facts.sessions = app.sessions().size();
    facts.savedServers = app.savedServers().size();
    facts.activeConnections = app.activeConnections();
    return facts;
}

QByteArray DiagnosticsFacts::buildPayload() const
{
    JsonWriter writer;
    writer.beginObject();
    writer.field(u"device_id", deviceId);
    writer.field(u"app_version", appVersion);
    writer.field(u"macos_version", system);
    writer.field(u"mac_model", model);
    writer.field(u"session_count", sessions);
    writer.field(u"saved_servers", savedServers);
    writer.field(u"physical_memory", memoryBytes);
    writer.field(u"uptime", uptimeSeconds);
    writer.field(u"active_connections", activeConnections);
    writer.field(u"diagnostics_enabled", isEnabled);
    writer.endObject();
    return writer.bytes();
}

QString DiagnosticsFacts::systemSnapshot() const
{
    constexpr qint64 megabyte = qint64(1024) * 1024;
    const QStringList lines{
        u"Device: "_s + deviceId,
        u"Host: "_s + host,
        u"macOS: "_s + system,
        u"Model: "_s + (model.isEmpty() ? u"Unknown"_s : model),
        u"CPU cores: %1"_s.arg(cores),
        u"Memory: %1 MB"_s.arg(memoryBytes / megabyte),
        u"System uptime: %1 s"_s.arg(uptimeSeconds),
        u"Sessions: %1"_s.arg(sessions),
        u"Saved servers: %1"_s.arg(savedServers),
        u"Active connections: %1"_s.arg(activeConnections),
        u"%1 MB used by Moorix"_s.arg(ownMemoryBytes / megabyte),
    };
    return lines.join(u'\n');
}

} // namespace moorix
