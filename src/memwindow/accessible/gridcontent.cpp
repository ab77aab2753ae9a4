#include "gridcontent.h"

#include "cursorcontrol.h"
#include "memorypage.h"
#include "viewsurface.h"

#include <algorithm>
#include <limits>

namespace {

constexpr int kAddressDigits = 8;
constexpr int kAddressColumn = 0;
constexpr int kFirstItemColumn = 1;

bool Consists(const QString &text, QChar character)
{
    return std::all_of(text.begin(), text.end(), [=](QChar c) { return c == character; });
}

/// The digits of an item in words, where they are not all known.
QString InWords(const QString &digits)
{
    if (Consists(digits, u'-'))
        return QStringLiteral("not readable");
    if (Consists(digits, u'.'))
        return QStringLiteral("not loaded");
    if (digits.contains(u'-') || digits.contains(u'.'))
        return digits + QStringLiteral(" partly not readable");
    return digits;
}

} // namespace

int GridContent::ItemsPerRow() const
{
    return int(m_page.Geometry().BytesPerRow()) / m_page.Geometry().BytesPerItem();
}

int GridContent::RowCount() const
{
    if (m_page.IsEmpty())
        return 0;
    // A view wide enough to show anything has at least two bytes a row.
    const std::uint64_t rows = kAddressSpaceEnd / m_page.Geometry().BytesPerRow();
    return int(std::min<std::uint64_t>(rows, std::numeric_limits<int>::max()));
}

int GridContent::FirstRow() const
{
    return m_page.IsEmpty() ? 0 : int(m_page.Base() / m_page.Geometry().BytesPerRow());
}

int GridContent::ShownRows() const
{
    if (m_page.IsEmpty())
        return 0;
    const std::uint64_t bytesPerRow = m_page.Geometry().BytesPerRow();
    return int((m_page.Range().length + bytesPerRow - 1) / bytesPerRow);
}

int GridContent::ColumnCount() const
{
    return m_page.IsEmpty() ? 0 : kFirstItemColumn + ItemsPerRow() + 1;
}

std::optional<GridCell> GridContent::CellAt(int row, int column) const
{
    const int shownRow = row - FirstRow();
    if (shownRow < 0 || shownRow >= ShownRows() || column < 0 || column >= ColumnCount())
        return std::nullopt;
    const std::uint64_t start
        = m_page.Base() + std::uint64_t(shownRow) * m_page.Geometry().BytesPerRow();
    if (column == kAddressColumn)
        return GridCell{GridCell::Kind::Address, start};
    if (column == ColumnCount() - 1)
        return GridCell{GridCell::Kind::Text, start};
    const int offset = (column - kFirstItemColumn) * m_page.Geometry().BytesPerItem();
    return GridCell{GridCell::Kind::Item, start + std::uint64_t(offset)};
}

std::optional<GridCell> GridContent::CellAt(QPoint place) const
{
    const int row = FirstRow() + place.y() / m_page.Geometry().LineHeight();
    for (int column = 0; column < ColumnCount(); ++column) {
        const std::optional<GridCell> cell = CellAt(row, column);
        if (cell && Rect(*cell).contains(place))
            return cell;
    }
    return std::nullopt;
}

std::uint64_t GridContent::RowStart(const GridCell &cell) const
{
    return m_page.Cells().RowStart(cell.address);
}

int GridContent::RowOf(const GridCell &cell) const
{
    return FirstRow() + int(m_page.Cells().RowOfAddress(cell.address));
}

int GridContent::ColumnOf(const GridCell &cell) const
{
    switch (cell.kind) {
    case GridCell::Kind::Address:
        return kAddressColumn;
    case GridCell::Kind::Text:
        return ColumnCount() - 1;
    default:
        return kFirstItemColumn
            + int(cell.address - RowStart(cell)) / m_page.Geometry().BytesPerItem();
    }
}

bool GridContent::IsShown(const GridCell &cell) const
{
    return !m_page.IsEmpty() && m_page.Range().Contains(cell.address)
        && CellAt(RowOf(cell), ColumnOf(cell)) == cell;
}

/// Character column of the row's line at which the cell begins.
int GridContent::StartColumn(const GridCell &cell) const
{
    switch (cell.kind) {
    case GridCell::Kind::Address:
        return 0;
    case GridCell::Kind::Text:
        return m_page.Cells().TextColumn(cell.address);
    default:
        return m_page.Cells().ItemColumn(cell.address);
    }
}

