// SPDX-License-Identifier: GPL-3.0-or-later
#include "endpoints/AppUpdateManager.h"
#include "support/WebServer.h"
#include "ui/WindowBench.h"

#include <QListWidget>
#include <QPlainTextEdit>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// The program with the preferences open at one of the last two pages.
struct PreferencesBench
{
    void show(const char *page)
    {
        window.key(Qt::Key_Comma, Qt::ControlModifier);
        auto *pages = window.find<QListWidget>("preferencePages");
        QVERIFY(pages);
        pages->setCurrentItem(pages->findItems(QString::fromUtf8(page), Qt::MatchExactly).value(0));
    }
    QString text(const char *label) const
    {
        const auto *found = window.find<QLabel>(label);
        return found ? found->text() : QString();
    }
    WindowBench window{std::initializer_list<TestTree::Entry>{}};
    AppUpdateManager &updates = window.model->updates();
};

} // namespace

/// Updates and diagnostics in the window.
class EndpointsWindowTest final : public QObject
{
    Q_OBJECT

private slots:
    void nothingLeavesAFreshInstallationBeforeAnAddressIsEntered()
    {
        PreferencesBench bench;
        bench.show("Updates");
        WindowBench::click(bench.window.find("updateCheckNow"));
        QCOMPARE(bench.text("updateStatus"), u"Update checks are not configured."_s);
        QVERIFY(!bench.updates.isChecking());
        bench.show("Diagnostics");
        QCOMPARE(bench.text("diagnosticsStatus"), u"Set a diagnostics URL to enable check-ins."_s);
        QVERIFY(!bench.window.find("diagnosticsCheckInNow")->isEnabled());
        QVERIFY(
            bench.window.find<QPlainTextEdit>("diagnosticsPayload")->toPlainText().contains(u"\"saved_servers\": 0"_s));
        WebServer server([](const WebRequest &) { return WebServer::reply("{}"); });
        auto *line = bench.window.find<QLineEdit>("diagnosticsEndpoint");
        line->setText(server.url());
        QTest::keyClick(line, Qt::Key_Return);
        QTRY_COMPARE(bench.text("diagnosticsStatus"), u"Checked in."_s);
        WindowBench::click(bench.window.find("diagnosticsCheckInNow"));
        QTRY_COMPARE(server.requests().size(), 2);
    }

    void anUpdateIsOfferedInTheWindow()
    {
        WebServer server([](const WebRequest &request) { return WebServer::update(request); });
        PreferencesBench bench;
        bench.window.model->settings().updateEndpoint.set(server.url());
        WindowBench::choose(bench.window.window->actions(), "Check for updates");
        QTRY_COMPARE(bench.text("updateHeading"), u"Moorix 999 is available"_s);
        QCOMPARE(bench.text("updateText"), bench.updates.promptText());
        WindowBench::choose(bench.window.window->actions(), "Check for updates");
        QVERIFY(bench.window.find("updateLater")->hasFocus());
        bench.window.key(Qt::Key_Escape);
        QVERIFY(!bench.window.find("updateBar"));
        WindowBench::choose(bench.window.window->actions(), "Check for updates");
        QTRY_VERIFY(bench.window.find("updateDownload"));
        QCOMPARE(bench.window.find<QPushButton>("updateDownload")->text(), u"Download Update"_s);
        bench.window.find("updateDownload")->setFocus();
        bench.window.key(Qt::Key_Return);
        QTRY_VERIFY(bench.window.find("updateClose"));
        QCOMPARE(contentOf(bench.updates.downloadedPath()), "installer");
        QCOMPARE(bench.text("updateHeading"), bench.updates.statusMessage());
        // The keyboard has stayed with the bar whose buttons have changed.
        bench.window.key(Qt::Key_Escape);
        QVERIFY(!bench.window.find("updateBar"));
    }
};

MOORIX_TEST(EndpointsWindowTest)
#include "EndpointsWindowTest.moc"
