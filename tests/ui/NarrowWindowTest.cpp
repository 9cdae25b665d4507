// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"
#include "ui/pane/Breadcrumbs.h"

#include <QHeaderView>
#include <QMenu>
#include <QToolButton>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// What a small window and long names leave readable.
class NarrowWindowTest final : public QObject
{
    Q_OBJECT

    static int lackingIn(const QLineEdit &field)
    {
        return field.fontMetrics().horizontalAdvance(field.placeholderText()) - field.contentsRect().width();
    }

private slots:
    void barForAnAddressShowsAllThatItAsksFor()
    {
        WindowBench bench({});
        bench.key(Qt::Key_K, Qt::ControlModifier);
        const auto *address = bench.find<QLineEdit>("quickAddress");
        const auto *password = bench.find<QLineEdit>("quickPassword");
        for (const auto &[width, isOneLine] : {std::pair(1000, false), std::pair(1280, false), std::pair(1900, true)}) {
            bench.window->resize(width, 640);
            const auto top = [&bench](const QWidget *part) { return part->mapTo(bench.window.get(), QPoint()).y(); };
            QTRY_COMPARE(top(address) == top(password), isOneLine);
            QVERIFY2(lackingIn(*address) < 0 && lackingIn(*password) < 0, qPrintable(QString::number(width)));
        }
    }

    void savedServersAreKnownByTheirNames()
    {
        WindowBench bench({});
        bench.addServer(u"pro\nduction"_s);
        bench.window->resize(1000, 640);
        bench.key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(bench.find("serverTree"));
        const QHeaderView *header = bench.find<QTreeView>("serverTree")->header();
        QTRY_VERIFY2(header->sectionSize(0) >= 180, qPrintable(QString::number(header->sectionSize(0))));
        QCOMPARE(header->length(), header->width());
        QCOMPARE(header->model()->index(0, 0).data().toString(), u"pro\\nduction"_s);
    }

    void folderWithALongNameShowsBothItsEnds()
    {
        WindowBench bench({{"left/from here until & the very last of all words in this name/", ""}});
        bench.window->resize(1000, 640);
        bench.pane(Side::left)
            ->load(bench.home.path("left/from here until & the very last of all words in this name"), true);
        const auto *crumbs = bench.sideView(Side::left).findChild<Breadcrumbs *>();
        const auto last = [crumbs] { return crumbs->findChildren<QToolButton *>().constLast(); };
        QTRY_VERIFY2(last()->text().startsWith(u"from"_s), qPrintable(last()->text()));
        QVERIFY2(last()->text().endsWith(u"name"_s) && last()->text().contains(u'…'), qPrintable(last()->text()));
        QVERIFY(last()->sizeHint().width() <= last()->width());
        QVERIFY(crumbs->rect().contains(last()->geometry()));
        bench.window->resize(3000, 640);
        QTRY_VERIFY2(last()->text().contains(u"until && the"_s), qPrintable(last()->text()));
    }

    void longNameInAQuestionLeavesTheAnswersInTheWindow()
    {
        const QString name = QString(200, u'x') + u".end"_s;
        WindowBench bench(
            {{("left/" + name.toUtf8()).constData(), "a"}, {("right/" + name.toUtf8()).constData(), "b"}});
        const int width = bench.window->minimumSizeHint().width();
        bench.window->resize(width, 640);
        bench.pane(Side::left)->setSelection({bench.home.path("left/") + name});
        bench.key(Qt::Key_F5);
        QTRY_VERIFY(bench.find("conflictBar"));
        QApplication::processEvents();
        QCOMPARE(bench.window->width(), width);
        QVERIFY(bench.find<QLabel>("conflictQuestion")->text().contains(u"x.end”"_s));
        for (const auto *button : bench.find("conflictBar")->findChildren<QPushButton *>())
            QVERIFY2(
                bench.window->rect().contains(QRect(button->mapTo(bench.window.get(), QPoint()), button->sizeHint())),
                qPrintable(button->text()));
    }

    void menuOfServersHasRoomForAnyNameAndNumber()
    {
        WindowBench bench({});
        for (int i = 0; i < 40; ++i)
            bench.addServer(u"server %1"_s.arg(i));
        ServerConnection odd = bench.addServer(u"a\tb & "_s + QString(500, u'x'));
        odd.isFavorite = true;
        bench.model->servers().upsert(odd);
        QMenu *menu = bench.find<QToolButton>("connectButton")->defaultAction()->menu();
        menu->popup(bench.window->mapToGlobal(QPoint(20, 20)));
        // Of favourites, which come first, and others; what a tab would make of the text is not its key.
        QVERIFY2(menu->actions().first()->text().startsWith(u"a\\tb && x"_s),
                 qPrintable(menu->actions().first()->text()));
        QVERIFY(menu->actions().at(1)->isSeparator() && menu->width() < 600);
        QVERIFY(menu->actions().size() < 30);
        menu->close();
    }
};

MOORIX_TEST(NarrowWindowTest)
#include "NarrowWindowTest.moc"
