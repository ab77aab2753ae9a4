#include "cdevicedataproxymodel.h"

#include "cdevicedatamodel.h"
#include "devicefilter.h"

#include <algorithm>
#include <numeric>
#include <utility>

CDeviceDataProxyModel::CDeviceDataProxyModel(QObject *parent)
    : QAbstractProxyModel(parent)
{
}

void CDeviceDataProxyModel::setSourceModel(QAbstractItemModel *sourceModel)
{
    beginResetModel();
    if (m_devices != nullptr)
        disconnect(m_devices, nullptr, this, nullptr);
    m_devices = qobject_cast<CDeviceDataModel *>(sourceModel);
    QAbstractProxyModel::setSourceModel(m_devices);
    if (m_devices != nullptr) {
        connect(m_devices, &QAbstractItemModel::dataChanged, this,
            &CDeviceDataProxyModel::OnSourceDataChanged);
        connect(m_devices, &QAbstractItemModel::modelAboutToBeReset, this,
            [this] { beginResetModel(); });
        connect(m_devices, &QAbstractItemModel::modelReset, this, [this] {
            RebuildOrder();
            RebuildRows();
            endResetModel();
        });
    }
    RebuildOrder();
    RebuildRows();
    endResetModel();
}

void CDeviceDataProxyModel::OnSourceDataChanged(
    const QModelIndex &topLeft, const QModelIndex &bottomRight)
{
    if (topLeft.row() == kFilterRow)
        UpdateFilter();
    // The source announces one row at a time, so either both corners are listed or neither is.
    const QModelIndex ownTopLeft = mapFromSource(topLeft);
    const QModelIndex ownBottomRight = mapFromSource(bottomRight);
    if (ownTopLeft.isValid() && ownBottomRight.isValid())
        emit dataChanged(ownTopLeft, ownBottomRight);
}

template <typename Change> void CDeviceDataProxyModel::ChangeLayout(Change change)
{
    emit layoutAboutToBeChanged();
    const QModelIndexList before = persistentIndexList();
    QModelIndexList inSource;
    inSource.reserve(before.size());
    for (const QModelIndex &index : before)
        inSource.append(mapToSource(index));
    change();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex &index : std::as_const(inSource))
        after.append(mapFromSource(index));
    changePersistentIndexList(before, after);
    emit layoutChanged();
}

void CDeviceDataProxyModel::UpdateFilter()
{
    ChangeLayout([this] { RebuildRows(); });
}

void CDeviceDataProxyModel::sort(int column, Qt::SortOrder order)
{
    if (column >= kDeviceColumns || (column == m_sortColumn && order == m_sortOrder))
        return;
    m_sortColumn = column;
    m_sortOrder = order;
    ChangeLayout([this] {
        RebuildOrder();
        RebuildRows();
    });
}

void CDeviceDataProxyModel::RebuildOrder()
{
    m_order.resize(m_devices != nullptr ? static_cast<std::size_t>(m_devices->DeviceCount()) : 0);
    std::iota(m_order.begin(), m_order.end(), kFilterRow + 1);
    if (m_sortColumn < 0)
        return;
    std::stable_sort(m_order.begin(), m_order.end(), [this](int left, int right) {
        const int order
            = CompareDevices(m_devices->Device(left), m_devices->Device(right), m_sortColumn);
        return m_sortOrder == Qt::AscendingOrder ? order < 0 : order > 0;
    });
}

void CDeviceDataProxyModel::RebuildRows()
{
    m_sourceRows.clear();
    m_ownRows.assign(m_order.size() + 1, -1);
    if (m_devices == nullptr)
        return;
    std::vector<std::pair<std::size_t, DevicePattern>> patterns;
    for (int column = 0; column < kDeviceColumns; ++column) {
        DevicePattern pattern(m_devices->FilterText(column));
        if (!pattern.MatchesAll())
            patterns.emplace_back(static_cast<std::size_t>(column), std::move(pattern));
    }
    const auto show = [this](int sourceRow) {
        m_ownRows[static_cast<std::size_t>(sourceRow)] = static_cast<int>(m_sourceRows.size());
        m_sourceRows.push_back(sourceRow);
    };
    show(kFilterRow);
    for (const int sourceRow : m_order) {
        const DeviceRow &device = m_devices->Device(sourceRow);
        if (std::all_of(patterns.begin(), patterns.end(), [&device](const auto &entry) {
                return entry.second.Matches(device.folded[entry.first]);
            }))
            show(sourceRow);
    }
}

QModelIndex CDeviceDataProxyModel::mapToSource(const QModelIndex &proxyIndex) const
{
    if (!proxyIndex.isValid() || m_devices == nullptr
        || static_cast<std::size_t>(proxyIndex.row()) >= m_sourceRows.size())
        return {};
    return m_devices->index(
        m_sourceRows[static_cast<std::size_t>(proxyIndex.row())], proxyIndex.column());
}

QModelIndex CDeviceDataProxyModel::mapFromSource(const QModelIndex &sourceIndex) const
{
    if (!sourceIndex.isValid() || static_cast<std::size_t>(sourceIndex.row()) >= m_ownRows.size())
        return {};
    return index(m_ownRows[static_cast<std::size_t>(sourceIndex.row())], sourceIndex.column());
}

QModelIndex CDeviceDataProxyModel::index(int row, int column, const QModelIndex &parent) const
{
    return hasIndex(row, column, parent) ? createIndex(row, column) : QModelIndex();
}

QModelIndex CDeviceDataProxyModel::parent(const QModelIndex &) const
{
    return {};
}

int CDeviceDataProxyModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_sourceRows.size());
}

int CDeviceDataProxyModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() || m_devices == nullptr ? 0 : kDeviceColumns;
}
