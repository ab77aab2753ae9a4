#pragma once

#include "cellmap.h"
#include "viewgeometry.h"

#include <cstdint>

/// The digit that typing replaces.
struct EditCursor {
    std::uint64_t address = 0;
    int digit = 0;             ///< 0 or 1 within its byte; 1 in the text column
    bool inTextColumn = false; ///< the last mouse press fell into the text column
    bool operator==(const EditCursor &) const = default;
};

/// Where a key takes the cursor and the page.
struct CursorMove {
    EditCursor cursor;
    int scrollRows = 0;         ///< > 0 towards lower addresses
    std::uint64_t pageBase = 0; ///< address of the top row, where no rows are scrolled
};

/// Cursor movement over one page: a cursor and a key give a new cursor and the rows to scroll.
class Navigation {
public:
    /// @param page  the page on screen, possibly cut at the end of the address space
    Navigation(const ViewGeometry &geometry, PageRange page, bool bigEndian)
        : m_geometry(geometry)
        , m_page(page)
        , m_bigEndian(bigEndian)
        , m_cells(geometry, page.base, bigEndian)
    {
    }

    /// At the top row the page scrolls instead and the cursor keeps its address.
    [[nodiscard]] CursorMove Up(EditCursor cursor) const;
    /// The cursor never enters the last, partly visible row: the page scrolls instead.
    [[nodiscard]] CursorMove Down(EditCursor cursor) const;
    /// To the next digit on the screen, or to the next character.
    [[nodiscard]] CursorMove Right(EditCursor cursor) const;
    [[nodiscard]] CursorMove Left(EditCursor cursor) const;
    [[nodiscard]] CursorMove RowHome(EditCursor cursor) const;
    [[nodiscard]] CursorMove RowEnd(EditCursor cursor) const;
    [[nodiscard]] CursorMove PageUp(EditCursor cursor) const;
    [[nodiscard]] CursorMove PageDown(EditCursor cursor) const;
    /// To the start of the address space.
    [[nodiscard]] CursorMove First(EditCursor cursor) const;
    /// To its end; the last row is wholly visible then.
    [[nodiscard]] CursorMove Last(EditCursor cursor) const;

private:
    [[nodiscard]] CursorMove Stay(EditCursor cursor) const { return {cursor, 0, m_page.base}; }
    [[nodiscard]] CursorMove ForwardTo(EditCursor cursor, std::uint64_t address) const;
    [[nodiscard]] CursorMove BackTo(EditCursor cursor, std::uint64_t address) const;
    [[nodiscard]] std::uint64_t PageStep() const;

    const ViewGeometry &m_geometry;
    PageRange m_page;
    bool m_bigEndian;
    CellMap m_cells;
};
