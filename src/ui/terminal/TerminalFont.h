// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCache>
#include <QFont>
#include <QHash>
#include <QPixmap>
#include <QPointF>
#include <QRawFont>
#include <QRectF>
#include <QSizeF>

#include <array>
#include <vector>

class QPainter;

namespace moorix {

/// The fonts of a terminal: the size of its cells, and for each character the glyph that stands for it, of its own font
/// or, where that has none, of another one, made to fit the cells. Looked up once per character.
class TerminalFont final
{
public:
    struct Face
    {
        bool bold = false;
        bool italic = false;
        friend bool operator==(Face, Face) = default;
    };
    /// What to draw for a character: a glyph of one of `rawFonts`, or a picture (emoji, letters with marks).
    struct Glyph
    {
        enum class Kind : quint8 { unknown, nothing, glyph, picture };
        Kind kind = Kind::unknown;
        quint16 font = 0;
        quint32 index = 0;
        /// From the left end of the base line.
        QPointF offset;
    };

    /// A font that is not there or has no fixed pitch is replaced by the program's own. `ratio`: device pixels to a
    /// unit.
    TerminalFont(const QFont &font, double ratio);

    const QFont &font() const { return m_font; }
    double ratio() const { return m_ratio; }
    /// A whole number of device pixels.
    QSizeF cell() const { return m_cell; }
    double ascent() const { return m_ascent; }
    double lineWidth() const { return m_lineWidth; }
    /// From the base line down to the middle of an underline.
    double underlineOffset() const { return m_underlineOffset; }
    double strikeOffset() const { return m_strikeOffset; }

    const Glyph &glyph(char32_t character, Face face, int columns);
    const QRawFont &rawFont(quint16 number) const { return m_rawFonts[number]; }
    /// Draws a text into its cells from a picture that is kept.
    void drawPicture(QPainter &painter, const QString &text, Face face, const QRectF &cells, QRgb color);

private:
    static std::size_t number(Face face) { return std::size_t(face.bold) + 2 * std::size_t(face.italic); }
    void measure();
    double onPixels(double value) const;
    QFont faceFont(Face face) const;
    Glyph find(char32_t character, Face face, int columns);
    Glyph borrow(char32_t character, Face face, int columns);
    quint16 fontNumber(const QRawFont &font);
    QPixmap render(const QString &text, Face face, QSizeF size, QRgb color) const;

    QFont m_font;
    double m_ratio;
    QSizeF m_cell;
    double m_ascent = 0;
    double m_lineWidth = 1;
    double m_underlineOffset = 0;
    double m_strikeOffset = 0;
    /// The four faces first, then those that lent a glyph.
    std::vector<QRawFont> m_rawFonts;
    std::array<std::array<Glyph, 128>, 4> m_latin;
    QHash<quint32, Glyph> m_others;
    QCache<QString, QPixmap> m_pictures;
};

} // namespace moorix
