#include "cursorcontrol.h"

#include <QCursor>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>

#include <algorithm>
#include <utility>

namespace {

constexpr int kAutoScrollMs = 20;
constexpr int kDragStartPx = 5;

} // namespace

CursorControl::CursorControl(MemoryPage &page)
    : m_page(page)
{
    m_autoScrollTimer.setInterval(kAutoScrollMs);
    connect(&page, &MemoryPage::Arrived, this, &CursorControl::ArriveAt);
}

Navigation CursorControl::Keys() const
{
    return {m_page.Geometry(), m_page.Range(), m_page.IsBigEndian()};
}

CursorMove CursorControl::MoveOf(MemKey key) const
{
    const Navigation keys = Keys();
    switch (key) {
    case MemKey::Up:
        return keys.Up(m_cursor);
    case MemKey::Down:
        return keys.Down(m_cursor);
    case MemKey::Left:
        return keys.Left(m_cursor);
    case MemKey::Right:
        return keys.Right(m_cursor);
    case MemKey::PageUp:
        return keys.PageUp(m_cursor);
    case MemKey::PageDown:
        return keys.PageDown(m_cursor);
    case MemKey::RowHome:
        return keys.RowHome(m_cursor);
    case MemKey::RowEnd:
        return keys.RowEnd(m_cursor);
    case MemKey::FirstPage:
        return keys.First(m_cursor);
    default:
        return keys.Last(m_cursor);
    }
}

void CursorControl::Move(MemKey key, const QKeyEvent *event)
{
    if (m_page.IsEmpty())
        return;
    const bool extends = event->modifiers().testFlag(Qt::ShiftModifier);
    if (extends)
        m_beforeShift.reset(); // the selection that Shift has begun stays
    const bool isPageKey = key == MemKey::PageUp || key == MemKey::PageDown;
    const bool isJump = event->modifiers().testFlag(Qt::ControlModifier)
        && (key == MemKey::RowHome || key == MemKey::RowEnd);
    if (isJump)
        key = key == MemKey::RowHome ? MemKey::FirstPage : MemKey::LastPage;
    const std::uint64_t oldBase = m_page.Base();
    if (!isJump) {
        if (const auto base = BaseInSight(m_cursor.address))
            m_page.MoveTo(*base, PageRead::None);
    }
    const CursorMove move = MoveOf(key);
    if (move.scrollRows != 0)
        m_page.ScrollBy(move.scrollRows, PageRead::None);
    else if (move.pageBase != m_page.Base())
        m_page.MoveTo(move.pageBase, PageRead::None);
    MoveCursor(move.cursor, extends);
    if (isPageKey) {
        // The page moves at once, but is read only when the key is released: a slow probe would
        // stutter under the key's repetition.
        m_isPageKeyHeld = m_isPageKeyHeld || m_page.Base() != oldBase;
        return;
    }
    Reveal();
    if (m_page.Base() != oldBase)
        m_page.Refresh(PageRead::Missing);
}

/// The page that shows the row of an address; nothing when the row is on show already, if only in
/// part.
std::optional<std::uint64_t> CursorControl::BaseInSight(std::uint64_t address) const
{
    const ViewGeometry &geometry = m_page.Geometry();
    const std::int64_t row = m_page.Cells().RowOfAddress(address);
    if (row >= 0 && row < std::int64_t{geometry.VisibleRows()})
        return std::nullopt;
    return std::min(address - address % geometry.BytesPerRow(), geometry.LastScrollBase());
}

void CursorControl::Reveal()
{
    if (m_page.IsEmpty())
        return;
    if (const auto base = BaseInSight(m_cursor.address)) {
        m_page.MoveTo(*base, PageRead::Missing);
        return;
    }
    // A row that the lower edge cuts off is scrolled up.
    const auto lastWhole = std::max<std::int64_t>(m_page.Geometry().VisibleRows(), 2) - 2;
    const std::int64_t row = m_page.Cells().RowOfAddress(m_cursor.address);
    if (row > lastWhole)
        m_page.ScrollBy(int(lastWhole - row));
}

void CursorControl::ReleasePageKey()
{
    m_isPageKeyHeld = false;
    m_page.Refresh(PageRead::Whole);
}

void CursorControl::LoseFocus()
{
    m_page.RepaintRow(m_cursor.address);
    ReleaseShift();
    if (m_isPageKeyHeld)
        ReleasePageKey();
}

void CursorControl::PressShift()
{
    if (std::exchange(m_isShiftDown, true))
        return;
    m_beforeShift = m_selection;
    m_selection.Start(m_cursor.address);
    m_page.RepaintAll();
}

void CursorControl::DropShift()
{
    if (!m_beforeShift)
        return;
    m_selection = *m_beforeShift;
    m_beforeShift.reset();
    m_page.RepaintAll();
}

void CursorControl::ReleaseShift()
{
    m_isShiftDown = false;
    DropShift();
}

