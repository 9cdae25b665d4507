// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Error.h"
#include "platform/NetworkHttpClient.h"
#include "support/TestMain.h"
#include "support/WebServer.h"

#include <QScopeGuard>

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
    void answersThatAreNotTaken_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("isPost");
        QTest::addColumn<QString>("failure");
        const auto redirect = [](const char *name, const QString &to, int status, bool isPost, const QString &failure) {
            QTest::newRow(name) << WebServer::redirect(to, status) << isPost << failure;
        };
        redirect("relative", u"/next"_s, 302, false, {});
        redirect("post kept", u"/next"_s, 307, true, {});
        redirect("post lost", u"/next"_s, 302, true, u"127.0.0.1 redirects in a way that loses what was sent to it."_s);
        redirect("other host", u"http://localhost/next"_s, 302, false,
                 u"127.0.0.1 redirects to another host, localhost, which is not followed."_s);
        redirect("other port", u"http://127.0.0.1:1/next"_s, 301, false,
                 u"127.0.0.1 redirects to another port, which is not followed."_s);
        redirect("file", u"file:///etc/passwd"_s, 302, false,
                 u"127.0.0.1 redirects to something that is no web address."_s);
        redirect("round and round", u"/update.php"_s, 308, false, u"127.0.0.1 redirects more than 5 times."_s);
        const QByteArray tooMuch(1048577, 'x');
        for (const QByteArray &cut : {WebServer::reply("whole").chopped(1), QByteArray("HTTP/1.1 200")})
            QTest::newRow(cut) << cut << false << u"127.0.0.1 closed the connection before its answer was whole."_s;
        for (const QByteArray &head :
             {WebServer::reply(tooMuch).chopped(1048577), QByteArray("HTTP/1.1 200 OK\r\n\r\n")})
            QTest::newRow(head) << head + tooMuch << false
                                << u"127.0.0.1 answers with more than the 1048576 bytes that are accepted."_s;
        QTest::newRow("silence") << QByteArray() << false << u"127.0.0.1 did not answer in time."_s;
    }
    void answersThatAreNotTaken()
    {
        QFETCH(const QByteArray, answer);
        QFETCH(const bool, isPost);
        WebServer server(
            [&](const WebRequest &request) { return request.path == "/next" ? WebServer::reply("there") : answer; });
        QTEST(failureOf(server.url(), isPost ? std::optional<QByteArray>("{}") : std::nullopt,
                        answer.isEmpty() ? 200ms : 10s),
              "failure");
    }

    void proxiesOfTheEnvironmentAreUsedButNotForThisMachine()
    {
        WebServer server([](const WebRequest &) { return WebServer::reply("here"); });
        int status = 200;
        WebServer proxy([&](const WebRequest &) { return WebServer::reply("there", status); });
        qputenv("http_proxy", proxy.url({}).toUtf8());
        const auto unset = qScopeGuard([] { qunsetenv("http_proxy"); });
        QCOMPARE(failureOf(server.url()), QString());
        QCOMPARE(failureOf(server.url().replace(u"127.0.0.1"_s, u"localhost"_s)), QString());
        QCOMPARE(proxy.connections(), 0);
        const QString far = u"http://updates.invalid/check?in"_s;
        QCOMPARE(failureOf(far, QByteArray("{}")), QString());
        QCOMPARE(proxy.requests().last().path, far.toUtf8());
        QCOMPARE(proxy.requests().last().body, "{}");
        status = 407;
        QCOMPARE(failureOf(far), u"The proxy on the way to updates.invalid wants a login."_s);
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
};

MOORIX_TEST(HttpClientTest)
#include "HttpClientTest.moc"
