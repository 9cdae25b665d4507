// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Error.h"
#include "platform/NetworkHttpClient.h"
#include "support/TestMain.h"
#include "support/WebServer.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The client against a server on loopback, which is served by the very event loop that the client waits in.
class HttpClientTest final : public QObject
{
    Q_OBJECT

    static QString failureOf(const QString &url, const std::optional<QByteArray> &json = {},
                             std::chrono::milliseconds silenceLimit = 10s)
    {
        HttpRequest request;
        request.url = QUrl(url);
        request.json = json;
        request.silenceLimit = silenceLimit;
        return messageOf([&] { NetworkHttpClient().send(request, neverStops); });
    }

private slots:
    void redirectsStayOnTheHostAndEncrypted_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("isPost");
        QTest::addColumn<QString>("failure");
        QTest::newRow("relative") << u"/next"_s << 302 << false << QString();
        QTest::newRow("post kept") << u"/next"_s << 307 << true << QString();
        QTest::newRow("post lost") << u"/next"_s << 302 << true
                                   << u"127.0.0.1 redirects in a way that loses what was sent to it."_s;
        QTest::newRow("other host") << u"http://localhost/next"_s << 302 << false
                                    << u"127.0.0.1 redirects to another host, localhost, which is not followed."_s;
        QTest::newRow("other port") << u"http://127.0.0.1:1/next"_s << 301 << false
                                    << u"127.0.0.1 redirects to another port, which is not followed."_s;
        QTest::newRow("file") << u"file:///etc/passwd"_s << 302 << false
                              << u"127.0.0.1 redirects to something that is no web address."_s;
        QTest::newRow("round and round") << u"/update.php"_s << 308 << false
                                         << u"127.0.0.1 redirects more than 5 times."_s;
    }
    void redirectsStayOnTheHostAndEncrypted()
    {
        QFETCH(const QString, target);
        QFETCH(const int, status);
        WebServer server([&](const WebRequest &request) {
            return request.path == "/next" ? WebServer::reply("there") : WebServer::redirect(target, status);
        });
        QFETCH(const bool, isPost);
        QTEST(failureOf(server.url(), isPost ? std::optional<QByteArray>("{}") : std::nullopt), "failure");
    }

    void certificatesAreChecked()
    {
        QString target;
        WebServer server([&](const WebRequest &) { return WebServer::redirect(target); }, WebServer::Kind::encrypted);
        WebServer plain([](const WebRequest &) { return WebServer::reply("open"); });
        target = plain.url();
        QVERIFY(failureOf(server.url()).startsWith(u"There is no secure connection to 127.0.0.1: "));
        QVERIFY(server.requests().isEmpty());
        WebServer::setTrusted(true);
        QCOMPARE(failureOf(server.url()), u"127.0.0.1 redirects to an unencrypted address, which is not followed."_s);
        WebServer::setTrusted(false);
        QCOMPARE(plain.connections(), 0);
        // The other way round is a gain.
        WebServer up([&](const WebRequest &) { return WebServer::redirect(server.url()); });
        QVERIFY(failureOf(up.url()).startsWith(u"There is no secure connection"));
    }

    void whatIsNotWholeIsAFailure_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QString>("failure");
        const QString cut = u"127.0.0.1 closed the connection before its answer was whole."_s;
        const QString tooLong = u"127.0.0.1 answers with more than the 1048576 bytes that are accepted."_s;
        QTest::newRow("cut") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf") << cut;
        QTest::newRow("cut in a chunk") << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n9\r\nhalf")
                                        << cut;
        QTest::newRow("cut in the header") << QByteArray("HTTP/1.1 200") << cut;
        const QByteArray tooMuch(1048577, 'x');
        QTest::newRow("announced too long") << WebServer::reply(tooMuch) << tooLong;
        QTest::newRow("too long without a word") << QByteArray("HTTP/1.1 200 OK\r\n\r\n") + tooMuch << tooLong;
        QTest::newRow("silence") << QByteArray() << u"127.0.0.1 did not answer in time."_s;
    }
    void whatIsNotWholeIsAFailure()
    {
        QFETCH(const QByteArray, answer);
        WebServer server([&](const WebRequest &) { return answer; });
        QTEST(failureOf(server.url(), {}, answer.isEmpty() ? 200ms : 10s), "failure");
    }
};

MOORIX_TEST(HttpClientTest)
#include "HttpClientTest.moc"
