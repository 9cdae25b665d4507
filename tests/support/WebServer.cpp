// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/WebServer.h"

#include "support/TestTree.h"

#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTcpSocket>

using namespace Qt::StringLiterals;

namespace moorix::test {

namespace {

struct Identity
{
    QSslCertificate certificate;
    QSslKey key;
};

/// Made once for each program, by the tool.
const Identity &identity()
{
    static const Identity made = [] {
        const TestTree tree;
        QProcess::execute(u"openssl"_s,
                          {u"req"_s, u"-x509"_s, u"-newkey"_s, u"ec"_s, u"-pkeyopt"_s, u"ec_paramgen_curve:P-256"_s,
                           u"-nodes"_s, u"-days"_s, u"2"_s, u"-subj"_s, u"/CN=localhost"_s, u"-addext"_s,
                           u"subjectAltName=DNS:localhost,IP:127.0.0.1"_s, u"-keyout"_s, tree.path("key.pem"),
                           u"-out"_s, tree.path("certificate.pem"), u"-batch"_s});
        return Identity{QSslCertificate(tree.read("certificate.pem")), QSslKey(tree.read("key.pem"), QSsl::Ec)};
    }();
    return made;
}

std::unique_ptr<QTcpServer> serverOf(WebServer::Kind kind)
{
    if (kind == WebServer::Kind::plain)
        return std::make_unique<QTcpServer>();
    auto server = std::make_unique<QSslServer>();
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(identity().certificate);
    configuration.setPrivateKey(identity().key);
    server->setSslConfiguration(configuration);
    return server;
}

std::optional<WebRequest> requestIn(const QByteArray &bytes)
{
    const qsizetype end = bytes.indexOf("\r\n\r\n");
    if (end < 0)
        return std::nullopt;
    QList<QByteArray> lines = bytes.left(end).split('\n');
    const QList<QByteArray> first = lines.takeFirst().trimmed().split(' ');
    WebRequest request{first.value(0), first.value(1), {}, bytes.mid(end + 4)};
    for (const QByteArray &line : std::as_const(lines)) {
        const qsizetype colon = line.indexOf(':');
        request.headers.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
    }
    return request.body.size() < request.headers.value("content-length").toLongLong() ? std::nullopt
                                                                                      : std::optional(request);
}

} // namespace

WebServer::WebServer(Answer answer, Kind kind)
    : m_answer(std::move(answer))
    , m_kind(kind)
    , m_server(serverOf(kind))
{
    connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, this, &WebServer::take);
    if (!m_server->listen(QHostAddress::LocalHost))
        qFatal("No web server: %s", qPrintable(m_server->errorString()));
}

WebServer::~WebServer() = default;

quint16 WebServer::port() const
{
    return m_server->serverPort();
}

QString WebServer::url(const QString &path) const
{
    const QString scheme = m_kind == Kind::encrypted ? u"https"_s : u"http"_s;
    return u"%1://127.0.0.1:%2%3"_s.arg(scheme).arg(port()).arg(path);
}

void WebServer::take()
{
    while (QTcpSocket *socket = m_server->nextPendingConnection()) {
        ++m_connections;
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(*socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] { m_received.remove(socket); });
        if (socket->bytesAvailable() > 0)
            read(*socket);
    }
}

void WebServer::read(QTcpSocket &socket)
{
    QByteArray &received = m_received[&socket];
    received += socket.readAll();
    const std::optional<WebRequest> request = requestIn(received);
    if (!request)
        return;
    m_requests.append(*request);
    const QByteArray answer = m_answer(*request);
    if (answer.isEmpty())
        return;
    socket.write(answer);
    socket.disconnectFromHost();
}

QByteArray WebServer::reply(const QByteArray &body, int status, const QByteArray &moreHeaders)
{
    return "HTTP/1.1 " + QByteArray::number(status) + " Status\r\nContent-Length: " + QByteArray::number(body.size()) +
           "\r\n" + moreHeaders + "Connection: close\r\n\r\n" + body;
}

QByteArray WebServer::redirect(const QString &to, int status)
{
    return reply({}, status, "Location: " + to.toUtf8() + "\r\n");
}

void WebServer::setTrusted(bool isTrusted)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    QList<QSslCertificate> authorities = QSslConfiguration::systemCaCertificates();
    if (isTrusted)
        authorities.append(identity().certificate);
    configuration.setCaCertificates(authorities);
    QSslConfiguration::setDefaultConfiguration(configuration);
}

} // namespace moorix::test
