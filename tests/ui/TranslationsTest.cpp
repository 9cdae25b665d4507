// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Translations.h"
#include "support/TestMain.h"
#include "transfers/TransferEngine.h"
#include "ui/TransferText.h"

#include <QLocale>
#include <QProcess>
#include <QStandardPaths>
#include <QTranslator>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// The user's language, from the file of a translator to the text in the window.
class TranslationsTest final : public QObject
{
    Q_OBJECT

    static QString files(qint64 count)
    {
        TransferStatus transfer;
        transfer.state = TransferStatus::State::finished;
        transfer.filesDone = count;
        return TransferText::outcome(transfer).section(u" · "_s, 0, 0);
    }

private slots:
    void fileInTheUsersFolderIsUsedForItsLanguageOnly()
    {
        const QString tool = QStandardPaths::findExecutable(u"lrelease"_s, {u"/usr/lib/qt6/bin"_s});
        if (tool.isEmpty())
            QSKIP("Qt's lrelease is not installed.");
        TestTree home({{"moorix_pl.ts", R"(<!DOCTYPE TS><TS version="2.1" language="pl"><context>
            <name>moorix::TransferText</name><message numerus="yes"><source>%n files</source><translation>
            <numerusform>%n plik</numerusform><numerusform>%n pliki</numerusform><numerusform>%n plików</numerusform>
            </translation></message></context></TS>)"}});
        home.write("data/Moorix/translations/", {});
        const QString target = home.path("data/Moorix/translations/moorix_pl.qm");
        QCOMPARE(QProcess::execute(tool, {u"-silent"_s, home.path("moorix_pl.ts"), u"-qm"_s, target}), 0);
        qputenv("XDG_DATA_HOME", home.path("data").toUtf8());
        Translations::install(*QCoreApplication::instance(), QLocale(u"de_DE"_s));
        Translations::install(*QCoreApplication::instance(), QLocale(u"en_GB"_s));
        QCOMPARE(files(4), u"4 files"_s);
        Translations::install(*QCoreApplication::instance(), QLocale(u"pl_PL"_s));
        QCOMPARE(files(4), u"4 pliki"_s);
        QCOMPARE(files(12), u"12 plików"_s);
        QCOMPARE(files(1), u"1 file"_s);
        qDeleteAll(QCoreApplication::instance()->findChildren<QTranslator *>());
        QCOMPARE(files(4), u"4 files"_s);
    }
};

MOORIX_TEST(TranslationsTest)
#include "TranslationsTest.moc"
