// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Theme.h"

#include "support/TestMain.h"

#include <QApplication>
#include <QPainter>
#include <QRegularExpression>

#include <cmath>
#include <numeric>

using namespace Qt::StringLiterals;
using namespace moorix;
using moorix::test::entryAt;

namespace {

double luminance(const QColor &color)
{
    const auto linear = [](double c) { return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(Theme::Color one, Theme::Color other)
{
    const double a = luminance(Theme::color(one));
    const double b = luminance(Theme::color(other));
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

QImage painted(const QIcon &icon, qreal scale = 1)
{
    QImage image(QSize(16, 16) * scale, QImage::Format_ARGB32);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    icon.paint(&painter, QRect(0, 0, 16, 16));
    return image;
}

QList<QColor> pixels(const QImage &image)
{
    QList<QColor> all;
    for (int i = 0; i < image.width() * image.height(); ++i)
        all << image.pixelColor(i % image.width(), i / image.width());
    return all;
}

/// The colour of the most opaque pixel.
QColor strongestColor(const QIcon &icon)
{
    const QList<QColor> all = pixels(painted(icon));
    return *std::ranges::max_element(all, {}, &QColor::alpha);
}

} // namespace

class ThemeTest final : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { Theme::apply(*qApp, u"midnight"_s, 13); }

    void everyThemeIsUnderstoodAndLegible()
    {
        QTest::failOnWarning(QRegularExpression(u"parse"_s));
        using enum Theme::Color;
        for (const auto &theme : Theme::all()) {
            Theme::apply(*qApp, theme.id, 13);
            QVERIFY2(!qApp->styleSheet().contains(u'<'), "a colour was not filled in");
            QWidget().ensurePolished();
            for (const auto ground : {window, base, sidebar, selection, inactiveSelection, currentRow, toolBar, hover})
                QVERIFY2(contrast(text, ground) >= 4.5, qPrintable(theme.id + Theme::color(ground).name()));
            for (const auto role : {mutedText, danger, warning, success, accent})
                QVERIFY2(contrast(role, base) >= 4.5, qPrintable(theme.id + Theme::color(role).name()));
        }
    }

    void unknownThemeGivesMidnight()
    {
        Theme::apply(*qApp, u"daylight"_s, 13);
        Theme::apply(*qApp, u"no such theme"_s, 13);
        QCOMPARE(Theme::color(Theme::Color::base), QColor(0x0f, 0x14, 0x20));
    }

    void iconHandedOutBeforeAThemeChangeFollowsIt()
    {
        Theme::apply(*qApp, u"midnight"_s, 13);
        const QIcon icon = Theme::icon(u"go-up"_s);
        Theme::apply(*qApp, u"daylight"_s, 13);
        const QColor seen = strongestColor(icon);
        QVERIFY(seen.alpha() > 0);
        QVERIFY2(seen.lightness() < 100, qPrintable(seen.name()));
    }

    void everyKindOfEntryHasAnIconAndSoHasAnUnknownName()
    {
        QVERIFY(strongestColor(Theme::icon(u"no-such-icon"_s)).alpha() > 0);
        for (const QString &name : {u"a.cpp"_s, u"a.unheardof"_s, u"README"_s, u".hidden"_s, u"a."_s, u"ä.TAR.GZ"_s})
            QVERIFY2(strongestColor(Theme::fileIcon(entryAt(name))).alpha() > 0, qPrintable(name));
    }

    void iconsKeepTheirShapeOnFineScreens()
    {
        const auto coverage = [](const QIcon &icon, qreal scale) {
            const QList<QColor> all = pixels(painted(icon, scale));
            const auto add = [](double sum, const QColor &pixel) { return sum + pixel.alphaF(); };
            return std::accumulate(all.begin(), all.end(), 0.0, add) / double(all.size());
        };
        for (const QString &name : {u"folder"_s, u"user-desktop"_s, u"network-server"_s, u"folder-download"_s}) {
            const double coarse = coverage(Theme::icon(name), 1);
            QVERIFY2(std::abs(coverage(Theme::icon(name), 2) - coarse) < 0.1 + 0.2 * coarse, qPrintable(name));
        }
    }

    void linkLooksUnlikeItsTarget()
    {
        FileItem link = entryAt(u"a.txt"_s);
        const QImage plain = painted(Theme::fileIcon(link));
        link.isSymlink = true;
        QVERIFY(painted(Theme::fileIcon(link)) != plain);
    }
};

MOORIX_TEST(ThemeTest)
#include "ThemeTest.moc"
