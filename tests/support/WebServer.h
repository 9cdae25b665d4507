// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>
#include <memory>

namespace moorix::test {

struct WebRequest
{
    QByteArray method;
    QByteArray path;
    /// Names in lower case.
    QHash<QByteArray, QByteArray> headers;
    QByteArray body;
};

/// A web server on loopback that says what the test wants, byte for byte. Lives on the thread of the test, whose event
/// loop answers; notes what was asked.
class WebServer final : public QObject
{
    Q_OBJECT

public:
    enum class Kind { plain, encrypted };
    /// What is sent back before the connection is closed; an empty answer leaves it open in silence.
    using Answer = std::function<QByteArray(const WebRequest &)>;

    explicit WebServer(Answer answer, Kind kind = Kind::plain);

    QString url(const QString &path = QStringLiteral("/update.php")) const;
    /// How many connections there were, answered or not.
    int connections() const { return m_connections; }
    const QList<WebRequest> &requests() const { return m_requests; }

    /// An answer as servers write it.
    static QByteArray reply(const QByteArray &body, int status = 200, const QByteArray &moreHeaders = {});
    static QByteArray redirect(const QString &to, int status = 302)
    {
        return reply({}, status, "Location: " + to.toUtf8() + "\r\n");
    }
    /// As an update server: version 999, whose installer it has at /dl/Moorix-999.dmg.
    static QByteArray update(const WebRequest &request, const QByteArray &installer = "installer",
                             const QByteArray &moreFields = {});
    /// Makes this program trust the certificate of encrypted servers, or not.
    static void setTrusted(bool isTrusted);

private:
    void take();
    void read(QTcpSocket &socket);

    Answer m_answer;
    Kind m_kind;
    QList<WebRequest> m_requests;
    int m_connections = 0;
    std::unique_ptr<QTcpServer> m_server;
};

} // namespace moorix::test
