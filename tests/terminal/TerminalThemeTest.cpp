// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalTheme.h"

#include "support/TestMain.h"

#include <QSet>

#include <cmath>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

/// Relative luminance of "#RRGGBB", as the accessibility guidelines define it; -1 for what is no such text.
double luminance(const QString &hex)
{
    double result = 0;
    bool isGood = hex.size() == 7 && hex.startsWith(u'#');
    for (const auto &[at, weight] : {std::pair{1, 0.2126}, std::pair{3, 0.7152}, std::pair{5, 0.0722}}) {
        bool isNumber = false;
        const double part = hex.mid(at, 2).toInt(&isNumber, 16) / 255.0;
        isGood &= isNumber;
        result += weight * (part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4));
    }
    return isGood ? result : -1;
}

double contrast(const QString &one, const QString &other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return darker < 0 ? 0 : (lighter + 0.05) / (darker + 0.05);
}

} // namespace

class TerminalThemeTest : public QObject
{
    Q_OBJECT

private slots:
    void everyColourCanBeReadOnItsGround()
    {
        QSet<QString> ids;
        for (const TerminalTheme &theme : TerminalThemeCatalog::all()) {
            QVERIFY2(!ids.contains(theme.id) && !theme.name.isEmpty(), qPrintable(theme.id));
            ids << theme.id;
            if (!theme.backgroundHex)
                continue;
            const bool isDark = luminance(*theme.backgroundHex) < 0.2;
            QVERIFY2(contrast(*theme.foregroundHex, *theme.backgroundHex) >= 7, qPrintable(theme.id));
            QVERIFY2(contrast(*theme.cursorHex, *theme.backgroundHex) >= 3, qPrintable(theme.id));
            for (int i = 0; i < 16; ++i) {
                // Black on dark and white on light are grounds, not letters.
                const bool isGround = isDark ? i % 8 == 0 : i % 8 == 7;
                const double reached = contrast(theme.ansiHex->at(std::size_t(i)), *theme.backgroundHex);
                QVERIFY2(reached >= (isGround ? 1 : 3), qPrintable(u"%1, %2: %3"_s.arg(theme.id).arg(i).arg(reached)));
            }
        }
        QVERIFY(ids.size() >= 12);
    }

    void firstThemeTakesItsColoursFromTheProgramAndStandsForUnknownOnes()
    {
        const TerminalTheme &first = TerminalThemeCatalog::all().first();
        QCOMPARE(first.name, u"Match App Theme"_s);
        QVERIFY(!first.backgroundHex && !first.foregroundHex && !first.cursorHex && !first.ansiHex);
        QCOMPARE(TerminalThemeCatalog::theme(u"no such"_s), first);
        for (const auto &[id, name] : {std::pair{u"classic"_s, u"Classic (Black)"_s}, {u"novel"_s, u"Novel (Light)"_s}})
            QCOMPARE(TerminalThemeCatalog::theme(id).name, name);
    }
};

MOORIX_TEST(TerminalThemeTest)

#include "TerminalThemeTest.moc"
