// SPDX-License-Identifier: GPL-3.0-or-later
// The editor on long texts: from the file to coloured lines, looking for something, and replacing it everywhere.
#include "Paired.h"

#include "editor/Languages.h"
#include "editor/TextFile.h"
#include "editor/TextSearch.h"
#include "files/LocalFileService.h"
#include "support/TestTree.h"
#include "ui/Theme.h"
#include "ui/editor/EditorView.h"

#include <QApplication>

namespace moorix::bench {

using namespace Qt::StringLiterals;
using test::TestTree;

namespace {

/// C++ of five million bytes.
QByteArray longSource()
{
    QByteArray text;
    for (int i = 0; text.size() < 5'000'000; ++i) {
        const QByteArray number = QByteArray::number(i);
        text += "/// Looks up " + number + ".\nauto value" + number + " = lookUp(table, \"key " + number +
                "\", std::nullopt); // of " + number + "\n";
    }
    return text;
}

/// In a window of its own.
struct Window
{
    EditorView view;

    Window()
    {
        view.resize(1280, 760);
        view.show();
        QApplication::processEvents();
    }
    void show(const LoadedText &loaded)
    {
        view.setLanguage(languages::named(u"C++"_s), false);
        view.setContent(loaded.text);
    }
    /// What the user waits for: the lines in sight, coloured. The rest is coloured while nothing else is to be done.
    void paint() { view.viewport()->repaint(); }
};

void openLong(benchmark::State &state)
{
    const TestTree tree({{"a.cpp", longSource()}});
    LocalFileService disk;
    Window window;
    const auto work = [&] {
        window.show(textFile::load(disk, tree.path("a.cpp"), std::nullopt, {}).loaded);
        window.paint();
    };
    limited(
        state, [] { QApplication::processEvents(); }, work, 300);
}
BENCHMARK(openLong)->Name("5 MB of C++ from the file to the window")->Iterations(10)->UseManualTime();

void openLongAtTheEnd(benchmark::State &state)
{
    const TestTree tree({{"a.cpp", longSource()}});
    LocalFileService disk;
    Window window;
    const auto work = [&] {
        window.show(textFile::load(disk, tree.path("a.cpp"), std::nullopt, {}).loaded);
        window.view.goTo(1'000'000'000, 1);
        window.paint();
    };
    limited(
        state, [] { QApplication::processEvents(); }, work, 600);
}
BENCHMARK(openLongAtTheEnd)->Name("the same, coloured to its end")->Iterations(5)->UseManualTime();

void findAll(benchmark::State &state)
{
    const QByteArray text = longSource();
    const auto work = [&text] {
        benchmark::DoNotOptimize(TextSearch({u"lookup"_s, false, false, false}).hits(text, {}).size());
    };
    limited(
        state, [] {}, work, 300);
}
BENCHMARK(findAll)->Name("all hits in 5 MB")->Iterations(10)->UseManualTime();

void replaceAll(benchmark::State &state)
{
    constexpr int hits = 50'000;
    const QByteArray before = QByteArray("a line with one needle in it, and some more of it\n").repeated(hits);
    Window window;
    const auto prepare = [&] {
        window.show({before, {}, {}, 0, {}});
        window.paint();
    };
    const auto work = [&] {
        const auto replaced =
            TextSearch({u"need(le)"_s, true, false, false}).replaceAll(window.view.content(), u"thread$1"_s, {});
        if (replaced.count != hits)
            std::abort();
        window.view.replaceContent(replaced.text);
        window.paint();
    };
    limited(state, prepare, work, 500);
}
BENCHMARK(replaceAll)->Name("replace 50,000 hits of a pattern")->Iterations(10)->UseManualTime();

void undoReplaceAll(benchmark::State &state)
{
    const QByteArray before = QByteArray("a line with one needle in it, and some more of it\n").repeated(50'000);
    Window window;
    const auto prepare = [&] {
        window.show({before, {}, {}, 0, {}});
        window.view.replaceContent(QByteArray(before).replace("needle", "thread"));
        window.paint();
    };
    const auto work = [&] {
        window.view.undo();
        window.paint();
    };
    limited(state, prepare, work, 500);
}
BENCHMARK(undoReplaceAll)->Name("undo it")->Iterations(10)->UseManualTime();

} // namespace

} // namespace moorix::bench

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    moorix::Theme::apply(application, QStringLiteral("midnight"), 13);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