void CursorControl::MoveCursor(const EditCursor &cursor, bool extendSelection)
{
    const std::uint64_t oldAddress = m_cursor.address;
    m_cursor = cursor;
    m_page.RepaintRow(oldAddress);
    m_page.RepaintRow(cursor.address);
    if (extendSelection) {
        m_selection.ExtendTo(cursor.address, m_page.Cells());
        m_page.RepaintAll();
    }
    emit Moved();
}

void CursorControl::Place(const EditCursor &cursor)
{
    MoveCursor(cursor, false);
}

void CursorControl::Follow(const CursorMove &move)
{
    if (move.scrollRows != 0)
        m_page.ScrollBy(move.scrollRows);
    MoveCursor(move.cursor, false);
}

/// On the last byte of the first item. Near the end of the address space the cursor goes where a
/// whole page would show it.
void CursorControl::ArriveAt(std::uint64_t base, bool placeCursor)
{
    if (!placeCursor)
        return;
    const std::uint64_t top = std::min(base, m_page.Geometry().LastPageBase());
    const auto itemBytes = unsigned(m_page.Geometry().BytesPerItem());
    MoveCursor({top + itemBytes - 1, m_cursor.inTextColumn ? 1 : 0, m_cursor.inTextColumn}, false);
}

/// The cursor position that a mouse position stands for.
EditCursor CursorControl::CursorAt(QPoint position) const
{
    const CellMap cells = m_page.Cells();
    const Cell cell = cells.CellAtPixel(position.x(), position.y());
    return {cells.CellAddress(cell), cells.CellDigit(cell),
        cell.column >= m_page.Geometry().TextColumnStart()};
}

void CursorControl::PressMouse(const QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || m_page.IsEmpty())
        return;
    const bool extends = event->modifiers().testFlag(Qt::ShiftModifier);
    if (extends)
        m_beforeShift.reset();
    else
        DropShift();
    m_pressPoint = event->position().toPoint();
    MoveCursor(CursorAt(m_pressPoint), extends);
}

void CursorControl::DragMouse(const QMouseEvent *event)
{
    if (!event->buttons().testFlag(Qt::LeftButton) || m_page.IsEmpty())
        return;
    const QPoint position = event->position().toPoint();
    EditCursor cursor = CursorAt(position);
    cursor.inTextColumn = m_cursor.inTextColumn; // decided by the press
    MoveCursor(cursor, false);
    if (m_isSelecting) {
        m_selection.ExtendTo(cursor.address, m_page.Cells());
    } else if ((position - m_pressPoint).manhattanLength() > kDragStartPx) {
        m_isSelecting = true;
        m_selection.SetEnds(CursorAt(m_pressPoint).address, cursor.address);
        m_selection.Normalise(m_page.Cells());
        m_autoScrollTimer.start();
    } else {
        return;
    }
    m_page.RepaintAll();
}

void CursorControl::ReleaseMouse()
{
    m_isSelecting = false;
    m_autoScrollTimer.stop();
}

void CursorControl::AutoScroll(const QWidget *viewport)
{
    const QPoint position = viewport->mapFromGlobal(QCursor::pos());
    if (position.y() >= 0 && position.y() <= viewport->height())
        return;
    m_selection.ExtendTo(CursorAt(position).address, m_page.Cells());
    m_page.ScrollBy(position.y() < 0 ? 1 : -1);
    m_page.RepaintAll();
}

void CursorControl::Wheel(QWheelEvent *event)
{
    event->accept();
    const int units = event->angleDelta().y();
    if (units == 0)
        return;
    if (const int rows = m_wheel.RowsFor(units))
        m_page.ScrollBy(rows);
}

void CursorControl::Select(std::uint64_t first, std::uint64_t last)
{
    m_beforeShift.reset();
    m_selection.SetEnds(first, last);
    m_page.RepaintAll();
}

void CursorControl::ClearSelection()
{
    m_beforeShift.reset();
    m_selection.Clear();
    m_page.RepaintAll();
}

QPoint CursorControl::MenuCell() const
{
    const CellMap cells = m_page.Cells();
    const ViewGeometry &geometry = m_page.Geometry();
    const auto lastRow = std::max<std::int64_t>(geometry.VisibleRows(), 1) - 1;
    const auto row = std::clamp<std::int64_t>(cells.RowOfAddress(m_cursor.address) + 1, 0, lastRow);
    const int column = m_cursor.inTextColumn ? cells.TextColumn(m_cursor.address)
                                             : cells.HexColumn(m_cursor.address, m_cursor.digit);
    return {geometry.LeftMargin() + column * geometry.CharacterWidth(),
        int(row) * geometry.LineHeight()};
}

SelectedCells CursorControl::SelectionOn(std::uint64_t rowAddress) const
{
    return m_selection.CellsOn(rowAddress, m_page.Geometry().BytesPerRow(), m_page.Cells());
}

CursorCells CursorControl::CursorOn(std::uint64_t rowAddress) const
{
    const std::uint64_t length = m_page.Geometry().BytesPerRow();
    if (m_cursor.address < rowAddress || m_cursor.address - rowAddress >= length)
        return {};
    const CellMap cells = m_page.Cells();
    return {cells.HexColumn(m_cursor.address, m_cursor.digit), cells.TextColumn(m_cursor.address)};
}
