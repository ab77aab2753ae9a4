#pragma once

#include "gridcontent.h"

#include <QAccessibleWidget>

#include <map>

class AccessibleGrid;

/// The grid as the toolkit shows it to assistive programs: a table.
///
/// Owned by the toolkit. Its children are the cells on show, row by row, and behind them the edit
/// box while it is open.
class GridInterface : public QAccessibleWidget, public QAccessibleTableInterface {
public:
    explicit GridInterface(AccessibleGrid &grid);
    ~GridInterface() override;

    /// The interface of a cell on show, made when it is first asked for.
    QAccessibleInterface *CellInterface(const GridCell &cell);
    /// Ends the interfaces of cells that are no longer on show.
    void DropCells();

    void *interface_cast(QAccessible::InterfaceType type) override;
    QString text(QAccessible::Text text) const override;
    int childCount() const override;
    QAccessibleInterface *child(int index) const override;
    int indexOfChild(const QAccessibleInterface *child) const override;
    QAccessibleInterface *childAt(int x, int y) const override;
    QAccessibleInterface *focusChild() const override;

    QAccessibleInterface *cellAt(int row, int column) const override;
    int rowCount() const override;
    int columnCount() const override;
    QString columnDescription(int column) const override;
    QString rowDescription(int row) const override;
    int selectedCellCount() const override;
    QList<QAccessibleInterface *> selectedCells() const override;
    // Only cells are selected, by the cursor; there is nothing to select or take back here.
    QAccessibleInterface *caption() const override { return nullptr; }
    QAccessibleInterface *summary() const override { return nullptr; }
    int selectedColumnCount() const override { return 0; }
    int selectedRowCount() const override { return 0; }
    QList<int> selectedColumns() const override { return {}; }
    QList<int> selectedRows() const override { return {}; }
    bool isColumnSelected(int) const override { return false; }
    bool isRowSelected(int) const override { return false; }
    bool selectRow(int) override { return false; }
    bool selectColumn(int) override { return false; }
    bool unselectRow(int) override { return false; }
    bool unselectColumn(int) override { return false; }
    void modelChange(QAccessibleTableModelChangeEvent *) override { }

private:
    [[nodiscard]] const GridContent &Content() const;
    [[nodiscard]] int CellCount() const;
    [[nodiscard]] QWidget *OpenBox() const;
    [[nodiscard]] QAccessibleInterface *InterfaceOf(const std::optional<GridCell> &cell) const;

    AccessibleGrid &m_grid;
    std::map<GridCell, QAccessible::Id> m_cells;
};
