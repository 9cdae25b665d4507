// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/ShakeDetector.h"

#include "support/TestMain.h"

using moorix::ShakeDetector;

class ShakeDetectorTest : public QObject
{
    Q_OBJECT

private slots:
    void threeReversalsWithinTheTimeAreAShake_data()
    {
        QTest::addColumn<QList<double>>("places");
        QTest::addColumn<double>("step");
        QTest::addColumn<bool>("isShake");
        QTest::addRow("two reversals") << QList<double>{0, 50, 0, 50} << 0.1 << false;
        QTest::addRow("three") << QList<double>{0, 50, 0, 50, 0} << 0.1 << true;
        QTest::addRow("three, just in time") << QList<double>{0, 50, 0, 50, 0} << 0.17 << true;
        QTest::addRow("three, too slow") << QList<double>{0, 50, 0, 50, 0} << 0.18 << false;
        QTest::addRow("steps too small") << QList<double>{0, 6, 0, 6, 0, 6, 0} << 0.1 << false;
        QTest::addRow("small steps between") << QList<double>{0, 50, 46, 0, 5, 50, 0} << 0.1 << true;
        QTest::addRow("one way") << QList<double>{0, 50, 100, 150, 200} << 0.1 << false;
    }
    void threeReversalsWithinTheTimeAreAShake()
    {
        QFETCH(QList<double>, places);
        QFETCH(double, step);
        ShakeDetector detector;
        bool isShake = false;
        for (qsizetype i = 0; i < places.size(); ++i)
            isShake = detector.trackShake(1000 + step * double(i), places.at(i));
        QTEST(isShake, "isShake");
    }
};

MOORIX_TEST(ShakeDetectorTest)

#include "ShakeDetectorTest.moc"
