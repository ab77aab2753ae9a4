#pragma once

#include "gridcontent.h"

#include <QAccessible>

class AccessibleGrid;
class GridInterface;

/// One cell of the grid for assistive programs, with its characters as text and the cursor as its
/// caret.
///
/// Owned by the toolkit, ended by the grid's interface at the latest. A cell that has left the page
/// is not valid until it is ended.
class GridCellInterface : public QAccessibleInterface,
                          public QAccessibleTableCellInterface,
                          public QAccessibleTextInterface,
                          public QAccessibleActionInterface {
public:
    GridCellInterface(AccessibleGrid &grid, GridInterface &table, const GridCell &cell)
        : m_grid(grid)
        , m_table(table)
        , m_cell(cell)
    {
    }

    bool isValid() const override;
    QObject *object() const override { return nullptr; }
    QWindow *window() const override;
    void *interface_cast(QAccessible::InterfaceType type) override;
    QAccessibleInterface *parent() const override;
    QAccessibleInterface *child(int) const override { return nullptr; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QString text(QAccessible::Text text) const override;
    void setText(QAccessible::Text, const QString &) override { }
    QRect rect() const override;
    QAccessible::Role role() const override;
    QAccessible::State state() const override;

    bool isSelected() const override;
    QList<QAccessibleInterface *> columnHeaderCells() const override { return {}; }
    QList<QAccessibleInterface *> rowHeaderCells() const override;
    int columnIndex() const override;
    int rowIndex() const override;
    int columnExtent() const override { return 1; }
    int rowExtent() const override { return 1; }
    QAccessibleInterface *table() const override { return parent(); }

    void selection(int index, int *start, int *end) const override;
    int selectionCount() const override { return 0; }
    void addSelection(int, int) override { }
    void removeSelection(int) override { }
    void setSelection(int, int, int) override { }
    int cursorPosition() const override;
    void setCursorPosition(int position) override;
    QString text(int start, int end) const override;
    int characterCount() const override;
    QRect characterRect(int offset) const override;
    int offsetAtPoint(const QPoint &point) const override;
    void scrollToSubstring(int, int) override { }
    QString attributes(int offset, int *start, int *end) const override;

    QStringList actionNames() const override { return {setFocusAction()}; }
    void doAction(const QString &name) override;
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    [[nodiscard]] const GridContent &Content() const;
    [[nodiscard]] bool HasCursor() const;

    AccessibleGrid &m_grid;
    GridInterface &m_table;
    const GridCell m_cell;
};
