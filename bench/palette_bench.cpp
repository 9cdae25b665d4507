// SPDX-License-Identifier: GPL-3.0-or-later
// The command palette with a library of ten thousand servers. Needs a display (scripts/bench brings a virtual one).
#include "app/AppModel.h"
#include "base/Job.h"
#include "base/Json.h"
#include "servers/ServerConnection.h"
#include "support/FakeProcessRunner.h"
#include "support/MemoryKeychain.h"
#include "ui/MainWindow.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <benchmark/benchmark.h>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

constexpr int serverCount = 10000;

void writeLibrary(const QString &dataHome)
{
    QDir().mkpath(dataHome + u"/Moorix"_s);
    QFile file(dataHome + u"/Moorix/servers.json"_s);
    file.open(QIODevice::WriteOnly);
    file.write("{\"folders\": [], \"servers\": [");
    for (int i = 0; i < serverCount; ++i) {
        ServerConnection server;
        server.name = u"Rechenknoten %1"_s.arg(i);
        server.host = u"node-%1.cluster.example.org"_s.arg(i);
        server.username = u"deploy"_s;
        server.sortIndex = i;
        JsonWriter writer;
        server.writeJson(writer);
        file.write((i > 0 ? "," : "") + writer.bytes());
    }
    file.write("]}");
}

double millisecondsOf(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
}

/// From the key press to the painted palette, and the longest of the key presses in it.
void paletteOfTenThousandServers(benchmark::State &state)
{
    AppModel model({std::make_shared<test::FakeProcessRunner>(
                        [](const ProcessRequest &) { return test::FakeProcessRunner::success(); }),
                    std::make_shared<test::MemoryKeychain>()});
    MainWindow window(model);
    window.show();
    // Where no window manager does it, the keys would go nowhere.
    window.activateWindow();
    if (!QTest::qWaitForWindowActive(&window))
        qFatal("No window.");
    QTest::qWait(300);
    double longestOpening = 0;
    double longestKey = 0;
    for (auto iteration : state) {
        QElapsedTimer timer;
        timer.start();
        QTest::keyClick(&window, Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
        QApplication::processEvents();
        longestOpening = std::max(longestOpening, millisecondsOf(timer));
        auto *query = window.findChild<QLineEdit *>(u"paletteQuery"_s);
        if (!query || !query->isVisible())
            qFatal("The palette did not open.");
        for (const QChar letter : u"knoten 777 deploy"_s) {
            timer.start();
            QTest::keyClick(query, letter.toLatin1());
            QApplication::processEvents();
            longestKey = std::max(longestKey, millisecondsOf(timer));
        }
        QTest::keyClick(query, Qt::Key_Escape);
    }
    state.counters["longest_opening_ms"] = longestOpening;
    state.counters["longest_key_ms"] = longestKey;
    state.counters["limit_opening_ms"] = 100;
    state.counters["limit_key_ms"] = 16;
}
BENCHMARK(paletteOfTenThousandServers)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

int main(int argc, char **argv)
{
    const QTemporaryDir home;
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.filePath(u"data"_s)));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(u"config"_s)));
    writeLibrary(home.filePath(u"data"_s));
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return stopAllWork(std::chrono::seconds(10)) ? 0 : 1;
}
