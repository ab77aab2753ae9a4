#pragma once

#include "devicerow.h"

#include <QAbstractTableModel>
#include <QColor>
#include <QFont>

#include <array>
#include <vector>

/// The row that holds each column's filter text, above the devices.
inline constexpr int kFilterRow = 0;
/// The colours of the selected device's row.
inline constexpr QColor kSelectedRowColor(204, 204, 204);
inline constexpr QColor kSelectedTextColor(0, 0, 0);

/// The known devices as a table: row 0 is the filter row, each further row one device.
///
/// The model keeps the filter texts, which setData on row 0 changes, and the selected device, which
/// it shows by colour. It does not filter; CDeviceDataProxyModel does.
class CDeviceDataModel : public QAbstractTableModel {
    Q_OBJECT

public:
    explicit CDeviceDataModel(QObject *parent = nullptr);

    /// Takes over the devices of one run; no device is selected, the filters are empty.
    void SetDevices(std::vector<DeviceRow> devices);
    [[nodiscard]] int DeviceCount() const { return static_cast<int>(m_devices.size()); }
    /// @param row  a row of this model that is not the filter row
    [[nodiscard]] const DeviceRow &Device(int row) const
    {
        return m_devices[static_cast<std::size_t>(row - 1)];
    }
    /// The row of the first device with this very name, -1 when there is none.
    [[nodiscard]] int FindDevice(const QString &name) const;

    /// The row of the selected device, -1 when there is none.
    [[nodiscard]] int SelectedRow() const { return m_selectedRow; }
    void SetSelectedRow(int row);

    /// The filter of this column as the user typed it; empty when there is none.
    [[nodiscard]] const QString &FilterText(int column) const;
    /// The patterns that the column's filter editor offers, made at the first call.
    [[nodiscard]] const QStringList &FilterPatterns(int column);

    /// Sets what the size hints are measured by.
    void SetTableFont(const QFont &font, int rowHeightPx);
    /// The width that a column starts with.
    [[nodiscard]] int ColumnWidthPx(int column) const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(
        const QModelIndex &index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(
        int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;

private:
    void AnnounceColors(int row);
    [[nodiscard]] QVariant FilterCell(int column, int role) const;
    [[nodiscard]] QVariant DeviceCell(int row, int column, int role) const;

    std::vector<DeviceRow> m_devices;
    std::array<QString, kDeviceColumns> m_filterTexts;
    std::array<QStringList, kDeviceColumns> m_filterPatterns;
    std::array<int, kDeviceColumns> m_widthsPx;
    int m_rowHeightPx = 0;
    int m_selectedRow = -1;
};
