// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalFont.h"

#include "ui/Theme.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QGlyphRun>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

/// Pictures are drawn anew when more than this many are in use.
constexpr int keptPictures = 4096;

/// The font as it is there, and nothing that a name stands for which means another font.
bool isUsable(const QFont &font)
{
    const QFontInfo info(font);
    return info.fixedPitch() && !font.families().isEmpty() &&
           std::any_of(font.families().cbegin(), font.families().cend(),
                       [](const QString &family) { return QFontDatabase::hasFamily(family); });
}

QFont usable(const QFont &wanted)
{
    if (isUsable(wanted))
        return wanted;
    QFont font = Theme::monospace();
    if (wanted.pixelSize() > 0)
        font.setPixelSize(wanted.pixelSize());
    else if (wanted.pointSizeF() > 0)
        font.setPointSizeF(wanted.pointSizeF());
    return font;
}

/// Such glyphs bring their own colours along and cannot be drawn in ours.
bool isColored(const QRawFont &font)
{
    return !font.fontTable("CBDT").isEmpty() || !font.fontTable("COLR").isEmpty() || !font.fontTable("sbix").isEmpty();
}

/// The family with pictures for emoji, if there is one; empty otherwise.
const QString &emojiFamily()
{
    static const QString family = [] {
        const QStringList families = QFontDatabase::families().filter(u"Color Emoji"_s);
        return families.isEmpty() ? QString() : families.constFirst();
    }();
    return family;
}

/// Whether a text is meant as a picture rather than as one of the symbols that letter fonts have too.
bool isEmoji(const QString &text)
{
    constexpr char32_t asPicture = 0xFE0F;
    const QList<uint> characters = text.toUcs4();
    return characters.contains(asPicture) ||
           (!characters.isEmpty() && characters.constFirst() >= 0x1F000 && characters.constFirst() < 0x20000);
}

bool isInvisible(char32_t character)
{
    return character == 0 || character == U' ' || character == 0xA0 || (character >= 0x200B && character <= 0x200F) ||
           character == 0x2060 || character == 0xFEFF || (character >= 0xFE00 && character <= 0xFE0F);
}

} // namespace

TerminalFont::TerminalFont(const QFont &font, double ratio)
    : m_font(usable(font))
    , m_ratio(ratio)
    , m_pictures(keptPictures)
{
    m_font.setKerning(false);
    for (const bool italic : {false, true}) {
        for (const bool bold : {false, true})
            m_rawFonts.push_back(QRawFont::fromFont(faceFont({bold, italic})));
    }
    measure();
}

void TerminalFont::measure()
{
    const QFontMetricsF metrics(m_font);
    const double pixel = 1 / m_ratio;
    m_cell = {std::max(onPixels(metrics.horizontalAdvance(u'0')), pixel),
              std::max(onPixels(metrics.ascent() + metrics.descent()), pixel)};
    m_ascent = onPixels(metrics.ascent());
    m_lineWidth = std::max(onPixels(m_cell.height() / 16), pixel);
    m_underlineOffset = std::min(onPixels(metrics.underlinePos()), m_cell.height() - m_ascent - m_lineWidth);
    m_strikeOffset = onPixels(metrics.strikeOutPos());
}

double TerminalFont::onPixels(double value) const
{
    return std::round(value * m_ratio) / m_ratio;
}

QFont TerminalFont::faceFont(Face face) const
{
    QFont font = m_font;
    if (face.bold)
        font.setBold(true);
    if (face.italic)
        font.setItalic(true);
    return font;
}

const TerminalFont::Glyph &TerminalFont::glyph(char32_t character, Face face, int columns)
{
    Glyph *known = nullptr;
    if (character < 128)
        known = &m_latin.at(number(face)).at(character);
    else
        known = &m_others[quint32(character) | quint32(number(face)) << 24 | quint32(columns == 2) << 28];
    if (known->kind == Glyph::Kind::unknown)
        *known = find(character, face, columns);
    return *known;
}

