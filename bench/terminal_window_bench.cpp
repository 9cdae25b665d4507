// SPDX-License-Identifier: GPL-3.0-or-later
// What a terminal in a window takes from its program, and how soon a key is seen. Needs a display (scripts/bench
// brings a virtual one).
#include "TerminalPayloads.h"

#include "terminal/PTYRunner.h"
#include "ui/terminal/TerminalWidget.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>

using namespace moorix;

namespace {

constexpr int rows = 40;
constexpr int columns = 120;
/// A peer that has not shown it by then is ended, and counted as if it had.
constexpr int mostSeconds = 120;

/// Prints a file, asks the terminal what it is, and notes how long the answer took: it comes after all that went
/// before.
constexpr auto printer = "started=$(date +%s%N)\n"
                         "stty raw -echo min 1 time 255\n"
                         "cat \"$1\"\n"
                         "printf '\\033[c'\n"
                         "dd bs=64 count=1 of=/dev/null 2>/dev/null\n"
                         "ended=$(date +%s%N)\n"
                         "stty size > \"$2.part\"\n"
                         "echo $((ended - started)) >> \"$2.part\"\n"
                         "mv \"$2.part\" \"$2\"\n";

using TerminalPayloads::Kind;

/// One of the payloads as a file, and the script that prints it.
class Scene final
{
public:
    explicit Scene(Kind kind)
    {
        write(QStringLiteral("payload"), TerminalPayloads::make(kind));
        write(QStringLiteral("printer"), printer);
    }

    QStringList command() const { return {path("printer"), path("payload"), path("result")}; }
    QString path(const char *name) const { return m_folder.filePath(QString::fromLatin1(name)); }

    /// The seconds that the script noted, once it has; `mostSeconds` when it never did.
    double seconds() const
    {
        QFile result(path("result"));
        if (!result.open(QIODevice::ReadOnly))
            return mostSeconds;
        const QByteArray size = result.readLine().trimmed();
        if (size != QByteArray::number(rows) + ' ' + QByteArray::number(columns))
            qFatal("The terminal was of another size: %s", size.constData());
        const double nanoseconds = result.readLine().trimmed().toDouble();
        result.remove();
        return nanoseconds / 1e9;
    }

private:
    void write(const QString &name, const QByteArray &bytes)
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("%s", qPrintable(file.errorString()));
    }

    QTemporaryDir m_folder;
};

double peer(const Scene &scene, const QString &program, const QStringList &arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), QFileInfo(scene.path("payload")).path());
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments + QStringList{QStringLiteral("-e"), QStringLiteral("sh")} + scene.command());
    if (!process.waitForFinished(mostSeconds * 1000)) {
        process.kill();
        process.waitForFinished();
    }
    return scene.seconds();
}

double konsole(const Scene &scene)
{
    return peer(scene, QStringLiteral("dbus-run-session"),
                {QStringLiteral("konsole"), QStringLiteral("--nofork"), QStringLiteral("-p"),
                 QStringLiteral("TerminalColumns=120"), QStringLiteral("-p"), QStringLiteral("TerminalRows=40")});
}

double xterm(const Scene &scene)
{
    return peer(scene, QStringLiteral("xterm"),
                {QStringLiteral("-u8"), QStringLiteral("-geometry"), QStringLiteral("120x40"), QStringLiteral("-fa"),
                 QStringLiteral("JetBrains Mono"), QStringLiteral("-fs"), QStringLiteral("10")});
}

/// A terminal of ours in a window, with a program in it.
class Terminal final
{
public:
    explicit Terminal(const QStringList &command)
    {
        m_widget.setTerminalFont(QFont(QStringLiteral("JetBrains Mono"), 10));
        m_widget.resize(m_widget.sizeHint());
        m_widget.show();
        if (!QTest::qWaitForWindowExposed(&m_widget))
            qFatal("The window was not shown");
        fit();
        QObject::connect(&m_widget.emulator(), &TerminalEmulator::output, &m_process,
                         [this](const QByteArray &bytes) { m_process.write(bytes); });
        m_process.onOutput = [this](QByteArrayView bytes) { m_widget.emulator().feed(bytes); };
        m_process.onExit = [this](std::optional<int>) { m_loop.quit(); };
        QStringList environment = QProcess::systemEnvironment();
        environment += QStringLiteral("TERM=xterm-256color");
        m_process.start({command.first(), command.sliced(1), environment, {}, {}}, rows, columns);
    }

    TerminalWidget &widget() { return m_widget; }
    /// The loop of the program proper: the waits of tests sleep between their looks.
    void waitForEnd()
    {
        QTimer::singleShot(mostSeconds * 1000, &m_loop, &QEventLoop::quit);
        m_loop.exec();
    }
    ~Terminal() { m_process.onExit = nullptr; }

private:
    /// Until the grid is of the size wanted.
    void fit()
    {
        const auto size = [this] { return m_widget.emulator().size(); };
        for (int attempt = 0; attempt < 400 && size() != TerminalSize{rows, columns}; ++attempt) {
            m_widget.resize(m_widget.width() + (columns - size().columns) * 4 + (columns > size().columns) -
                                (columns < size().columns),
                            m_widget.height() + (rows - size().rows) * 8 + (rows > size().rows) - (rows < size().rows));
            QTest::qWait(150);
        }
        if (size() != TerminalSize{rows, columns})
            qFatal("The terminal did not become 120 x 40");
    }

