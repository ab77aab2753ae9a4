#include "rowpainter.h"

#include <QPaintEngine>
#include <QPainter>
#include <QtMath>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>
#include <utility>

namespace {

bool IsWhole(qreal value)
{
    return value == std::floor(value);
}

/// Device pixels per pixel of a painter that scales both directions alike; 0 for any other.
qreal UniformScale(const QTransform &transform)
{
    const bool uniform
        = transform.type() <= QTransform::TxScale && transform.m11() == transform.m22();
    return uniform && transform.m11() > 0 ? transform.m11() : 0;
}

/// Widths up to this one are copied by code made for them.
constexpr std::size_t kMaxCellWidth = 32;
using CopyCell = void (*)(QRgb *, const QRgb *, qsizetype, int);

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
    const QTransform transform = painter.deviceTransform();
    m_scale = UniformScale(transform);
    const qreal cellWidth = m_scale * m_plain.CharacterWidth();
    // Cells can be copied where every one of them starts and ends on a whole device pixel.
    m_useCells = painter.paintEngine()->type() == QPaintEngine::Raster && m_scale > 0
        && IsWhole(cellWidth) && cellWidth <= qreal(kMaxCellWidth)
        && IsWhole(m_scale * m_plain.LineHeight()) && IsWhole(m_scale * m_plain.LeftMargin())
        && IsWhole(transform.dx()) && IsWhole(transform.dy());
    if (m_useCells)
        m_cells.SetScale(m_scale);
}

void RowPainter::Draw(QPainter &painter, int row, const RowPicture &picture)
{
    const int top = row * m_plain.LineHeight();
    if (m_useCells && ComposeStrip(picture))
        DrawStrip(painter, top);
    else
        m_plain.Draw(painter, top, m_viewportWidthPx, picture);
}

/// Makes room for a row of so many columns, blank where nothing is known to be kept.
void RowPainter::PrepareStrip(int columns)
{
    const int cellsEnd = StripLeft() + columns * m_cells.DeviceWidth();
    const QSize size(
        std::max(qCeil(m_viewportWidthPx * m_scale), cellsEnd), m_cells.DeviceHeight());
    if (m_strip.size() == size && m_stripColumns == columns
        && m_stripGeneration == m_cells.Generation())
        return;
    if (m_strip.size() != size)
        m_strip = QImage(size, QImage::Format_RGB32);
    m_strip.fill(m_plain.Colours().base);
    m_stripPlaces.fill(-1);
    m_stripColumns = columns;
    m_stripGeneration = m_cells.Generation();
}

int RowPainter::StripLeft() const
{
    return qRound(m_plain.LeftMargin() * m_scale);
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
            styles[std::size_t(column)] |= kCellCursor;
    }
}

/// @return false when the row cannot be made of cells
bool RowPainter::ComposeStrip(const RowPicture &picture)
{
    const int columns = picture.line.length + 1; // a blank catches the last character's ink
    // Left of the first column and right of the blank there is no cell.
    if (picture.cursorTextColumn >= columns || m_cells.ReachesLeft(picture.line.text[0]))
        return false;
    StyleColumns(picture, columns);
    const auto count = std::size_t(columns);
    const bool found = m_cells.FindPlaces(std::span(picture.line.text).first(count),
        std::span(m_styles).first(count), std::span(m_places).first(count));
    if (!found)
        return false;
    PrepareStrip(columns);
    const int cellWidth = m_cells.DeviceWidth();
    auto *to = reinterpret_cast<QRgb *>(m_strip.bits()) + StripLeft();
    const qsizetype stride = m_strip.bytesPerLine() / qsizetype(sizeof(QRgb));
    const CopyCell copy = kCopiers[std::size_t(cellWidth)];
    for (std::size_t column = 0; column < count; ++column, to += cellWidth) {
        const std::int32_t place = m_places[column];
        if (place == m_stripPlaces[column])
            continue;
        m_stripPlaces[column] = place;
        copy(to, m_cells.Pixels(place), stride, m_cells.DeviceHeight());
    }
    return true;
}

void RowPainter::DrawStrip(QPainter &painter, int topPx)
{
    if (m_scale == 1) {
        painter.drawImage(QPoint(0, topPx), m_strip);
        return;
    }
    // Pixel to pixel: the painter's own scale is taken out for the copy.
    const QTransform transform = painter.worldTransform();
    painter.scale(1 / m_scale, 1 / m_scale);
    painter.drawImage(QPointF(0, topPx * m_scale), m_strip);
    painter.setWorldTransform(transform);
}
