// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/NetworkHttpClient.h"

#include "base/Error.h"

#include <QEventLoop>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSslError>
#include <QTimer>

#include <exception>
#include <memory>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

constexpr int mostRedirects = 5;

[[noreturn]] void fail(const QString &sentence)
{
    throw Error(u"Network"_s, sentence);
}

/// Addresses may hold what is nobody's business; texts name the host alone.
QString failureText(const QNetworkReply &reply, const QStringList &certificateProblems)
{
    const QString host = reply.url().host();
    switch (reply.error()) {
    case QNetworkReply::ConnectionRefusedError:
        return u"%1 refused the connection."_s.arg(host);
    case QNetworkReply::HostNotFoundError:
        return u"The host %1 was not found."_s.arg(host);
    case QNetworkReply::RemoteHostClosedError:
        return u"%1 closed the connection before its answer was whole."_s.arg(host);
    case QNetworkReply::TimeoutError:
        return u"%1 did not answer in time."_s.arg(host);
    case QNetworkReply::SslHandshakeFailedError:
        return u"There is no secure connection to %1: %2"_s.arg(
            host, certificateProblems.isEmpty() ? reply.errorString() : certificateProblems.join(u' '));
    default:
        return u"%1 could not be asked: %2"_s.arg(host, reply.errorString());
    }
}

/// The number that the address leaves out counts like one that it tells.
int portOf(const QUrl &url)
{
    return url.port(url.scheme() == u"https" ? 443 : 80);
}

bool isLoopback(const QString &host)
{
    return host == u"localhost" || host.endsWith(u".localhost"_s) || QHostAddress(host).isLoopback();
}

/// Those of the desktop or the environment. This machine itself is never asked through another one.
class SystemProxies final : public QNetworkProxyFactory
{
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override
    {
        return isLoopback(query.peerHostName()) ? QList{QNetworkProxy(QNetworkProxy::NoProxy)}
                                                : systemProxyForQuery(query);
    }
};

