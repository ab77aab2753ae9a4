#include "glyphcells.h"

#include <QColor>
#include <QFontMetricsF>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

/// Relative luminance of an sRGB colour, 0 to 1.
double Luminance(QRgb colour)
{
    constexpr auto linear = [](int channel) {
        const double value = channel / 255.0;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour))
        + 0.0722 * linear(qBlue(colour));
}

} // namespace

bool NeedsUnderline(QRgb text, QRgb background)
{
    constexpr double kReadableContrast = 3.0;
    const auto [darker, lighter] = std::minmax({Luminance(text), Luminance(background)});
    return (lighter + 0.05) / (darker + 0.05) < kReadableContrast;
}

void GlyphCells::SetFont(const QFont &font, int widthPx, int heightPx, int ascentPx)
{
    m_font = font;
    m_widthPx = widthPx;
    m_heightPx = heightPx;
    m_ascentPx = ascentPx;
    Forget();
}

void GlyphCells::SetColours(const RowColours &colours)
{
    if (colours == m_colours)
        return;
    m_colours = colours;
    Forget();
}

void GlyphCells::SetScale(qreal scale)
{
    if (scale == m_scale)
        return;
    m_scale = scale;
    Forget();
}

void GlyphCells::Forget()
{
    m_places.fill(kNotRendered);
    m_pixels.clear();
    m_deviceWidth = qRound(m_widthPx * m_scale);
    m_deviceHeight = qRound(m_heightPx * m_scale);
}

bool GlyphCells::HasRunBackground(CellStyle style) const
{
    return style != kCellCursor && style >= kCellFirstAge
        && m_colours.runBackground != m_colours.base;
}

QRgb GlyphCells::BackgroundOf(CellStyle style) const
{
    if (style == kCellCursor)
        return m_colours.highlight;
    if (HasRunBackground(style))
        return m_colours.runBackground;
    return style % kCellFirstAge == 0 ? m_colours.base : m_colours.selection;
}

void GlyphCells::Paint(QPainter &painter, CellStyle style, char character) const
{
    painter.fillRect(QRect(0, 0, m_widthPx, m_heightPx), QColor(BackgroundOf(style)));
    const auto drawInk = [&](QRgb colour) {
        painter.setPen(QColor(colour));
        painter.drawText(QPointF(0, m_ascentPx), QString(QLatin1Char{character}));
    };
    if (style == kCellCursor) {
        drawInk(m_colours.highlightedText);
        return;
    }
    // A run is drawn over the line's own text, and the smooth edges of both glyphs add up.
    if (!HasRunBackground(style))
        drawInk(m_colours.text);
    if (style < kCellFirstAge)
        return;
    const QRgb colour = kAgeColours[std::size_t(style / kCellFirstAge - 1)];
    drawInk(colour);
    if (NeedsUnderline(colour, m_colours.base))
        painter.fillRect(UnderlineOf(QRect(0, 0, m_widthPx, m_heightPx)), QColor(colour));
}

QRect GlyphCells::UnderlineOf(const QRect &run) const
{
    return {run.left(), run.top() + std::min(m_ascentPx + 1, m_heightPx - 1), run.width(), 1};
}

const QRgb *GlyphCells::Render(CellStyle style, char character)
{
    std::int32_t &place = m_places[Index(style, character)];
    place = kDoesNotFit;
    const QString text(QLatin1Char{character});
    if (QFontMetricsF(m_font).horizontalAdvance(text) != m_widthPx)
        return nullptr;
    // Room of a cell on every side shows whether ink leaves it.
    QImage image(3 * m_deviceWidth, 3 * m_deviceHeight, QImage::Format_RGB32);
    const QRgb background = BackgroundOf(style);
    image.fill(background);
    QPainter painter(&image);
    painter.setFont(m_font);
    painter.translate(m_deviceWidth, m_deviceHeight);
    painter.scale(m_scale, m_scale);
    Paint(painter, style, character);
    painter.end();
    const QRect cell(m_deviceWidth, m_deviceHeight, m_deviceWidth, m_deviceHeight);
    for (int y = 0; y < image.height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (line[x] != background && !cell.contains(x, y))
                return nullptr;
        }
    }
    place = std::int32_t(m_pixels.size());
    for (int y = cell.top(); y <= cell.bottom(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y)) + cell.left();
        m_pixels.insert(m_pixels.end(), line, line + m_deviceWidth);
    }
    return m_pixels.data() + place;
}
