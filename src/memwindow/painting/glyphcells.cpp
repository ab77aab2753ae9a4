#include "glyphcells.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QPainter>

#include <algorithm>
#include <cstddef>

namespace {

/// With more cells than this for each fraction, or more pixels in all, every cell is forgotten.
/// Those in use are drawn again by the next paint.
constexpr std::size_t kMaxCells = 6000;
constexpr std::size_t kMaxPixels = 1U << 22;
constexpr int kColumns = 5;     // of a drawing; blank columns catch ink around the three cells
constexpr int kMiddle = 2;      // column of the middle cell
constexpr int kRoomAbove = 1;   // device pixels above a picture, so that no row starts above it
constexpr int kRoomBelowPx = 2; // pictures are higher than a row by less than this
constexpr int kMaxHeight = 256;
/// Glyphs of this many device pixels are drawn as shapes, which can begin inside a device pixel.
constexpr int kShapesFrom = 64;

std::uint8_t AgeOf(CellStyle style)
{
    return std::uint8_t(style / kCellFirstAge % (kCellCursor / kCellFirstAge));
}

} // namespace

std::uint64_t GlyphCells::Neighbours::Key() const
{
    std::uint64_t key = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        key = key << 16 | std::uint64_t{styles[i]} << 8 | static_cast<unsigned char>(text[i]);
    return (key * kPixelParts + unsigned(fractionX)) * kPixelParts + unsigned(fractionY);
}

void GlyphCells::SetFont(const QFont &font, int widthPx, int heightPx)
{
    m_painter.SetFont(font, widthPx, heightPx);
    m_painter.SetRoomBelow(kRoomBelowPx);
    const QFontInfo found(font);
    m_isScalable = QFontDatabase::isSmoothlyScalable(found.family(), found.styleName());
    Forget();
}

void GlyphCells::SetColours(const RowColours &colours)
{
    if (colours == m_painter.Colours())
        return;
    m_painter.SetColours(colours);
    Forget();
}

void GlyphCells::SetScale(int partsPerPixel)
{
    if (partsPerPixel == m_partsPerPixel)
        return;
    m_partsPerPixel = partsPerPixel;
    Forget();
}

bool GlyphCells::AreUsable() const
{
    // A font of bitmaps is stretched at other than whole scales, each time a little differently.
    return m_layout.Fractions() == 1 ? m_layout.Height() <= kMaxHeight
                                     : m_layout.Height() < kShapesFrom && m_isScalable;
}

void GlyphCells::Forget()
{
    m_layout = CellLayout(
        m_painter.CharacterWidth(), m_painter.LineHeight(), m_painter.Ascent(), m_partsPerPixel);
    LayOutTables();
    for (auto &overhangs : m_overhangs)
        overhangs.fill(kOverhangUnknown);
    std::fill(m_places.begin(), m_places.end(), kNotRendered);
    m_placesBeside.clear();
    m_pixels.clear();
    ++m_generation;
}

void GlyphCells::LayOutTables()
{
    const auto fractions = std::size_t(m_layout.Fractions());
    const auto cellPixels = std::size_t(m_layout.Width(0)) * std::size_t(m_layout.Height());
    m_maxPixels = std::min(kMaxCells * cellPixels * fractions, kMaxPixels);
    const std::size_t styleRoom = fractions * 256;
    for (std::size_t fraction = 0; fraction < fractions; ++fraction) {
        for (std::size_t style = 0; style < kCellStyles; ++style) {
            const std::size_t table = HasLines(CellStyle(style)) ? fraction : 0;
            m_styleStarts[fraction][style] = (table * kCellStyles + style) * styleRoom;
        }
    }
    m_places.resize(fractions * kCellStyles * styleRoom);
}

bool GlyphCells::HasLines(CellStyle style) const
{
    const std::uint8_t age = AgeOf(style);
    return (style & kCellFramed) != 0 || (age != 0 && m_painter.Underlines(age));
}