/// Characters of the row's line that belong to the cell.
int GridContent::Length(const GridCell &cell) const
{
    switch (cell.kind) {
    case GridCell::Kind::Address:
        return kAddressDigits;
    case GridCell::Kind::Text:
        return int(m_page.Geometry().BytesPerRow());
    default:
        return 2 * m_page.Geometry().BytesPerItem();
    }
}

void GridContent::Compose(const GridCell &cell, ComposedLine &line) const
{
    m_surface.ComposeRow(RowStart(cell), line);
    std::fill(line.text.begin() + line.length, line.text.end(), ' ');
}

QString GridContent::Shown(const GridCell &cell) const
{
    ComposedLine line;
    Compose(cell, line);
    return QString::fromLatin1(line.text.data() + StartColumn(cell), Length(cell));
}

QString GridContent::Spoken(const GridCell &cell) const
{
    ComposedLine line;
    Compose(cell, line);
    const int start = StartColumn(cell);
    const int end = start + Length(cell);
    QString shown = QString::fromLatin1(line.text.data() + start, end - start);
    if (cell.kind != GridCell::Kind::Item)
        return shown;
    const bool isChanged = std::any_of(line.Runs().begin(), line.Runs().end(),
        [=](const ColourRun &run) { return run.start >= start && run.start < end; });
    return InWords(shown) + QLatin1String(isChanged ? " changed" : "")
        + QLatin1String(IsSelected(cell) ? " selected" : "");
}

QString GridContent::ShownRange() const
{
    const PageRange range = m_page.Range();
    if (m_page.IsEmpty() || range.length == 0)
        return {};
    return QStringLiteral("%1 to %2")
        .arg(range.base, kAddressDigits, 16, QLatin1Char('0'))
        .arg(range.End() - 1, kAddressDigits, 16, QLatin1Char('0'))
        .toUpper()
        .replace(QStringLiteral("TO"), QStringLiteral("to"));
}

bool GridContent::IsSelected(const GridCell &cell) const
{
    const Selection &selection = m_cursor.Selected();
    if (selection.IsEmpty() || cell.kind == GridCell::Kind::Address)
        return false;
    const bool isItem = cell.kind == GridCell::Kind::Item;
    const std::uint64_t length
        = isItem ? unsigned(m_page.Geometry().BytesPerItem()) : m_page.Geometry().BytesPerRow();
    // A row's text counts as selected when all of it is.
    return isItem
        ? selection.Lower() < cell.address + length && selection.Upper() >= cell.address
        : selection.Lower() <= cell.address && selection.Upper() >= cell.address + length - 1;
}

QRect GridContent::Rect(const GridCell &cell) const
{
    const ViewGeometry &geometry = m_page.Geometry();
    return {m_surface.PlaceOf(cell.address, StartColumn(cell)),
        QSize(Length(cell) * geometry.CharacterWidth(), geometry.LineHeight())};
}

std::optional<GridCell> GridContent::CursorCell() const
{
    const EditCursor &cursor = m_cursor.Cursor();
    if (m_page.IsEmpty() || !m_page.Range().Contains(cursor.address))
        return std::nullopt;
    const CellMap cells = m_page.Cells();
    const GridCell cell = cursor.inTextColumn
        ? GridCell{GridCell::Kind::Text, cells.RowStart(cursor.address)}
        : GridCell{GridCell::Kind::Item, cells.ItemStart(cursor.address)};
    return IsShown(cell) ? std::optional(cell) : std::nullopt;
}

int GridContent::CursorOffset() const
{
    const EditCursor &cursor = m_cursor.Cursor();
    const CellMap cells = m_page.Cells();
    return cursor.inTextColumn ? int(cursor.address - cells.RowStart(cursor.address))
                               : cursor.digit + 2 * cells.ByteInItem(cursor.address);
}

EditCursor GridContent::CursorOn(const GridCell &cell, int offset) const
{
    if (cell.kind == GridCell::Kind::Text) {
        const int last = int(m_page.Geometry().BytesPerRow()) - 1;
        return {cell.address + unsigned(std::clamp(offset, 0, last)), 1, true};
    }
    const int bytesPerItem = m_page.Geometry().BytesPerItem();
    if (cell.kind == GridCell::Kind::Address)
        offset = 0;
    const int position = std::clamp(offset, 0, 2 * bytesPerItem - 1);
    const int byte = m_page.IsBigEndian() ? position / 2 : bytesPerItem - 1 - position / 2;
    return {cell.address + unsigned(byte), position % 2, false};
}
