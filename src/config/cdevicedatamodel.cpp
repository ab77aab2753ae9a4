#include "cdevicedatamodel.h"

#include "devicefilter.h"
#include "offeredpatterns.h"

#include <QBrush>
#include <QFontMetrics>
#include <QSize>

#include <algorithm>
#include <utility>

namespace {

struct ColumnInfo {
    const char *title;
    const char *widestText; // null: the column has the fixed width
    int extraWidthPx;
};

constexpr int kPlainColumnWidthPx = 70;
constexpr std::array<ColumnInfo, kDeviceColumns> kColumns{{
    {"Manufacturer", "Energy Micro_", 18},
    {"Device", "STM32L152VC-A (allow opt. bytes)_", 0},
    {"Core", "PowerPC (Nexus)____", 18},
    {"NumCores", nullptr, kPlainColumnWidthPx},
    {"Flash Size", nullptr, kPlainColumnWidthPx},
    {"RAM Size", nullptr, kPlainColumnWidthPx},
}};

constexpr const char *kFilterToolTip
    = "Type here to filter this column: text matches anywhere, text* at the beginning,\n"
      "*text at the end. Ctrl+F leads here from the list.";

std::size_t Cell(int column)
{
    return static_cast<std::size_t>(column);
}

} // namespace

CDeviceDataModel::CDeviceDataModel(QObject *parent)
    : QAbstractTableModel(parent)
{
    m_widthsPx.fill(kPlainColumnWidthPx);
}

void CDeviceDataModel::SetDevices(std::vector<DeviceRow> devices)
{
    beginResetModel();
    m_devices = std::move(devices);
    m_filterTexts.fill({});
    m_filterPatterns.fill({});
    m_selectedRow = -1;
    endResetModel();
}

int CDeviceDataModel::FindDevice(const QString &name) const
{
    const auto device = std::find_if(m_devices.begin(), m_devices.end(),
        [&name](const DeviceRow &row) { return row.texts[kDeviceColumn] == name; });
    return device != m_devices.end() ? static_cast<int>(device - m_devices.begin()) + 1 : -1;
}

void CDeviceDataModel::SetSelectedRow(int row)
{
    if (row == m_selectedRow)
        return;
    const int formerRow = std::exchange(m_selectedRow, row);
    AnnounceColors(formerRow);
    AnnounceColors(row);
}

void CDeviceDataModel::AnnounceColors(int row)
{
    if (row > kFilterRow && row < rowCount())
        emit dataChanged(index(row, 0), index(row, kDeviceColumns - 1),
            {Qt::BackgroundRole, Qt::ForegroundRole});
}

const QString &CDeviceDataModel::FilterText(int column) const
{
    return m_filterTexts[Cell(column)];
}

const QStringList &CDeviceDataModel::FilterPatterns(int column)
{
    QStringList &patterns = m_filterPatterns[Cell(column)];
    if (patterns.isEmpty())
        patterns = OfferedPatterns(DistinctTexts(m_devices, column));
    return patterns;
}

void CDeviceDataModel::SetTableFont(const QFont &font, int rowHeightPx)
{
    const QFontMetrics metrics(font);
    m_rowHeightPx = rowHeightPx;
    for (std::size_t column = 0; column < kColumns.size(); ++column) {
        const ColumnInfo &info = kColumns[column];
        const int textWidthPx = info.widestText == nullptr
            ? 0
            : metrics.horizontalAdvance(QString::fromLatin1(info.widestText));
        m_widthsPx[column] = textWidthPx + info.extraWidthPx;
    }
}

int CDeviceDataModel::ColumnWidthPx(int column) const
{
    return m_widthsPx[Cell(column)];
}

int CDeviceDataModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : DeviceCount() + 1;
}

int CDeviceDataModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : kDeviceColumns;
}

QVariant CDeviceDataModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    if (role == Qt::SizeHintRole)
        return QSize(ColumnWidthPx(index.column()), m_rowHeightPx);
    return index.row() == kFilterRow ? FilterCell(index.column(), role)
                                     : DeviceCell(index.row(), index.column(), role);
}

QVariant CDeviceDataModel::FilterCell(int column, int role) const
{
    const QString &text = FilterText(column);
    switch (role) {
    case Qt::DisplayRole:
        return text.isEmpty() ? QString(kMatchAllPattern) : text;
    case Qt::EditRole:
        return text;
    case Qt::ToolTipRole:
        return QString::fromLatin1(kFilterToolTip);
    case Qt::AccessibleTextRole:
        return QStringLiteral("Filter for %1: %2")
            .arg(QString::fromLatin1(kColumns[Cell(column)].title),
                text.isEmpty() ? QString(kMatchAllPattern) : text);
    default:
        return {};
    }
}

QVariant CDeviceDataModel::DeviceCell(int row, int column, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        if (column == kNumCoresColumn)
            return Device(row).numCores;
        return Device(row).texts[Cell(column)];
    case Qt::BackgroundRole:
        return row == m_selectedRow ? QVariant(QBrush(kSelectedRowColor)) : QVariant();
    case Qt::ForegroundRole:
        return row == m_selectedRow ? QVariant(QBrush(kSelectedTextColor)) : QVariant();
    default:
        return {};
    }
}

QVariant CDeviceDataModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= kDeviceColumns)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return QString::fromLatin1(kColumns[Cell(section)].title);
    case Qt::TextAlignmentRole:
        return static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter);
    case Qt::InitialSortOrderRole:
        return static_cast<int>(Qt::AscendingOrder);
    default:
        return {};
    }
}

Qt::ItemFlags CDeviceDataModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    const Qt::ItemFlags cell = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    return index.row() == kFilterRow ? cell | Qt::ItemIsEditable : cell;
}

bool CDeviceDataModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || index.row() != kFilterRow
        || role != Qt::EditRole)
        return false;
    QString &text = m_filterTexts[Cell(index.column())];
    const QString typed = value.toString();
    if (text == typed)
        return true;
    text = typed;
    emit dataChanged(index, index, {Qt::DisplayRole, Qt::EditRole});
    return true;
}
