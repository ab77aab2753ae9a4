#include "rowpainter.h"

#include <QPaintEngine>
#include <QPainter>

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <utility>

namespace {

/// Cells up to this width are copied by code instantiated for each width.
constexpr std::size_t kMaxCellWidth = 32;
using CopyCell = RowPainter::CopyCell;

template <std::size_t Width> void CopyCellOf(QRgb *to, const QRgb *from, qsizetype stride, int rows)
{
    constexpr std::size_t kBytes = Width * sizeof(QRgb);
    constexpr std::size_t kHalf = 16; // two copies that overlap are faster than three that do not
#pragma GCC unroll 4
    for (int y = 0; y < rows; ++y, to += stride, from += Width) {
        if constexpr (kBytes > kHalf && kBytes < 2 * kHalf) {
            std::memcpy(to, from, kHalf);
            std::memcpy(to + Width - 4, from + Width - 4, kHalf);
        } else {
            std::memcpy(to, from, kBytes);
        }
    }
}

template <std::size_t... Widths>
constexpr std::array<CopyCell, sizeof...(Widths)> CopiersFor(std::index_sequence<Widths...>)
{
    return {CopyCellOf<Widths>...};
}

constexpr auto kCopiers = CopiersFor(std::make_index_sequence<kMaxCellWidth + 1>());

} // namespace

void RowPainter::SetFont(const QFont &font, int characterWidthPx, int lineHeightPx)
{
    m_plain.SetFont(font, characterWidthPx, lineHeightPx);
    m_cells.SetFont(font, characterWidthPx, lineHeightPx);
}

void RowPainter::SetColours(const RowColours &colours)
{
    if (colours == m_plain.Colours())
        return;
    m_plain.SetColours(colours);
    m_cells.SetColours(colours);
}

void RowPainter::Begin(const QPainter &painter, int viewportWidthPx)
{
    m_viewportWidthPx = viewportWidthPx;
    m_useCells = false;
    if (painter.paintEngine()->type() != QPaintEngine::Raster)
        return;
    const std::optional<DeviceGrid> grid = DeviceGrid::Of(painter.deviceTransform());
    if (!grid)
        return;
    m_grid = *grid;
    m_cells.SetScale(m_grid.scale);
    m_useCells = m_cells.AreUsable() && ChooseCopiers();
}

/// @return false when cells are too wide to be copied
bool RowPainter::ChooseCopiers()
{
    for (int fraction = 0; fraction < kPixelParts; ++fraction) {
        const auto width = std::size_t(m_cells.Layout().Width(fraction));
        if (width > kMaxCellWidth)
            return false;
        m_copiers[std::size_t(fraction)] = kCopiers[width];
    }
    return true;
}

void RowPainter::Draw(QPainter &painter, int row, const RowPicture &picture)
{
    const int top = row * m_plain.LineHeight();
    if (m_useCells) {
        const RowOrigin origin{m_grid.PartsAtX(m_plain.LeftMargin()), m_grid.PartsAtY(top)};
        if (ComposeStrip(picture, origin))
            return DrawStrip(painter, origin.topY);
    }
    m_plain.Draw(painter, top, m_viewportWidthPx, picture);
}

/// Makes room for a row of so many columns, blank where nothing is known to be kept.
/// @return false when there is no such image
bool RowPainter::PrepareStrip(int columns, int firstColumnParts)
{
    const int cellsEnd = PixelAt(firstColumnParts + columns * m_cells.Layout().ColumnParts());
    const QSize size(std::max(RowWidth(), cellsEnd), m_cells.Layout().Height());
    if (m_strip.size() == size && m_stripColumns == columns && m_stripFirstParts == firstColumnParts
        && m_stripGeneration == m_cells.Generation())
        return true;
    if (m_strip.size() != size)
        m_strip = QImage(size, QImage::Format_RGB32);
    if (m_strip.isNull())
        return false;
    m_strip.fill(m_plain.Colours().base);
    m_stripPlaces.fill(-1);
    m_stripColumns = columns;
    m_stripFirstParts = firstColumnParts;
    m_stripGeneration = m_cells.Generation();
    return true;
}

void RowPainter::StyleColumns(const RowPicture &picture, int columns)
{
    const auto styles = std::span(m_styles).first(std::size_t(columns));
    std::fill(styles.begin(), styles.end(), kCellPlain);
    const auto columnsOf = [&](int first, int count) {
        first = std::min(first, columns);
        return styles.subspan(std::size_t(first), std::size_t(std::min(count, columns - first)));
    };
    for (const CellRange &range : picture.selection.Ranges()) {
        for (CellStyle &style : columnsOf(range.first, range.count))
            style = kCellSelected;
    }
    for (const ColourRun &run : picture.line.Runs()) {
        for (CellStyle &style : columnsOf(run.start, run.length))
            style = CellStyle(style + kCellFirstAge * run.age);
    }
    for (const int column : {picture.cursorHexColumn, picture.cursorTextColumn}) {
        if (column >= 0 && column < columns)
            styles[std::size_t(column)] |= picture.isCursorHollow ? kCellFramed : kCellCursor;
    }
}

/// @return false when the row cannot be made of cells
bool RowPainter::ComposeStrip(const RowPicture &picture, RowOrigin origin)
{
    const int columns = picture.line.length + 1; // a blank catches the last character's ink
    // Left of the first column and right of the blank there is no cell.
    if (picture.cursorTextColumn >= columns
        || m_cells.ReachesLeft(picture.line.text[0], FractionAt(origin.columnsX)))
        return false;
    StyleColumns(picture, columns);
    const auto count = std::size_t(columns);
    const bool found = m_cells.FindPlaces(std::span(picture.line.text).first(count),
        std::span(m_styles).first(count), origin, std::span(m_places).first(count));
    int parts = origin.columnsX - RowLeft() * kPixelParts;
    if (!found || !PrepareStrip(columns, parts))
        return false;
    auto *const pixels = reinterpret_cast<QRgb *>(m_strip.bits());
    const qsizetype stride = m_strip.bytesPerLine() / qsizetype(sizeof(QRgb));
    const QRgb *const pictures = m_cells.Pixels(0);
    const int height = m_cells.Layout().Height();
    const int step = m_cells.Layout().ColumnParts();
    const auto copiers = m_copiers;
    for (std::size_t column = 0; column < count; ++column, parts += step) {
        const std::int32_t place = m_places[column];
        if (place == m_stripPlaces[column])
            continue;
        m_stripPlaces[column] = place;
        copiers[std::size_t(FractionAt(parts))](
            pixels + PixelAt(parts), pictures + place, stride, height);
    }
    return true;
}

void RowPainter::DrawStrip(QPainter &painter, int topParts) const
{
    constexpr qreal kParts = kPixelParts;
    const QPointF target(
        RowLeft() - m_grid.originX / kParts, PixelAt(topParts) - m_grid.originY / kParts);
    const CellLayout::Window window = m_cells.Layout().WindowOf(FractionAt(topParts));
    const QRect lines(0, window.first, RowWidth(), window.count);
    if (m_grid.scale == kPixelParts && lines == m_strip.rect()) { // slower with a source rectangle
        painter.drawImage(target, m_strip);
        return;
    }
    // Pixel to pixel: the painter's own scale is taken out for the copy.
    const QTransform transform = painter.worldTransform();
    painter.scale(kParts / m_grid.scale, kParts / m_grid.scale);
    painter.drawImage(target, m_strip, lines);
    painter.setWorldTransform(transform);
}
