#include "glyphcells.h"

#include <QPainter>

#include <algorithm>
#include <cstddef>

namespace {

/// Past this many pixels the cells are forgotten; those in use come back at once.
constexpr std::size_t kMaxPixels = 1U << 19;
constexpr int kMiddle = 2; // column of the middle cell; blank columns catch ink around the three

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
    return key;
}

void GlyphCells::SetFont(const QFont &font, int widthPx, int heightPx)
{
    m_painter.SetFont(font, widthPx, heightPx);
    Forget();
}

void GlyphCells::SetColours(const RowColours &colours)
{
    if (colours == m_painter.Colours())
        return;
    m_painter.SetColours(colours);
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
    m_overhangs.fill(kOverhangUnknown);
    m_places.fill(kNotRendered);
    m_placesBeside.clear();
    m_pixels.clear();
    ++m_generation;
    m_deviceWidth = qRound(m_painter.CharacterWidth() * m_scale);
    m_deviceHeight = qRound(m_painter.LineHeight() * m_scale);
}

/// Five columns, the outer ones blank, drawn as a row of the view.
QImage GlyphCells::Draw(const Neighbours &cells)
{
    constexpr int kColumns = 5;
    ComposedLine line;
    line.length = kColumns;
    std::fill_n(line.text.begin(), kColumns, ' ');
    RowPicture picture{.line = line, .selection = {}};
    for (int i = 0; i < 3; ++i) {
        const CellStyle style = cells.styles[std::size_t(i)];
        const int column = kMiddle - 1 + i;
        line.text[std::size_t(column)] = cells.text[std::size_t(i)];
        if ((style & kCellCursor) != 0)
            (picture.cursorHexColumn < 0 ? picture.cursorHexColumn : picture.cursorTextColumn)
                = column;
        if ((style & kCellSelected) != 0)
            picture.selection.Add(column, 1);
        if (const std::uint8_t age = AgeOf(style))
            line.runs[std::size_t(line.runCount++)] = {column, 1, age};
    }
    QImage image(kColumns * m_deviceWidth, m_deviceHeight, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setFont(m_painter.Font());
    painter.scale(m_scale, m_scale);
    m_painter.Draw(painter, 0, kColumns * m_painter.CharacterWidth(), picture);
    return image;
}

/// Draws a character alone and looks where its ink ends. What leaves the row is cut off anyway.
std::uint8_t GlyphCells::Measure(char character)
{
    std::uint8_t &overhang = m_overhangs[static_cast<unsigned char>(character)];
    overhang = kOverhangNone;
    if (m_painter.LeavesGrid(character)) {
        overhang = kOverhangTooWide | kOverhangLeft | kOverhangRight;
        return overhang;
    }
    Neighbours cells;
    cells.text[1] = character;
    const QImage image = Draw(cells);
    const QRgb background = m_painter.Colours().base;
    for (int y = 0; y < image.height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (line[x] == background)
                continue;
            const int column = x / m_deviceWidth;
            if (column < kMiddle)
                overhang |= kOverhangLeft;
            if (column > kMiddle)
                overhang |= kOverhangRight;
            if (column < kMiddle - 1 || column > kMiddle + 1)
                overhang |= kOverhangTooWide;
        }
    }
    return overhang;
}

std::int32_t GlyphCells::StoreMiddle(const QImage &image)
{
    if (m_pixels.size() > kMaxPixels)
        Forget();
    const auto place = std::int32_t(m_pixels.size());
    for (int y = 0; y < m_deviceHeight; ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        const QRgb *cell = line + std::ptrdiff_t{kMiddle} * m_deviceWidth;
        m_pixels.insert(m_pixels.end(), cell, cell + m_deviceWidth);
    }
    return place;
}

std::int32_t GlyphCells::LoneCell(CellStyle style, char character)
{
    if ((OverhangOf(character) & kOverhangTooWide) != 0)
        return kNoCell;
    Neighbours cells;
    cells.text[1] = character;
    cells.styles[1] = style;
    const std::int32_t place = StoreMiddle(Draw(cells));
    m_places[Index(style, character)] = place;
    return place;
}

bool GlyphCells::FindPlaces(
    std::span<const char> text, std::span<const CellStyle> styles, std::span<std::int32_t> places)
{
    // When all cells were forgotten on the way, the first places are void; with the few cells of
    // one row there is room the next time.
    constexpr int kAttempts = 2;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const int generation = m_generation;
        if (!FindPlacesOnce(text, styles, places))
            return false;
        if (generation == m_generation)
            return true;
    }
    return false;
}

bool GlyphCells::FindPlacesOnce(
    std::span<const char> text, std::span<const CellStyle> styles, std::span<std::int32_t> places)
{
    std::uint8_t left = kOverhangNone;
    std::uint8_t middle = OverhangOf(text[0]);
    for (std::size_t column = 0; column < text.size(); ++column) {
        const std::uint8_t right
            = column + 1 < text.size() ? OverhangOf(text[column + 1]) : std::uint8_t{kOverhangNone};
        std::int32_t place = m_places[Index(styles[column], text[column])];
        if (((left & kOverhangRight) | (right & kOverhangLeft)) != 0)
            place = CellBesideOverhang(text, styles, column);
        else if (place < 0)
            place = LoneCell(styles[column], text[column]);
        if (place < 0)
            return false;
        places[column] = place;
        left = middle;
        middle = right;
    }
    return true;
}

std::int32_t GlyphCells::CellBesideOverhang(
    std::span<const char> text, std::span<const CellStyle> styles, std::size_t column)
{
    Neighbours cells;
    std::uint8_t overhangs = 0;
    bool anyAge = false;
    const auto take = [&](std::size_t place, std::size_t from, std::uint8_t ifOverhang) {
        const std::uint8_t overhang = OverhangOf(text[from]);
        if ((overhang & ifOverhang) != ifOverhang)
            return; // a neighbour without ink here makes no difference
        cells.text[place] = text[from];
        cells.styles[place] = styles[from];
        overhangs |= overhang;
        anyAge = anyAge || AgeOf(styles[from]) != 0;
    };
    take(1, column, kOverhangNone);
    if (column > 0)
        take(0, column - 1, kOverhangRight);
    if (column + 1 < text.size())
        take(2, column + 1, kOverhangLeft);
    // A background of its own is painted over ink at the edge of a run, but not inside the run;
    // three cells do not tell the one from the other.
    const RowColours &colours = m_painter.Colours();
    if ((overhangs & kOverhangTooWide) != 0 || (anyAge && colours.runBackground != colours.base))
        return kNoCell;
    const auto found = m_placesBeside.find(cells.Key());
    if (found != m_placesBeside.end())
        return found->second;
    const std::int32_t place = StoreMiddle(Draw(cells));
    m_placesBeside[cells.Key()] = place;
    return place;
}