/// Five columns, the outer ones blank, drawn as a row of the view whose baseline is the pictures'.
/// @return null when there is no such image
QImage GlyphCells::Draw(const Neighbours &cells)
{
    ComposedLine line;
    line.length = kColumns;
    std::fill_n(line.text.begin(), kColumns, ' ');
    RowPicture picture{.line = line, .selection = {}};
    int fractionY = m_layout.FullFraction();
    for (int i = 0; i < 3; ++i) {
        const CellStyle style = cells.styles[std::size_t(i)];
        const int column = kMiddle - 1 + i;
        line.text[std::size_t(column)] = cells.text[std::size_t(i)];
        if ((style & (kCellCursor | kCellFramed)) != 0)
            (picture.cursorHexColumn < 0 ? picture.cursorHexColumn : picture.cursorTextColumn)
                = column;
        picture.isCursorHollow = picture.isCursorHollow || (style & kCellFramed) != 0;
        if ((style & kCellSelected) != 0)
            picture.selection.Add(column, 1);
        if (const std::uint8_t age = AgeOf(style))
            line.runs[std::size_t(line.runCount++)] = {column, 1, age};
        if (HasLines(style))
            fractionY = cells.fractionY;
    }
    const int x = m_layout.RowStart(kMiddle, cells.fractionX);
    const int y = m_layout.RowTop(fractionY) + kRoomAbove * kPixelParts;
    QImage image(PixelAt(x + kColumns * m_layout.ColumnParts()), kRoomAbove + m_layout.Height(),
        QImage::Format_RGB32);
    if (image.isNull())
        return image;
    image.fill(m_painter.Colours().base);
    constexpr qreal kPart = 1.0 / kPixelParts;
    const qreal scale = m_partsPerPixel * kPart;
    QPainter painter(&image);
    painter.setFont(m_painter.Font());
    painter.setTransform({scale, 0, 0, scale, x * kPart, y * kPart});
    m_painter.Draw(painter, 0, kColumns * m_painter.CharacterWidth(), picture);
    return image;
}

/// Draws a character alone and looks where its ink ends. Ink above or below the row is cut off
/// anyway.
std::uint8_t GlyphCells::Measure(char character, int fractionX)
{
    std::uint8_t &overhang
        = m_overhangs[std::size_t(fractionX)][static_cast<unsigned char>(character)];
    overhang = kOverhangTooWide | kOverhangLeft | kOverhangRight;
    if (m_painter.LeavesGrid(character))
        return overhang;
    const QImage image = Draw({.text = {' ', character, ' '}, .fractionX = fractionX});
    if (image.isNull())
        return overhang;
    overhang = kOverhangNone;
    const int start = m_layout.RowStart(kMiddle, fractionX);
    const auto startOf
        = [&](int column) { return PixelAt(start + column * m_layout.ColumnParts()); };
    const QRgb background = m_painter.Colours().base;
    for (int y = 0; y < image.height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (line[x] == background)
                continue;
            if (x < startOf(kMiddle))
                overhang |= kOverhangLeft;
            if (x >= startOf(kMiddle + 1))
                overhang |= kOverhangRight;
            if (x < startOf(kMiddle - 1) || x >= startOf(kMiddle + 2))
                overhang |= kOverhangTooWide;
        }
    }
    return overhang;
}

/// @return kNoCell without an image
std::int32_t GlyphCells::StoreMiddle(const QImage &image, int fractionX)
{
    if (image.isNull())
        return kNoCell;
    if (m_pixels.size() > m_maxPixels)
        Forget();
    const auto place = std::int32_t(m_pixels.size());
    const int start = m_layout.RowStart(kMiddle, fractionX);
    const int x = PixelAt(start + kMiddle * m_layout.ColumnParts());
    for (int y = 0; y < m_layout.Height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(kRoomAbove + y));
        m_pixels.insert(m_pixels.end(), line + x, line + x + m_layout.Width(fractionX));
    }
    return place;
}

std::int32_t GlyphCells::LoneCell(CellStyle style, char character, int fractionX, int fractionY)
{
    const Neighbours cells{.text = {' ', character, ' '},
        .styles = {kCellPlain, style, kCellPlain},
        .fractionX = fractionX,
        .fractionY = fractionY};
    const std::int32_t place = StoreMiddle(Draw(cells), fractionX);
    m_places[Index(style, character, fractionX, fractionY)] = place;
    return place;
}

