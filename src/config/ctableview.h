#pragma once

#include <QTableView>

/// The device table: reports where the mouse was pressed, and keeps the filter row reachable.
///
/// While the table is scrolled down, a strip over its first line shows the filter row; a press on
/// it scrolls back to the real one.
class CTableView : public QTableView {
    Q_OBJECT

public:
    explicit CTableView(QWidget *parent = nullptr);

    /// Sets the height of the header and of every row.
    void SetRowHeight(int heightPx);

    /// Sorts by the column that has the keyboard; once more turns the order around.
    void SortByCurrentColumn();

    /// Scrolls to the filter row and opens its editor in a column.
    void EditFilter(int column);
    /// The same for a press of the mouse: on the cell's arrow the list of patterns opens, too.
    /// @param xPx  of the press, in the viewport
    void PressFilter(int xPx);

    void setModel(QAbstractItemModel *model) override;
    void scrollTo(const QModelIndex &index, ScrollHint hint = EnsureVisible) override;

signals:
    /// A mouse button went down inside the table; the position is the viewport's.
    void Clicked(QPoint position, int button);
    void DoubleClicked(QPoint position, int button);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void updateGeometries() override;
    void scrollContentsBy(int dx, int dy) override;

private:
    [[nodiscard]] int FilterRowHeightPx() const;
    void PlaceFilterStrip();

    QWidget *m_filterStrip;
};
