#pragma once

#include "ranvoapi.h"

#include <QDialog>
#include <QString>

#include <cstdint>

class CDeviceDataModel;
class CDeviceDataProxyModel;
class CTableView;
class QComboBox;
class QLabel;

/// What the user chose in the device selection.
struct DeviceSelection {
    bool accepted = false;
    bool bigEndian = false;        ///< the byte-order box stood on "Big Endian"
    std::uint32_t coreIndex = 0;   ///< row of the core box
    std::uint32_t selectedRow = 0; ///< row of the device in the table's source; 0 when none
    QString deviceName;            ///< empty when no device was selected
};

/// Lets the user choose the target device from the probe library's list.
class CDeviceSelectionDialog : public QDialog {
    Q_OBJECT

public:
    /// Runs the dialog modally.
    /// @param records        the devices; only read during this call
    /// @param filterText     the six columns' filter texts, separated by tabs, to begin with; when
    ///                       not empty, an accepted run leaves the final ones here
    /// @param presetMaker    without a filterText: begin with the devices of initialName's maker
    /// @param initialName    the device to begin with; empty or unknown: none
    static void Run(DeviceSelection &result, const RanvoDeviceInfo *records, int count,
        QString &filterText, bool presetMaker, const QString &initialName);

    explicit CDeviceSelectionDialog(QWidget *parent = nullptr);

    void SetDevices(const RanvoDeviceInfo *records, int count);
    /// Selects a device by its name, as a click on its row does.
    void SelectDevice(const QString &name);
    void SetFilterText(const QString &filterText);
    [[nodiscard]] QString FilterText() const;
    [[nodiscard]] const DeviceSelection &Selection() const { return m_selection; }

public slots:
    void OnButtonAcceptClicked();
    void OnButtonRejectClicked();
    void OnTableClicked(QPoint position, int button);
    void OnTableDoubleClicked(QPoint position, int button);
    void OnTableSelectionChanged(const QModelIndex &current, const QModelIndex &previous);
    void OnLabelSelectedDeviceClicked();

protected:
    bool eventFilter(QObject *object, QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    [[nodiscard]] QWidget *MakeTopFrame();
    [[nodiscard]] QWidget *MakeTableFrame();
    void SetUpTable();
    void PresetMaker(const QString &deviceName);
    void TakeCell(const QModelIndex &cell);
    void ShowSelectedDevice();
    void EnterDevices();

    CDeviceDataModel *m_devices;
    CDeviceDataProxyModel *m_proxy;
    CTableView *m_table = nullptr;
    QLabel *m_labelSelectedDevice = nullptr;
    QComboBox *m_comboBoxEndian = nullptr;
    QComboBox *m_comboBoxCore = nullptr;
    DeviceSelection m_selection;
    bool m_isHandlingClick = false;
};
