// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/WebServer.h"

#include "support/TestTree.h"

#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>

using namespace Qt::StringLiterals;

namespace moorix::test {

namespace {

/// A certificate and its key, made once for each program by the tool.
const QSslConfiguration &identity()
{
    static const QSslConfiguration made = [] {
        const TestTree tree;
        const QString arguments =
            u"req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -batch -subj "
            "/CN=localhost -addext subjectAltName=DNS:localhost,IP:127.0.0.1 -keyout %1 -out %2"_s;
        QProcess::execute(u"openssl"_s, arguments.arg(tree.path("key.pem"), tree.path("certificate.pem")).split(u' '));
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificate(QSslCertificate(tree.read("certificate.pem")));
        configuration.setPrivateKey(QSslKey(tree.read("key.pem"), QSsl::Ec));
        return configuration;
    }();
    return made;
}

std::unique_ptr<QTcpServer> serverOf(WebServer::Kind kind)
{
    if (kind == WebServer::Kind::plain)
        return std::make_unique<QTcpServer>();
    auto server = std::make_unique<QSslServer>();
    server->setSslConfiguration(identity());
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

QString WebServer::url(const QString &path) const
{
    return u"http%1://127.0.0.1:%2%3"_s.arg(m_kind == Kind::encrypted ? u"s"_s : QString())
        .arg(m_server->serverPort())
        .arg(path);
}

void WebServer::take()
{
    while (QTcpSocket *socket = m_server->nextPendingConnection()) {
        ++m_connections;
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(*socket); });
        if (socket->bytesAvailable() > 0)
            read(*socket);
    }
}

void WebServer::read(QTcpSocket &socket)
{
    const std::optional<WebRequest> request = requestIn(socket.peek(socket.bytesAvailable()));
    if (!request)
        return;
    socket.readAll();
    m_requests.append(*request);
    const QByteArray answer = m_answer(*request);
    socket.write(answer);
    if (!answer.isEmpty())
        socket.disconnectFromHost();
}

QByteArray WebServer::reply(const QByteArray &body, int status, const QByteArray &moreHeaders)
{
    return "HTTP/1.1 " + QByteArray::number(status) + " Status\r\nContent-Length: " + QByteArray::number(body.size()) +
           "\r\n" + moreHeaders + "Connection: close\r\n\r\n" + body;
}

QByteArray WebServer::update(const WebRequest &request, const QByteArray &installer, const QByteArray &moreFields)
{
    const QByteArray url = "http://" + request.headers.value("host") + "/dl/Moorix-999.dmg";
    return reply(request.path.startsWith("/dl/")
                     ? installer
                     : "{\"version\":\"999\",\"dmg_url\":\"" + url + '"' + moreFields + '}');
}

void WebServer::setTrusted(bool isTrusted)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    QList<QSslCertificate> authorities = QSslConfiguration::systemCaCertificates();
    if (isTrusted)
        authorities.append(identity().localCertificate());
    configuration.setCaCertificates(authorities);
    QSslConfiguration::setDefaultConfiguration(configuration);
}

} // namespace moorix::test
