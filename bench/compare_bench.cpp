// SPDX-License-Identifier: GPL-3.0-or-later
// Line diffs against the system's `diff` and `git diff`, both from the files to what differs, and the window on a long
// one.
#include "Paired.h"

#include "compare/DiffLoader.h"
#include "files/LocalFileService.h"
#include "support/TestTree.h"
#include "ui/compare/DiffView.h"

#include <QApplication>
#include <QProcess>
#include <QRandomGenerator>
#include <QScrollBar>

namespace moorix::bench {

using namespace Qt::StringLiterals;
using test::TestTree;

namespace {

void against(benchmark::State &state, const QByteArray &a, const QByteArray &b, double limit,
             const QStringList &peerCommand = {u"diff"_s})
{
    const TestTree tree;
    tree.write("a", a);
    tree.write("b", b);
    const auto disk = std::make_shared<LocalFileService>();
    DiffPair pair{QUuid::createUuid(), {}, {}, disk, disk};
    pair.a.path = tree.path("a");
    pair.b.path = tree.path("b");
    DiffEngine::Stats stats;
    const auto ours = [&] { stats = DiffEngine::stats(DiffLoader::load(pair, {}, {}).runs); };
    const auto peer = [&] {
        QProcess diff;
        diff.setStandardOutputFile(tree.path("out"));
        diff.start(peerCommand.first(), peerCommand.mid(1) + QStringList{pair.a.path, pair.b.path});
        diff.waitForFinished(-1);
    };
    paired(state, ours, peer, limit);
    state.counters["added"] = double(stats.added);
    state.counters["removed"] = double(stats.removed);
}

/// The largest middle that is aligned: half of its lines are other ones, all over it.
std::pair<QByteArray, QByteArray> largestMiddle()
{
    QRandomGenerator random(1);
    QByteArray a = "begin\n";
    QByteArray b = a;
    for (int i = 0; i < 1999; ++i) {
        const QByteArray line = QByteArray::number(random.bounded(1000)) + " a line of some length\n";
        a += line;
        b += random.bounded(2) == 0 && i > 0 && i < 1998 ? line : QByteArray::number(random.generate()) + "\n";
    }
    return {a + "end", b + "end"};
}

void largestTable(benchmark::State &state)
{
    const auto [a, b] = largestMiddle();
    against(state, a, b, 1.0, {u"diff"_s, u"--minimal"_s});
}
BENCHMARK(largestTable)->Name("1,999 by 1,999 changed lines / diff --minimal")->Iterations(15)->UseManualTime();

void largestTableRows(benchmark::State &state)
{
    const auto [a, b] = largestMiddle();
    const QString left = QString::fromLatin1(a);
    const QString right = QString::fromLatin1(b);
    limited(
        state, [] {}, [&] { benchmark::DoNotOptimize(DiffEngine::diff(left, right).size()); }, 20);
}
BENCHMARK(largestTableRows)->Name("rows of 1,999 by 1,999 changed lines")->Iterations(30)->UseManualTime();

QByteArray mostText(int seed)
{
    QRandomGenerator random(seed);
    QByteArray text;
    while (text.size() < DiffLoader::maxBytes - 64)
        text += QByteArray::number(random.generate64(), 16) + QByteArray(1 + random.bounded(40), 'x') + '\n';
    return text;
}

void mostBytesFewChanges(benchmark::State &state)
{
    const QByteArray a = mostText(2);
    QByteArray b = a;
    for (qsizetype at = b.size() / 2; at < b.size() / 2 + 20'000; at += 997)
        b[b.indexOf('x', at)] = 'y';
    against(state, a, b, 3.0);
}
BENCHMARK(mostBytesFewChanges)->Name("5 MiB, 21 changed lines / diff")->Iterations(10)->UseManualTime();

/// All over the file, and so beyond the table.
void mostBytesManyChanges(benchmark::State &state)
{
    const QByteArray a = mostText(5);
    QByteArray b = a;
    for (qsizetype edit = 0; edit < 1000; ++edit)
        b[b.indexOf('x', edit * (b.size() / 1001))] = 'y';
    against(state, a, b, 2.0, {u"git"_s, u"diff"_s, u"--no-index"_s});
}
BENCHMARK(mostBytesManyChanges)->Name("5 MiB, 1,000 edits / git diff --no-index")->Iterations(15)->UseManualTime();

/// Beyond the table: nothing is aligned.
void mostBytesAllOther(benchmark::State &state)
{
    against(state, mostText(3), mostText(4), 1.0);
}
BENCHMARK(mostBytesAllOther)->Name("5 MiB, no common line / diff")->Iterations(5)->UseManualTime();

void mostLinesEqual(benchmark::State &state)
{
    const QByteArray lines(DiffLoader::maxBytes, '\n');
    const auto work = [&] {
        benchmark::DoNotOptimize(
            DiffEngine::diff(QString::fromLatin1(lines), QString::fromLatin1(lines) + u'x').size());
    };
    limited(
        state, [] {}, work, 5000);
}
BENCHMARK(mostLinesEqual)->Name("rows of 5,242,881 lines")->Iterations(3)->UseManualTime();

/// 100,000 lines of which each third is another one, and the window on them.
struct LargeView
{
    DiffView view;
    std::shared_ptr<const DiffContent> content;

    LargeView()
    {
        QString a;
        QString b;
        for (int i = 0; i < 100'000; ++i) {
            const QString line = u"    const auto value%1 = lookUp(table, key%1, std::nullopt);\n"_s.arg(i);
            a += line;
            b += i % 3 == 0 ? QString(line).replace(u"lookUp"_s, u"find"_s) : line;
        }
        auto made = std::make_shared<DiffContent>();
        made->left.text = DiffText(a);
        made->right.text = DiffText(b);
        made->runs = DiffEngine::runs(made->left.text, made->right.text);
        made->columns = 80;
        content = made;
        view.resize(1280, 700);
        view.show();
    }
};

void openLarge(benchmark::State &state)
{
    LargeView large;
    const auto work = [&large] {
        large.view.setContent(large.content, DiffSide::left);
        large.view.grab();
    };
    limited(
        state, [] {}, work, 100);
}
BENCHMARK(openLarge)->Name("show 100,000 lines, a third of them changed")->Iterations(10)->UseManualTime();

void scrollLarge(benchmark::State &state)
{
    LargeView large;
    large.view.setContent(large.content, DiffSide::left);
    QScrollBar *const bar = large.view.verticalScrollBar();
    const auto page = [bar] { bar->setValue((bar->value() + bar->pageStep() * 7) % bar->maximum()); };
    limited(
        state, page, [&large] { large.view.viewport()->grab(); }, 16);
}
BENCHMARK(scrollLarge)->Name("paint another page of them")->Iterations(100)->UseManualTime();

} // namespace

} // namespace moorix::bench

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