    TerminalWidget m_widget;
    PTYRunner m_process;
    QEventLoop m_loop;
};

double moorixTerminal(const Scene &scene)
{
    Terminal terminal(QStringList{QStringLiteral("/bin/sh")} + scene.command());
    terminal.waitForEnd();
    return scene.seconds();
}

/// 20 MB printed at 120 × 40, from the start of the program to the terminal's answer to a question after them. The best
/// of three runs in turn, as another program on the machine slows a whole run down; xterm takes several times as long
/// and gets one.
void output(benchmark::State &state, Kind kind)
{
    const Scene scene(kind);
    double ours = mostSeconds;
    double konsoles = mostSeconds;
    double xterms = mostSeconds;
    for (auto iteration : state) {
        for (int round = 0; round < 3; ++round) {
            ours = std::min(ours, moorixTerminal(scene));
            konsoles = std::min(konsoles, konsole(scene));
        }
        xterms = xterm(scene);
        state.SetIterationTime(ours);
    }
    const double megabytes = double(TerminalPayloads::bytes) / 1e6;
    state.counters["MB/s"] = megabytes / ours;
    state.counters["konsole_MB/s"] = megabytes / konsoles;
    state.counters["xterm_MB/s"] = megabytes / xterms;
    state.counters["ratio"] = ours / std::min(konsoles, xterms);
    state.counters["limit"] = 1;
    state.counters["ok"] = ours < std::min(konsoles, xterms) ? 1 : 0;
}

BENCHMARK_CAPTURE(output, ascii, Kind::ascii)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK_CAPTURE(output, unicode, Kind::unicode)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK_CAPTURE(output, colourful, Kind::colourful)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK_CAPTURE(output, shortLines, Kind::shortLines)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);

/// Notes when the terminal was first painted after its cursor had moved.
class PaintWatch final : public QObject
{
public:
    explicit PaintWatch(TerminalWidget &widget)
    {
        widget.viewport()->installEventFilter(this);
        connect(&widget.emulator(), &TerminalEmulator::changed, this,
                [this, &widget] { m_hasChanged = m_hasChanged || widget.emulator().cursor().position != m_cursor; });
    }
    void begin(TerminalWidget &widget)
    {
        m_cursor = widget.emulator().cursor().position;
        m_hasChanged = false;
        m_seconds = -1;
        m_clock.start();
    }
    /// From `begin` to the end of that paint; negative until then.
    double seconds() const { return m_seconds; }

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() != QEvent::Paint || !m_hasChanged || m_seconds >= 0)
            return false;
        // The paint itself comes after its filters, within the same turn.
        QTimer::singleShot(0, this, [this] {
            m_seconds = double(m_clock.nsecsElapsed()) / 1e9;
            m_loop.quit();
        });
        return false;
    }
    void wait()
    {
        QTimer late;
        late.callOnTimeout([] { qFatal("The key was never seen"); });
        late.start(2000);
        m_loop.exec();
    }

private:
    QEventLoop m_loop;
    QElapsedTimer m_clock;
    TerminalPoint m_cursor;
    bool m_hasChanged = false;
    double m_seconds = -1;
};

/// From a key's event to the end of the paint that shows its echo, which comes from the program through its terminal,
/// while nothing else happens. The display's own part is not in it.
void keyToPixel(benchmark::State &state)
{
    // The system's own echo, as of a program that reads lines.
    Terminal terminal({QStringLiteral("/bin/cat")});
    TerminalWidget &widget = terminal.widget();
    widget.activateWindow();
    widget.setFocus();
    QTest::qWait(300);
    PaintWatch watch(widget);
    std::vector<double> times;
    for (auto iteration : state) {
        QTimer::singleShot(0, &widget, [&] {
            watch.begin(widget);
            QTest::keyClick(&widget, Qt::Key_X);
        });
        watch.wait();
        times.push_back(watch.seconds());
        state.SetIterationTime(times.back());
        QTest::qWait(40);
        if (widget.emulator().cursor().position.column > columns - 3)
            QTest::keyClick(&widget, Qt::Key_Return);
        QTest::qWait(10);
    }
    std::ranges::sort(times);
    state.counters["median_ms"] = times[times.size() / 2] * 1000;
    state.counters["p95_ms"] = times[times.size() * 95 / 100] * 1000;
    state.counters["limit_ms"] = 10;
    state.counters["ok"] = times[times.size() / 2] < 0.010 ? 1 : 0;
}
BENCHMARK(keyToPixel)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(200);

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
