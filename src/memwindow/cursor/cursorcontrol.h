#pragma once

#include "keytable.h"
#include "memorypage.h"
#include "navigation.h"
#include "rowmarks.h"
#include "selection.h"
#include "wheelnotches.h"

#include <QObject>
#include <QPoint>
#include <QTimer>

#include <cstdint>
#include <optional>

class QKeyEvent;
class QMouseEvent;
class QWheelEvent;
class QWidget;

/// The edit cursor and the selection of one window, moved by keys and mouse.
///
/// One rule for all cursor keys: the page first moves to a cursor that is out of sight, then the
/// key moves the cursor, then the page scrolls until the cursor's row is wholly visible. A
/// selection ends only by Escape, another selection or a followed pointer. GUI thread only.
class CursorControl : public QObject, public RowMarks {
    Q_OBJECT

public:
    explicit CursorControl(MemoryPage &page);

    [[nodiscard]] const EditCursor &Cursor() const { return m_cursor; }
    [[nodiscard]] const Selection &Selected() const { return m_selection; }

    /// A cursor key; with Shift the selection goes along. @param key  Up to RowEnd, or with Ctrl
    /// FirstPage and LastPage in the place of RowHome and RowEnd
    void Move(MemKey key, const QKeyEvent *event);
    /// Page Up or Page Down is released: reads the page.
    void ReleasePageKey();
    /// The view has the focus now: its cursor looks different.
    void TakeFocus() { m_page.RepaintRow(m_cursor.address); }
    /// The view loses the focus: keys that are held are released elsewhere.
    void LoseFocus();
    /// Shift goes down: a selection begins at the cursor. Unless a shifted move follows, the
    /// selection that was there comes back with DropShift.
    void PressShift();
    /// Another key than a shifted move is pressed.
    void DropShift();
    void ReleaseShift();

    /// Mouse events of the viewport; only the left button counts.
    void PressMouse(const QMouseEvent *event);
    void DragMouse(const QMouseEvent *event);
    void ReleaseMouse();
    /// While a drag is held outside the viewport the page moves under it.
    void AutoScroll(const QWidget *viewport);
    [[nodiscard]] QTimer &AutoScrollTimer() { return m_autoScrollTimer; }
    void Wheel(QWheelEvent *event);

    /// Puts the cursor somewhere; the page stays.
    void Place(const EditCursor &cursor);
    /// Puts the cursor on a typed byte's neighbour and lets the page follow it.
    void Follow(const CursorMove &move);
    /// Moves the page to a cursor that is out of sight, so that what is typed can be seen.
    void Reveal();
    /// Selects first .. last and leaves the cursor.
    void Select(std::uint64_t first, std::uint64_t last);
    void ClearSelection();

    /// The moves that the arrow keys make from a cursor.
    [[nodiscard]] Navigation Keys() const;
    /// Where the menu key opens the menu: the cell below the cursor, or the nearest one on show.
    [[nodiscard]] QPoint MenuCell() const;

    [[nodiscard]] SelectedCells SelectionOn(std::uint64_t rowAddress) const override;
    [[nodiscard]] CursorCells CursorOn(std::uint64_t rowAddress) const override;

signals:
    /// The cursor was moved by a user or a jump.
    void Moved();

private:
    [[nodiscard]] EditCursor CursorAt(QPoint position) const;
    [[nodiscard]] CursorMove MoveOf(MemKey key) const;
    [[nodiscard]] std::optional<std::uint64_t> BaseInSight(std::uint64_t address) const;
    void MoveCursor(const EditCursor &cursor, bool extendSelection);
    void ArriveAt(std::uint64_t base, bool placeCursor);

    MemoryPage &m_page;
    EditCursor m_cursor;
    Selection m_selection;
    std::optional<Selection> m_beforeShift; // the selection before Shift was pressed alone
    WheelNotches m_wheel;
    QTimer m_autoScrollTimer;
    QPoint m_pressPoint;
    bool m_isShiftDown = false;   // the key repeats without having been released
    bool m_isSelecting = false;   // a mouse drag is under way
    bool m_isPageKeyHeld = false; // the page moved without being read
};
