#include "gridinterface.h"

#include "accessiblegrid.h"
#include "cellinterface.h"
#include "viewsurface.h"

#include <QLineEdit>
#include <QPlainTextEdit>

GridInterface::GridInterface(AccessibleGrid &grid)
    : QAccessibleWidget(grid.Surface().Widget(), QAccessible::Table)
    , m_grid(grid)
{
}

GridInterface::~GridInterface()
{
    for (const auto &[cell, id] : m_cells)
        QAccessible::deleteAccessibleInterface(id);
    m_grid.ForgetInterface();
}

const GridContent &GridInterface::Content() const
{
    return m_grid.Content();
}

QAccessibleInterface *GridInterface::CellInterface(const GridCell &cell)
{
    const auto found = m_cells.find(cell);
    if (found != m_cells.end())
        return QAccessible::accessibleInterface(found->second);
    auto *interface = new GridCellInterface(m_grid, *this, cell);
    m_cells[cell] = QAccessible::registerAccessibleInterface(interface);
    return interface;
}

void GridInterface::DropCells()
{
    std::erase_if(m_cells, [this](const auto &entry) {
        const bool isGone = !Content().IsShown(entry.first);
        if (isGone)
            QAccessible::deleteAccessibleInterface(entry.second);
        return isGone;
    });
}

/// Making a cell's interface on demand changes nothing that anybody sees.
QAccessibleInterface *GridInterface::InterfaceOf(const std::optional<GridCell> &cell) const
{
    return cell ? const_cast<GridInterface *>(this)->CellInterface(*cell) : nullptr;
}

void *GridInterface::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TableInterface)
        return static_cast<QAccessibleTableInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

QString GridInterface::text(QAccessible::Text text) const
{
    return text == QAccessible::Description ? Content().ShownRange()
                                            : QAccessibleWidget::text(text);
}

/// The box in which an item is typed over lies over the cells.
QWidget *GridInterface::OpenBox() const
{
    auto *box = widget()->findChild<QLineEdit *>(QString(), Qt::FindDirectChildrenOnly);
    return box != nullptr && box->isVisible() ? box : nullptr;
}

int GridInterface::CellCount() const
{
    return Content().ShownRows() * Content().ColumnCount();
}

int GridInterface::childCount() const
{
    return CellCount() + (OpenBox() != nullptr ? 1 : 0);
}

QAccessibleInterface *GridInterface::child(int index) const
{
    if (index < 0 || index >= childCount())
        return nullptr;
    if (index == CellCount())
        return QAccessible::queryAccessibleInterface(OpenBox());
    const int columns = Content().ColumnCount();
    return cellAt(Content().FirstRow() + index / columns, index % columns);
}

int GridInterface::indexOfChild(const QAccessibleInterface *child) const
{
    if (child->object() != nullptr)
        return child->object() == OpenBox() ? CellCount() : -1;
    const auto *cell = dynamic_cast<const GridCellInterface *>(child);
    if (cell == nullptr || !cell->isValid())
        return -1;
    return (cell->rowIndex() - Content().FirstRow()) * Content().ColumnCount()
        + cell->columnIndex();
}

QAccessibleInterface *GridInterface::childAt(int x, int y) const
{
    if (QWidget *box = OpenBox();
        box != nullptr && box->rect().contains(box->mapFromGlobal(QPoint(x, y))))
        return QAccessible::queryAccessibleInterface(box);
    return InterfaceOf(Content().CellAt(m_grid.Surface().Viewport()->mapFromGlobal(QPoint(x, y))));
}

QAccessibleInterface *GridInterface::focusChild() const
{
    if (QWidget *box = OpenBox(); box != nullptr && box->hasFocus())
        return QAccessible::queryAccessibleInterface(box);
    return m_grid.HasFocus() ? InterfaceOf(Content().CursorCell()) : nullptr;
}

QAccessibleInterface *GridInterface::cellAt(int row, int column) const
{
    return InterfaceOf(Content().CellAt(row, column));
}

int GridInterface::rowCount() const
{
    return Content().RowCount();
}

int GridInterface::columnCount() const
{
    return Content().ColumnCount();
}

QString GridInterface::columnDescription(int column) const
{
    const std::optional<GridCell> cell = Content().CellAt(Content().FirstRow(), column);
    if (!cell)
        return {};
    switch (cell->kind) {
    case GridCell::Kind::Address:
        return QStringLiteral("Address");
    case GridCell::Kind::Text:
        return QStringLiteral("Text");
    default: {
        const std::optional<GridCell> first = Content().CellAt(Content().FirstRow(), 0);
        return QStringLiteral("+%1").arg(cell->address - first->address, 0, 16).toUpper();
    }
    }
}

QString GridInterface::rowDescription(int row) const
{
    const std::optional<GridCell> cell = Content().CellAt(row, 0);
    return cell ? Content().Spoken(*cell) : QString();
}

int GridInterface::selectedCellCount() const
{
    return int(selectedCells().size());
}

QList<QAccessibleInterface *> GridInterface::selectedCells() const
{
    QList<QAccessibleInterface *> selected;
    for (int index = 0; index < CellCount(); ++index) {
        const int columns = Content().ColumnCount();
        const std::optional<GridCell> cell
            = Content().CellAt(Content().FirstRow() + index / columns, index % columns);
        if (cell && Content().IsSelected(*cell))
            selected << InterfaceOf(cell);
    }
    return selected;
}