TerminalFont::Glyph TerminalFont::find(char32_t character, Face face, int columns)
{
    if (isInvisible(character))
        return {Glyph::Kind::nothing, 0, 0, {}};
    const quint16 own = quint16(number(face));
    const QList<quint32> indexes = m_rawFonts[own].glyphIndexesForString(QString::fromUcs4(&character, 1));
    if (indexes.size() == 1 && indexes.first() != 0) {
        const double advance = m_rawFonts[own].advancesForGlyphIndexes(indexes).constFirst().x();
        const double width = columns * m_cell.width();
        // A fixed pitch does not keep symbols from being wider than a letter.
        if (advance <= width + 1)
            return {Glyph::Kind::glyph, own, indexes.first(), {columns == 2 ? onPixels((width - advance) / 2) : 0, 0}};
    }
    return borrow(character, face, columns);
}

/// Has Qt look for a font that knows the character.
TerminalFont::Glyph TerminalFont::borrow(char32_t character, Face face, int columns)
{
    const QString text = QString::fromUcs4(&character, 1);
    if (columns == 2 && isEmoji(text) && !emojiFamily().isEmpty())
        return {Glyph::Kind::picture, 0, 0, {}};
    QTextLayout layout(text, faceFont(face));
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    const QList<QGlyphRun> runs = layout.glyphRuns();
    if (runs.size() != 1 || runs.first().glyphIndexes().size() != 1)
        return {Glyph::Kind::picture, 0, 0, {}};
    QRawFont font = runs.first().rawFont();
    if (isColored(font))
        return {Glyph::Kind::picture, 0, 0, {}};
    const QList<quint32> indexes = runs.first().glyphIndexes();
    const double width = columns * m_cell.width();
    double advance = font.advancesForGlyphIndexes(indexes).constFirst().x();
    if (advance > width + 1) {
        font.setPixelSize(font.pixelSize() * width / advance);
        advance = width;
    }
    return {Glyph::Kind::glyph, fontNumber(font), indexes.first(), {onPixels(std::max(0.0, (width - advance) / 2)), 0}};
}

quint16 TerminalFont::fontNumber(const QRawFont &font)
{
    const auto known = std::find(m_rawFonts.begin(), m_rawFonts.end(), font);
    if (known != m_rawFonts.end())
        return quint16(known - m_rawFonts.begin());
    m_rawFonts.push_back(font);
    return quint16(m_rawFonts.size() - 1);
}

void TerminalFont::drawPicture(QPainter &painter, const QString &text, Face face, const QRectF &cells, QRgb color)
{
    const QString key = text + QChar(u'\0') + QString::number(color, 16) +
                        QString::number(number(face) * 1000 + std::size_t(cells.width() / m_cell.width()));
    QPixmap *picture = m_pictures.object(key);
    if (!picture) {
        picture = new QPixmap(render(text, face, cells.size(), color));
        m_pictures.insert(key, picture);
    }
    painter.drawPixmap(cells.topLeft(), *picture);
}

QPixmap TerminalFont::render(const QString &text, Face face, QSizeF size, QRgb color) const
{
    QPixmap picture((size * m_ratio).toSize());
    picture.setDevicePixelRatio(m_ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    QFont font = faceFont(face);
    const bool isPicture = isEmoji(text) && !emojiFamily().isEmpty();
    if (isPicture)
        font.setFamilies(QStringList{emojiFamily()} + font.families());
    const double width = QFontMetricsF(font).horizontalAdvance(text);
    // Pictures fill their cells; letters are made smaller only, and stay on the line.
    const double scale = isPicture ? std::min(size.width() / width, size.height() / QFontMetricsF(font).height())
                                   : std::min(1.0, (size.width() + 1) / width);
    if (scale != 1)
        font.setPixelSize(std::max(1, int(std::floor(QFontInfo(font).pixelSize() * scale))));
    painter.setFont(font);
    painter.setPen(QColor::fromRgb(color));
    const double left = std::max(0.0, (size.width() - QFontMetricsF(font).horizontalAdvance(text)) / 2);
    if (isPicture)
        painter.drawText(QRectF(QPointF(), size), Qt::AlignCenter | Qt::TextDontClip, text);
    else
        painter.drawText(QPointF(onPixels(left), m_ascent), text);
    return picture;
}

} // namespace moorix
