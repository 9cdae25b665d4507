// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Theme.h"

#include "ui/FileIcons.h"
#include "ui/StyleSheet.h"
#include "ui/ThemeStyle.h"

#include <QApplication>
#include <QFontInfo>
#include <QPalette>

#include <array>

using namespace Qt::StringLiterals;

namespace moorix::Theme {

namespace {

struct Scheme
{
    const char *id;
    const char *label;
    const char *iconTheme;
    /// In the order of Color.
    std::array<QRgb, 17> colors;
};

// clang-format off
constexpr std::array schemes{
    Scheme{"midnight", "Midnight", "breeze-dark",
        {0xff121826, 0xff0f1420, 0xff121826, 0xffd6deeb, 0xff8b98b0, 0xff242e42, 0xff5b9cff, 0xff22406e, 0xff222d44,
         0xff182033, 0xff6ea8fe, 0xfff27781, 0xffe6b566, 0xff4cc38a, 0xff141a28, 0xff1c2538, 0xff6c7a95}},
    Scheme{"daylight", "Daylight", "breeze",
        {0xfff3f5f9, 0xffffffff, 0xffeef1f6, 0xff1c2433, 0xff566279, 0xffd3dae5, 0xff1f6feb, 0xffc9defd, 0xffe3e8f0,
         0xfff0f4fa, 0xff2f7de1, 0xffc42b3b, 0xff8a5a00, 0xff1a7f4b, 0xfff8f9fc, 0xffe4e9f2, 0xff6b768c}},
};
// clang-format on

const Scheme *appliedScheme = &schemes.front();

const Scheme &schemeFor(const QString &id)
{
    for (const Scheme &scheme : schemes) {
        if (id == QLatin1StringView(scheme.id))
            return scheme;
    }
    return schemes.front();
}

QPalette palette()
{
    QPalette result(color(Color::text), color(Color::window), color(Color::border), color(Color::border),
                    color(Color::border), color(Color::text), color(Color::base));
    result.setColor(QPalette::Button, color(Color::toolBar));
    result.setColor(QPalette::ButtonText, color(Color::text));
    result.setColor(QPalette::AlternateBase, color(Color::currentRow));
    result.setColor(QPalette::Highlight, color(Color::selection));
    result.setColor(QPalette::HighlightedText, color(Color::text));
    result.setColor(QPalette::Inactive, QPalette::Highlight, color(Color::inactiveSelection));
    result.setColor(QPalette::PlaceholderText, color(Color::faintText));
    result.setColor(QPalette::Link, color(Color::accent));
    result.setColor(QPalette::LinkVisited, color(Color::accent));
    result.setColor(QPalette::ToolTipBase, color(Color::toolBar));
    result.setColor(QPalette::ToolTipText, color(Color::text));
    result.setColor(QPalette::Light, color(Color::hover));
    result.setColor(QPalette::Shadow, color(Color::border));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::HighlightedText})
        result.setColor(QPalette::Disabled, role, color(Color::faintText));
    result.setColor(QPalette::Disabled, QPalette::Highlight, color(Color::border));
    return result;
}

QFont uiFont(double size)
{
    QFont font(QStringList{u"Inter"_s, u"DejaVu Sans"_s});
    font.setPixelSize(qRound(size));
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

} // namespace

QList<Description> all()
{
    QList<Description> result;
    for (const Scheme &scheme : schemes)
        result.append({QString::fromLatin1(scheme.id), QString::fromLatin1(scheme.label)});
    return result;
}

void apply(QApplication &application, const QString &themeID, double contentFontSize)
{
    appliedScheme = &schemeFor(themeID);
    QApplication::setStyle(new ThemeStyle);
    QStringList paths = QIcon::themeSearchPaths();
    if (const QString system = u"/usr/share/icons"_s; !paths.contains(system))
        QIcon::setThemeSearchPaths(paths << system);
    // Desktops name other icon themes, or none; the program looks the same on all of them.
    QIcon::setThemeName(QString::fromLatin1(appliedScheme->iconTheme));
    QIcon::setFallbackThemeName(u"breeze"_s);
    FileIcons::forget();
    QApplication::setFont(uiFont(contentFontSize));
    QApplication::setPalette(palette());
    application.setStyleSheet(styleSheet());
}

QColor color(Color role)
{
    return QColor::fromRgb(appliedScheme->colors.at(std::size_t(role)));
}

QIcon icon(const QString &name)
{
    return icon(name, Color::text);
}

QIcon fileIcon(const FileItem &item)
{
    return FileIcons::iconFor(item);
}

QFont monospace()
{
    QFont font(QStringList{u"JetBrains Mono"_s, u"DejaVu Sans Mono"_s, u"monospace"_s});
    font.setPixelSize(QFontInfo(QApplication::font()).pixelSize());
    font.setFixedPitch(true);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

} // namespace moorix::Theme
