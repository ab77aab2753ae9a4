#pragma once

#include <QRect>
#include <QString>

#include <cstdint>
#include <optional>
#include <tuple>

class CursorControl;
class MemoryPage;
class ViewSurface;
struct ComposedLine;
struct EditCursor;

/// A cell of the grid. It is known by its address, so that it stays the same cell while the page
/// moves.
struct GridCell {
    enum class Kind : std::uint8_t {
        Address, ///< the address column of a row
        Item,
        Text, ///< the text column of a row
    };
    Kind kind = Kind::Address;
    std::uint64_t address = 0; ///< of the item, or of the row's first byte
    bool operator==(const GridCell &) const = default;
    bool operator<(const GridCell &other) const
    {
        return std::tie(address, kind) < std::tie(other.address, other.kind);
    }
};

/// The view as a table of words: what is on show, for those who hear it.
///
/// A row of the table is a row of the whole address space, so that its number tells one row from
/// another when the page moves; only the rows on show have cells. Columns are the address, the
/// items and the text. Says what the view shows and reads nothing for it. GUI thread only.
class GridContent {
public:
    GridContent(const MemoryPage &page, const CursorControl &cursor, ViewSurface &surface)
        : m_page(page)
        , m_cursor(cursor)
        , m_surface(surface)
    {
    }

    [[nodiscard]] int RowCount() const; ///< of the address space
    [[nodiscard]] int FirstRow() const; ///< on show
    [[nodiscard]] int ShownRows() const;
    [[nodiscard]] int ColumnCount() const; ///< 0 while the view shows nothing
    /// @return nothing outside the rows on show
    [[nodiscard]] std::optional<GridCell> CellAt(int row, int column) const;
    /// The cell at a place of the viewport, in pixels; nothing beside the cells.
    [[nodiscard]] std::optional<GridCell> CellAt(QPoint place) const;
    [[nodiscard]] int RowOf(const GridCell &cell) const;
    [[nodiscard]] int ColumnOf(const GridCell &cell) const;
    [[nodiscard]] bool IsShown(const GridCell &cell) const;

    /// What the view shows in the cell: digits, characters, "--" and ".." for what is not known.
    [[nodiscard]] QString Shown(const GridCell &cell) const;
    /// The same to be spoken: "not readable" for "--". The digits come first.
    [[nodiscard]] QString Spoken(const GridCell &cell) const;
    /// Which addresses are on show.
    [[nodiscard]] QString ShownRange() const;
    [[nodiscard]] bool IsSelected(const GridCell &cell) const;
    [[nodiscard]] QRect Rect(const GridCell &cell) const; ///< in the viewport

    /// The cell that holds the cursor; nothing while the cursor is out of sight.
    [[nodiscard]] std::optional<GridCell> CursorCell() const;
    /// The cursor's place in its cell, in characters.
    [[nodiscard]] int CursorOffset() const;
    /// The cursor on a character of a cell. The address stands for its row's first item.
    [[nodiscard]] EditCursor CursorOn(const GridCell &cell, int offset) const;

private:
    [[nodiscard]] int ItemsPerRow() const;
    [[nodiscard]] std::uint64_t RowStart(const GridCell &cell) const;
    [[nodiscard]] int StartColumn(const GridCell &cell) const;
    [[nodiscard]] int Length(const GridCell &cell) const;
    void Compose(const GridCell &cell, ComposedLine &line) const;

    const MemoryPage &m_page;
    const CursorControl &m_cursor;
    ViewSurface &m_surface;
};