bool GlyphCells::FindPlaces(std::span<const char> text, std::span<const CellStyle> styles,
    RowOrigin origin, std::span<std::int32_t> places)
{
    // When all cells are forgotten in the middle of a row, the places found before mean nothing any
    // more. There is room for the few cells of one row at the second attempt.
    constexpr int kAttempts = 2;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const int generation = m_generation;
        if (!FindPlacesOnce(text, styles, origin, places))
            return false;
        if (generation == m_generation)
            return true;
    }
    return false;
}

/// A cell that is known takes one look at the table, and most rows have no other cells.
bool GlyphCells::FindPlacesOnce(std::span<const char> text, std::span<const CellStyle> styles,
    RowOrigin origin, std::span<std::int32_t> places)
{
    const auto fractionY = std::size_t(FractionAt(origin.topY));
    const std::size_t *const styleStarts = m_styleStarts[fractionY].data();
    const std::int32_t *const table = m_places.data();
    const auto step = unsigned(m_layout.ColumnParts());
    auto parts = unsigned(origin.columnsX);
    std::size_t firstOther = text.size();
    for (std::size_t column = 0; column < text.size(); ++column, parts += step) {
        const std::size_t fractionStart = std::size_t{parts % kPixelParts} * 256;
        const std::int32_t place = table[styleStarts[styles[column]] + fractionStart
            + static_cast<unsigned char>(text[column])];
        places[column] = place;
        if (place < 0)
            firstOther = std::min(firstOther, column);
    }
    return FindOtherPlaces(firstOther, text, styles, origin, places);
}

/// Finds the cells that are not in the table: those that have never been drawn, and those that ink
/// leaves, which changes the cells beside them too.
bool GlyphCells::FindOtherPlaces(std::size_t first, std::span<const char> text,
    std::span<const CellStyle> styles, RowOrigin origin, std::span<std::int32_t> places)
{
    const int fractionY = FractionAt(origin.topY);
    std::size_t besideEnd = first; // the last such character has ink in the columns before this one
    for (std::size_t column = first; column < text.size(); ++column) {
        const bool isUnknown = places[column] < 0;
        if (!isUnknown && column >= besideEnd)
            continue;
        const int fractionX = FractionAt(origin.columnsX + int(column) * m_layout.ColumnParts());
        const std::uint8_t overhang
            = isUnknown ? OverhangOf(text[column], fractionX) : std::uint8_t{kOverhangNone};
        if (overhang != kOverhangNone) {
            besideEnd = column + ((overhang & kOverhangRight) != 0 ? 2 : 1);
            if ((overhang & kOverhangLeft) != 0 && column > 0)
                places[column - 1] = CellBesideOverhang(text, styles, column - 1, origin);
            if (column > 0 && places[column - 1] < 0)
                return false;
        }
        if (column < besideEnd)
            places[column] = CellBesideOverhang(text, styles, column, origin);
        else if (isUnknown)
            places[column] = LoneCell(styles[column], text[column], fractionX, fractionY);
        if (places[column] < 0)
            return false;
    }
    return true;
}

std::int32_t GlyphCells::CellBesideOverhang(std::span<const char> text,
    std::span<const CellStyle> styles, std::size_t column, RowOrigin origin)
{
    const int parts = origin.columnsX + int(column) * m_layout.ColumnParts();
    Neighbours cells{.fractionX = FractionAt(parts)};
    std::uint8_t overhangs = 0;
    const auto take = [&](std::size_t place, std::size_t from, std::uint8_t ifOverhang) {
        const int offset = (int(place) - 1) * m_layout.ColumnParts();
        const std::uint8_t overhang = OverhangOf(text[from], FractionAt(parts + offset));
        if ((overhang & ifOverhang) != ifOverhang)
            return; // a neighbour without ink here makes no difference
        cells.text[place] = text[from];
        cells.styles[place] = styles[from];
        overhangs |= overhang;
        if (HasLines(styles[from]))
            cells.fractionY = FractionAt(origin.topY);
    };
    take(1, column, kOverhangNone);
    if (column > 0)
        take(0, column - 1, kOverhangRight);
    if (column + 1 < text.size())
        take(2, column + 1, kOverhangLeft);
    if ((overhangs & kOverhangTooWide) != 0)
        return kNoCell;
    const auto found = m_placesBeside.find(cells.Key());
    if (found != m_placesBeside.end())
        return found->second;
    const std::int32_t place = StoreMiddle(Draw(cells), cells.fractionX);
    m_placesBeside[cells.Key()] = place;
    return place;
}
