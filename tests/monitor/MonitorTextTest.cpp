// SPDX-License-Identifier: GPL-3.0-or-later
#include "monitor/MonitorText.h"
#include "support/TestMain.h"

#include <QLocale>

#include <cmath>
#include <limits>

using namespace moorix;
using namespace Qt::StringLiterals;

/// Figures as they are written, also those that no machine should tell.
class MonitorTextTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(QLocale::c()); }

    void whatIsUnknownOrImpossibleIsADash()
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        constexpr qint64 most = std::numeric_limits<qint64>::max();
        using namespace monitorText;
        for (const QString &text : {uptime(0), uptime(-1), uptime(infinity), uptime(std::nan("")), load({}), count(0),
                                    count(-4), percent(std::nullopt), percent(infinity), rate(std::nullopt), rate(-1),
                                    rate(infinity), used(1, std::nullopt), used(1, -5), used(1, most)})
            QCOMPARE(text, u"—"_s);
        QCOMPARE(used(200, 100), used(std::nullopt, 100));
        QCOMPARE(used(-1, 100), used(std::nullopt, 100));
    }

    void timesAreOfTwoUnits()
    {
        using monitorText::uptime;
        QCOMPARE(uptime(59.9), u"59 s"_s);
        QCOMPARE(uptime(3599), u"59 min"_s);
        QCOMPARE(uptime(4 * 3600 + 36 * 60 + 59), u"4 h 36 min"_s);
        QCOMPARE(uptime(86400), u"1 d 0 h"_s);
        QCOMPARE(uptime(86400 * 400.0 + 7200), u"400 d 2 h"_s);
    }
};

MOORIX_TEST(MonitorTextTest)
#include "MonitorTextTest.moc"
