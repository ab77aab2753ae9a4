#include "cellinterface.h"

#include "accessiblegrid.h"
#include "gridinterface.h"
#include "viewsurface.h"

#include <QWidget>

#include <algorithm>

const GridContent &GridCellInterface::Content() const
{
    return m_grid.Content();
}

bool GridCellInterface::isValid() const
{
    return Content().IsShown(m_cell);
}

QWindow *GridCellInterface::window() const
{
    return m_table.window();
}

void *GridCellInterface::interface_cast(QAccessible::InterfaceType type)
{
    switch (type) {
    case QAccessible::TableCellInterface:
        return static_cast<QAccessibleTableCellInterface *>(this);
    case QAccessible::TextInterface:
        return static_cast<QAccessibleTextInterface *>(this);
    case QAccessible::ActionInterface:
        return static_cast<QAccessibleActionInterface *>(this);
    default:
        return nullptr;
    }
}

QAccessibleInterface *GridCellInterface::parent() const
{
    return &m_table;
}

QString GridCellInterface::text(QAccessible::Text text) const
{
    switch (text) {
    case QAccessible::Name:
        return Content().Spoken(m_cell);
    case QAccessible::Description:
        return m_grid.NewsOf(m_cell);
    default:
        return {};
    }
}

QRect GridCellInterface::rect() const
{
    const QRect inView = Content().Rect(m_cell);
    return {m_grid.Surface().Viewport()->mapToGlobal(inView.topLeft()), inView.size()};
}

QAccessible::Role GridCellInterface::role() const
{
    return m_cell.kind == GridCell::Kind::Address ? QAccessible::RowHeader : QAccessible::Cell;
}

QAccessible::State GridCellInterface::state() const
{
    QAccessible::State state;
    if (!isValid()) {
        state.invalid = true;
        return state;
    }
    state.focusable = true;
    state.focused = m_grid.HasFocus() && HasCursor();
    state.selectable = m_cell.kind != GridCell::Kind::Address;
    state.selected = isSelected();
    state.editable = m_cell.kind != GridCell::Kind::Address;
    state.readOnly = !state.editable;
    return state;
}

bool GridCellInterface::HasCursor() const
{
    return Content().CursorCell() == m_cell;
}

bool GridCellInterface::isSelected() const
{
    return Content().IsSelected(m_cell);
}

QList<QAccessibleInterface *> GridCellInterface::rowHeaderCells() const
{
    QAccessibleInterface *address = m_table.cellAt(rowIndex(), 0);
    return address != nullptr ? QList{address} : QList<QAccessibleInterface *>();
}

int GridCellInterface::columnIndex() const
{
    return Content().ColumnOf(m_cell);
}

int GridCellInterface::rowIndex() const
{
    return Content().RowOf(m_cell);
}

void GridCellInterface::selection(int, int *start, int *end) const
{
    *start = 0;
    *end = 0;
}

int GridCellInterface::cursorPosition() const
{
    return HasCursor() ? Content().CursorOffset() : 0;
}

void GridCellInterface::setCursorPosition(int position)
{
    m_grid.PlaceCursor(m_cell, position);
}

QString GridCellInterface::text(int start, int end) const
{
    const QString spoken = Content().Spoken(m_cell);
    return spoken.mid(start, std::max(end, start) - start);
}

int GridCellInterface::characterCount() const
{
    return int(Content().Spoken(m_cell).size());
}

QRect GridCellInterface::characterRect(int offset) const
{
    const QRect cell = rect();
    const int shown = int(Content().Shown(m_cell).size());
    const int widthPx = cell.width() / std::max(shown, 1);
    return {
        cell.left() + std::clamp(offset, 0, shown) * widthPx, cell.top(), widthPx, cell.height()};
}

int GridCellInterface::offsetAtPoint(const QPoint &point) const
{
    const QRect cell = rect();
    if (!cell.contains(point))
        return -1;
    return (point.x() - cell.left()) / std::max(characterRect(0).width(), 1);
}

QString GridCellInterface::attributes(int, int *start, int *end) const
{
    *start = 0;
    *end = characterCount();
    return {};
}

void GridCellInterface::doAction(const QString &name)
{
    if (name == setFocusAction())
        m_grid.PlaceCursor(m_cell, 0);
}
