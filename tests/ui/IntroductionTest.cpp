// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"
#include "platform/Preferences.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// The screens of the first start.
class IntroductionTest final : public QObject
{
    Q_OBJECT

    static bool isDismissed(const WindowBench &bench)
    {
        return bench.model->settings().permissionOnboardingDismissed.value();
    }
    static QPoint headlineAt(const WindowBench &bench)
    {
        const QWidget *headline = bench.find("introductionHeadline");
        return headline ? headline->mapTo(bench.window.get(), QPoint()) : QPoint();
    }

private slots:
    void firstStartOffersItUntilItIsDismissed()
    {
        WindowBench bench({});
        bench.window->offerIntroduction();
        QVERIFY(bench.find("introductionPage"));
        // Nothing is done to the folders behind it.
        bench.key(Qt::Key_F7);
        QVERIFY(!bench.find("nameBar"));
        bench.key(Qt::Key_Escape);
        QVERIFY(!bench.find("introductionPage") && isDismissed(bench) && bench.list(Side::left)->isVisible());
        bench.window->offerIntroduction();
        QVERIFY(!bench.find("introductionPage"));
        bench.choose(bench.window->findChildren<QAction *>(), "Introduction");
        QVERIFY(bench.find("introductionPage"));
    }

    void laterStartsOfferNothing()
    {
        WindowBench bench({});
        bench.restart();
        bench.window->offerIntroduction();
        QVERIFY(!bench.find("introductionPage") && !isDismissed(bench));
    }

    void keychainIsAskedAndAskedAgain()
    {
        using State = KeychainReport::State;
        const std::pair<State, const char *> rows[] = {{State::noMessageBus, "no message bus"},
                                                       {State::noService, "No keychain is running"},
                                                       {State::noKeyring, "no keyring yet"},
                                                       {State::locked, "there and locked"},
                                                       {State::ready, "there and unlocked"}};
        WindowBench bench({});
        bench.window->showIntroduction();
        bench.keychain->setReport({State::noService, u"The name is not activatable"_s});
        bench.key(Qt::Key_Return);
        const auto *sentence = bench.find<QLabel>("keychainSentence");
        QTRY_VERIFY(sentence->text().startsWith(u"No keychain is running"_s));
        QVERIFY(bench.find<QLabel>("keychainWords")->text().contains(u"not activatable"_s));
        for (const auto &[state, words] : rows) {
            bench.keychain->setReport({state});
            bench.click(bench.find("keychainAgain"));
            QTRY_VERIFY2(sentence->text().contains(QLatin1String(words)), qPrintable(sentence->text()));
            QVERIFY(!bench.find("keychainWords"));
        }
    }

    void lastScreenShowsAllOfItsTextsAtAnySize()
    {
        WindowBench bench({});
        bench.model->settings().contentFontSize.set(24);
        bench.window->showIntroduction();
        bench.key(Qt::Key_Return);
        bench.key(Qt::Key_Return);
        for (const char *name : {"introductionNewServer", "introductionImport", "introductionFile"}) {
            const QWidget *button = bench.find(name);
            QTRY_VERIFY2(button && button->width() >= button->sizeHint().width(), name);
        }
        for (const QLabel *label : bench.find("introductionPage")->findChildren<QLabel *>()) {
            if (label->isVisible() && label->wordWrap())
                QVERIFY2(label->height() >= label->heightForWidth(label->width()), qPrintable(label->text()));
        }
        bench.model->settings().contentFontSize.set(13);
    }

    void serverThatIsSavedOnTheLastScreenIsSaid()
    {
        WindowBench bench({});
        bench.addServer(u"known"_s);
        bench.window->showIntroduction();
        QApplication::processEvents();
        const QPoint first = headlineAt(bench);
        bench.key(Qt::Key_Return);
        bench.key(Qt::Key_Return);
        QTRY_COMPARE(headlineAt(bench), first);
        QCOMPARE(bench.find<QLabel>("introductionStep")->text(), u"3 of 3"_s);
        QVERIFY(QApplication::focusWidget() == bench.find("introductionNewServer") && !bench.find("introductionSaved"));
        bench.addServer(u"nordlicht"_s);
        QVERIFY(bench.find<QLabel>("introductionSaved")->text().startsWith(u"“nordlicht” is saved"_s));
        bench.key(Qt::Key_Return);
        QVERIFY(!bench.find("introductionPage") && isDismissed(bench));
    }
};

MOORIX_TEST(IntroductionTest)
#include "IntroductionTest.moc"
