#pragma once

#include <QAbstractProxyModel>

#include <vector>

class CDeviceDataModel;

/// Shows the devices that pass every column's filter, sorted by one column; the filter row stays on
/// top whatever the order.
///
/// A changed filter or order is announced as one change of layout. A stock filter proxy would
/// announce thousands of single rows for each key typed, and a reset would close the filter's
/// editor. The order is worked out once for all devices, so that filtering needs no sorting.
class CDeviceDataProxyModel : public QAbstractProxyModel {
    Q_OBJECT

public:
    explicit CDeviceDataProxyModel(QObject *parent = nullptr);

    /// @param sourceModel  a CDeviceDataModel; anything else counts as none
    void setSourceModel(QAbstractItemModel *sourceModel) override;

    /// Applies the source model's filter texts.
    void UpdateFilter();
    /// Sorts by a column; -1 gives the library's own order.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    [[nodiscard]] QModelIndex mapToSource(const QModelIndex &proxyIndex) const override;
    [[nodiscard]] QModelIndex mapFromSource(const QModelIndex &sourceIndex) const override;
    [[nodiscard]] QModelIndex index(
        int row, int column, const QModelIndex &parent = {}) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex &child) const override;
    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;

private:
    void OnSourceDataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight);
    /// Runs a change of the rows as one change of layout.
    template <typename Change> void ChangeLayout(Change change);
    void RebuildOrder();
    void RebuildRows();

    CDeviceDataModel *m_devices = nullptr;
    std::vector<int> m_order;      ///< the source rows of all devices, sorted
    std::vector<int> m_sourceRows; ///< by row of this model; the filter row first
    std::vector<int> m_ownRows;    ///< by row of the source; -1 where filtered out
    int m_sortColumn = -1;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
};