bool isRedirect(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

QUrl redirectTarget(const QNetworkReply &reply, int status, bool isPost)
{
    const QUrl from = reply.url();
    const QUrl to = from.resolved(QUrl::fromEncoded(reply.rawHeader("Location")));
    const bool isEncrypted = to.scheme() == u"https";
    if (!to.isValid() || to.host().isEmpty() || (!isEncrypted && to.scheme() != u"http"))
        fail(u"%1 redirects to something that is no web address."_s.arg(from.host()));
    if (!isEncrypted && from.scheme() == u"https")
        fail(u"%1 redirects to an unencrypted address, which is not followed."_s.arg(from.host()));
    if (to.host() != from.host())
        fail(u"%1 redirects to another host, %2, which is not followed."_s.arg(from.host(), to.host()));
    if (to.scheme() == from.scheme() && portOf(to) != portOf(from))
        fail(u"%1 redirects to another port, which is not followed."_s.arg(from.host()));
    if (isPost && status != 307 && status != 308)
        fail(u"%1 redirects in a way that loses what was sent to it."_s.arg(from.host()));
    return to;
}

/// One request and its answer, on the thread it is made on.
class Exchange final
{
public:
    Exchange(const HttpRequest &request, const QUrl &url, std::stop_token stop)
        : m_request(request)
        , m_stop(std::move(stop))
        , m_url(url)
    {
    }
    Q_DISABLE_COPY_MOVE(Exchange)

    /// Returns where the server redirects to, or nothing when `reply` is the answer.
    std::optional<QUrl> run()
    {
        start();
        {
            const std::stop_callback onStop(
                m_stop, [this] { QMetaObject::invokeMethod(&m_loop, &QEventLoop::quit, Qt::QueuedConnection); });
            m_loop.exec();
        }
        m_network->disconnect(&m_loop);
        const bool isWhole = m_network->isFinished();
        m_network->abort();
        if (m_stop.stop_requested())
            throw Cancelled();
        if (m_failure)
            std::rethrow_exception(m_failure);
        if (isRedirect(m_reply.status))
            return redirectTarget(*m_network, m_reply.status, m_request.json.has_value());
        if (m_reply.status == 0 || (m_reply.isSuccess() && (!isWhole || m_network->error() != QNetworkReply::NoError)))
            fail(failureText(*m_network, m_certificateProblems));
        return std::nullopt;
    }

    const HttpReply &reply() const { return m_reply; }

private:
    void start()
    {
        m_manager.setProxyFactory(new SystemProxies);
        QNetworkRequest request(m_url);
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
        request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
        request.setHeader(QNetworkRequest::UserAgentHeader, m_request.userAgent);
        // What arrives is then what the announced length counts.
        request.setRawHeader("Accept-Encoding", "identity");
        if (m_request.json) {
            request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
            m_network.reset(m_manager.post(request, *m_request.json));
        } else {
            m_network.reset(m_manager.get(request));
        }
        constexpr qint64 bufferBytes = 256 * 1024;
        m_network->setReadBufferSize(bufferBytes);
        QNetworkReply *network = m_network.get();
        QObject::connect(network, &QNetworkReply::metaDataChanged, &m_loop, [this] { guarded(&Exchange::readHeader); });
        QObject::connect(network, &QNetworkReply::readyRead, &m_loop, [this] { guarded(&Exchange::readBody); });
        QObject::connect(network, &QNetworkReply::finished, &m_loop, [this] { guarded(&Exchange::end); });
        QObject::connect(network, &QNetworkReply::uploadProgress, &m_loop, [this] { m_silence.start(); });
        QObject::connect(network, &QNetworkReply::sslErrors, &m_loop, [this](const QList<QSslError> &errors) {
            for (const QSslError &error : errors)
                m_certificateProblems.append(error.errorString() + u'.');
        });
        setLimit(m_silence, m_request.silenceLimit);
        setLimit(m_whole, m_request.timeLimit);
    }

    void setLimit(QTimer &timer, std::chrono::milliseconds limit)
    {
        timer.setSingleShot(true);
        timer.setInterval(limit);
        QObject::connect(&timer, &QTimer::timeout, &m_loop, [this] { guarded(&Exchange::expire); });
        if (limit.count() > 0)
            timer.start();
    }

    /// Nothing may be thrown through the event loop.
    void guarded(void (Exchange::*step)())
    {
        try {
            (this->*step)();
        } catch (...) {
            m_failure = std::current_exception();
            m_loop.quit();
        }
    }

    [[noreturn]] void expire() { fail(u"%1 did not answer in time."_s.arg(m_url.host())); }

    void readHeader()
    {
        const int status = m_network->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (m_reply.status != 0 || status < 200)
            return;
        constexpr int proxyWantsLogin = 407;
        if (status == proxyWantsLogin)
            fail(u"The proxy on the way to %1 wants a login."_s.arg(m_url.host()));
        m_reply.status = status;
        if (!m_reply.isSuccess())
            return m_loop.quit();
        const QVariant length = m_network->header(QNetworkRequest::ContentLengthHeader);
        if (length.isValid())
            m_length = length.toLongLong();
        checkSize(m_length.value_or(0));
        if (m_request.begin)
            m_request.begin(m_length);
    }

    void readBody()
    {
        m_silence.start();
        readHeader();
        if (!m_reply.isSuccess())
            return;
        const QByteArray piece = m_network->readAll();
        m_received += piece.size();
        checkSize(m_received);
        if (m_request.takeBody)
            m_request.takeBody(piece);
        else
            m_reply.body += piece;
    }

    void end()
    {
        if (m_network->bytesAvailable() > 0)
            readBody();
        else
            readHeader();
        const bool isCut = m_length && m_received != *m_length && m_network->error() == QNetworkReply::NoError;
        if (m_reply.isSuccess() && isCut)
            fail(u"%1 closed the connection before its answer was whole."_s.arg(m_url.host()));
        m_loop.quit();
    }

    void checkSize(qint64 bytes) const
    {
        if (bytes > m_request.sizeLimitBytes)
            fail(u"%1 answers with more than the %2 bytes that are accepted."_s.arg(m_url.host())
                     .arg(m_request.sizeLimitBytes));
    }

    const HttpRequest &m_request;
    std::stop_token m_stop;
    QUrl m_url;
    QNetworkAccessManager m_manager;
    QEventLoop m_loop;
    std::unique_ptr<QNetworkReply> m_network;
    QTimer m_silence;
    QTimer m_whole;
    std::exception_ptr m_failure;
    QStringList m_certificateProblems;
    HttpReply m_reply;
    std::optional<qint64> m_length;
    qint64 m_received = 0;
};

} // namespace

HttpReply NetworkHttpClient::send(const HttpRequest &request, const std::stop_token &stop)
{
    QUrl url = request.url;
    for (int hop = 0; hop <= mostRedirects; ++hop) {
        Exchange exchange(request, url, stop);
        const std::optional<QUrl> next = exchange.run();
        if (!next)
            return exchange.reply();
        url = *next;
    }
    fail(u"%1 redirects more than %2 times."_s.arg(url.host()).arg(mostRedirects));
}

} // namespace moorix
