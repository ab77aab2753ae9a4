#include "cdeviceselectiondialog.h"

#include "cdevicedatamodel.h"
#include "cdevicedataproxymodel.h"
#include "cdeviceitemdelegate.h"
#include "ctableview.h"
#include "ownerplacement.h"
#include "widgetfactory.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QShortcut>

#include <algorithm>
#include <memory>

namespace {

constexpr int kInitialWidthPx = 854;
constexpr int kInitialHeightPx = 387;
constexpr QChar kFilterSeparator(u'\t');
/// More cores than any chip has. A damaged record must not fill the core box endlessly.
constexpr std::uint32_t kMaxListedCores = 256;

/// The window that hosts this dialog inside the probe maker's server program; here there is none.
QWidget *FindHostWindow()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    const auto host = std::find_if(windows.begin(), windows.end(), [](const QWidget *window) {
        return window->objectName() == QLatin1String("Ranvo GDB Server");
    });
    return host != windows.end() ? *host : nullptr;
}

} // namespace

void CDeviceSelectionDialog::Run(DeviceSelection &result, const RanvoDeviceInfo *records, int count,
    QString &filterText, bool presetMaker, const QString &initialName)
{
    const auto dialog = std::make_unique<CDeviceSelectionDialog>(FindHostWindow());
    dialog->SetDevices(records, count);
    if (!filterText.isEmpty())
        dialog->SetFilterText(filterText);
    else if (presetMaker)
        dialog->PresetMaker(initialName);
    if (!initialName.isEmpty())
        dialog->SelectDevice(initialName);
    const QWidget *const owner = QApplication::activeModalWidget();
    TieToOwner(dialog.get(), owner);
    PlaceOver(dialog.get(), owner);
    dialog->exec();
    result = dialog->Selection();
    if (result.accepted && !filterText.isEmpty())
        filterText = dialog->FilterText();
}

CDeviceSelectionDialog::CDeviceSelectionDialog(QWidget *parent)
    : QDialog(parent)
    , m_devices(new CDeviceDataModel(this))
    , m_proxy(new CDeviceDataProxyModel(this))
{
    setWindowTitle(QStringLiteral("Target Device Settings"));
    setWindowIcon(QIcon(QStringLiteral(":/Resources/Icons/plug-connect.png")));
    resize(kInitialWidthPx, kInitialHeightPx);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->setObjectName(QStringLiteral("pButtonBox"));
    buttons->button(QDialogButtonBox::Ok)->setDefault(true);
    connect(
        buttons, &QDialogButtonBox::accepted, this, &CDeviceSelectionDialog::OnButtonAcceptClicked);
    connect(
        buttons, &QDialogButtonBox::rejected, this, &CDeviceSelectionDialog::OnButtonRejectClicked);
    auto *grid = new QGridLayout(this);
    grid->setSpacing(7);
    grid->setContentsMargins(7, 2, 7, 9);
    grid->addWidget(MakeTopFrame(), 0, 0);
    grid->addWidget(MakeTableFrame(), 1, 0);
    grid->addWidget(buttons, 2, 0);
    SetUpTable();
    m_table->setFocus();
}

QWidget *CDeviceSelectionDialog::MakeTopFrame()
{
    auto *frame = new QFrame(this);
    auto *caption = new QLabel(QStringLiteral("Selected Device:"), frame);
    m_labelSelectedDevice = new QLabel(frame);
    m_labelSelectedDevice->setObjectName(QStringLiteral("pLabelSelectedDevice"));
    m_labelSelectedDevice->setTextFormat(Qt::PlainText);
    m_labelSelectedDevice->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_labelSelectedDevice->setMargin(0);
    m_labelSelectedDevice->setMinimumWidth(1); // a long name must not widen the dialog
    m_labelSelectedDevice->setToolTip(QStringLiteral("Click to show the device in the list"));
    m_labelSelectedDevice->installEventFilter(this);
    m_comboBoxEndian = new QComboBox(frame);
    m_comboBoxEndian->setObjectName(QStringLiteral("pComboBoxEndian"));
    m_comboBoxEndian->setAccessibleName(QStringLiteral("Byte order"));
    m_comboBoxEndian->addItems({QStringLiteral("Little Endian"), QStringLiteral("Big Endian")});
    m_comboBoxCore = new QComboBox(frame);
    m_comboBoxCore->setObjectName(QStringLiteral("pComboBoxCore"));
    m_comboBoxCore->setAccessibleName(QStringLiteral("Core"));
    m_comboBoxCore->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_comboBoxCore->addItem(QStringLiteral("Core #0"));
    m_comboBoxCore->setEnabled(false);
    m_comboBoxCore->setToolTip(QStringLiteral("The cores of the device, for information only:\nthe "
                                              "probe is told the device, not a core"));
    LabelForScreenReaders(m_comboBoxEndian, "Byte order");
    LabelForScreenReaders(m_comboBoxCore, "Core");

    auto *row = new QHBoxLayout(frame);
    row->setSpacing(7);
    row->setContentsMargins(0, 5, 0, 0);
    row->addWidget(caption);
    row->addWidget(m_labelSelectedDevice);
    row->addItem(new QSpacerItem(40, 20, QSizePolicy::Expanding, QSizePolicy::Minimum));
    row->addWidget(m_comboBoxEndian);
    row->addWidget(m_comboBoxCore);
    return frame;
}

QWidget *CDeviceSelectionDialog::MakeTableFrame()
{
    auto *frame = new QFrame(this);
    frame->setFrameShape(QFrame::NoFrame);
    m_table = new CTableView(frame);
    m_table->setObjectName(QStringLiteral("pTableDevices"));
    m_table->setAccessibleName(QStringLiteral("Devices"));
    auto *column = new QVBoxLayout(frame);
    column->setSpacing(0);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_table);
    return frame;
}

void CDeviceSelectionDialog::SetUpTable()
{
    auto *delegate = new CDeviceItemDelegate(m_devices, this);
    m_proxy->setSourceModel(m_devices);
    m_table->setItemDelegateForRow(kFilterRow, delegate);
    m_table->setModel(m_proxy);

    // One height for the header and all rows, high enough for the editors of the filter row.
    const int rowHeightPx = std::max(
        m_comboBoxEndian->sizeHint().height(), QFontMetrics(m_table->font()).height() + 6);
    m_devices->SetTableFont(m_table->font(), rowHeightPx);
    m_table->SetRowHeight(rowHeightPx);
    for (int column = 0; column < kDeviceColumns; ++column)
        // A title must have room for the mark of a sorted column, too.
        m_table->setColumnWidth(column,
            std::max(m_devices->ColumnWidthPx(column),
                m_table->horizontalHeader()->sectionSizeHint(column)));

    connect(m_table, &CTableView::Clicked, this, &CDeviceSelectionDialog::OnTableClicked);
    connect(
        m_table, &CTableView::DoubleClicked, this, &CDeviceSelectionDialog::OnTableDoubleClicked);
    connect(m_table->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
        &CDeviceSelectionDialog::OnTableSelectionChanged);
    connect(
        delegate, &CDeviceItemDelegate::LeftDownwards, this, &CDeviceSelectionDialog::EnterDevices);
    auto *find = new QShortcut(QKeySequence::Find, this);
    connect(find, &QShortcut::activated, m_table, [this] { m_table->EditFilter(kDeviceColumn); });
    auto *sort = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_S), this);
    connect(sort, &QShortcut::activated, m_table, &CTableView::SortByCurrentColumn);
    m_table->horizontalHeader()->setToolTip(
        QStringLiteral("Click a title, or press %1 in its column, to sort by it")
            .arg(sort->key().toString(QKeySequence::NativeText)));
}

void CDeviceSelectionDialog::SetDevices(const RanvoDeviceInfo *records, int count)
{
    m_devices->SetDevices(MakeDeviceRows(records, count));
    ShowSelectedDevice();
}

void CDeviceSelectionDialog::SelectDevice(const QString &name)
{
    const int row = m_devices->FindDevice(name);
    if (row < 0)
        return;
    m_devices->SetSelectedRow(row);
    ShowSelectedDevice();
    EnterDevices();
}

void CDeviceSelectionDialog::PresetMaker(const QString &deviceName)
{
    const int row = m_devices->FindDevice(deviceName);
    if (row >= 0)
        m_devices->setData(m_devices->index(kFilterRow, kManufacturerColumn),
            m_devices->Device(row).texts[kManufacturerColumn]);
}

void CDeviceSelectionDialog::SetFilterText(const QString &filterText)
{
    const QStringList texts = filterText.split(kFilterSeparator);
    for (int column = 0; column < std::min<int>(kDeviceColumns, static_cast<int>(texts.size()));
         ++column)
        m_devices->setData(m_devices->index(kFilterRow, column), texts[column]);
}

QString CDeviceSelectionDialog::FilterText() const
{
    QStringList texts;
    for (int column = 0; column < kDeviceColumns; ++column)
        texts.append(m_devices->FilterText(column));
    return texts.join(kFilterSeparator);
}

void CDeviceSelectionDialog::OnButtonAcceptClicked()
{
    const int row = m_devices->SelectedRow();
    m_selection.accepted = true;
    m_selection.selectedRow = static_cast<std::uint32_t>(std::max(row, 0));
    m_selection.coreIndex = static_cast<std::uint32_t>(std::max(m_comboBoxCore->currentIndex(), 0));
    m_selection.bigEndian = m_comboBoxEndian->currentIndex() != 0;
    m_selection.deviceName = row > 0 ? m_devices->Device(row).texts[kDeviceColumn] : QString();
    accept();
}

void CDeviceSelectionDialog::OnButtonRejectClicked()
{
    reject();
}

void CDeviceSelectionDialog::OnTableClicked(QPoint position, int)
{
    const QModelIndex cell = m_table->indexAt(position);
    if (cell.isValid() && cell.row() == kFilterRow)
        m_table->PressFilter(position.x());
    else
        TakeCell(cell);
}

/// Selects the device of a cell, or opens the editor of a filter cell.
void CDeviceSelectionDialog::TakeCell(const QModelIndex &cell)
{
    const QScopedValueRollback busy(m_isHandlingClick, true);
    if (!cell.isValid())
        return;
    if (cell.row() == kFilterRow) {
        m_table->EditFilter(cell.column());
        return;
    }
    m_table->setCurrentIndex(cell);
    const int row = m_proxy->mapToSource(cell).row();
    if (row == m_devices->SelectedRow())
        return; // the same device: its byte order stays as the user chose it
    m_devices->SetSelectedRow(row);
    ShowSelectedDevice();
}

void CDeviceSelectionDialog::OnTableDoubleClicked(QPoint, int)
{
    OnButtonAcceptClicked();
}

void CDeviceSelectionDialog::OnTableSelectionChanged(
    const QModelIndex &current, const QModelIndex &)
{
    // The keyboard selects like the mouse; a click that is being handled selects by itself.
    if (!m_isHandlingClick)
        TakeCell(current);
}

void CDeviceSelectionDialog::OnLabelSelectedDeviceClicked()
{
    const int row = m_devices->SelectedRow();
    if (row > 0)
        m_table->scrollTo(m_proxy->mapFromSource(m_devices->index(row, kDeviceColumn)),
            QAbstractItemView::PositionAtCenter);
}

void CDeviceSelectionDialog::ShowSelectedDevice()
{
    const int row = m_devices->SelectedRow();
    const DeviceRow noDevice;
    const DeviceRow &device = row > 0 ? m_devices->Device(row) : noDevice;
    const int cores = static_cast<int>(std::clamp(device.numCores, 1U, kMaxListedCores));
    m_labelSelectedDevice->setText(device.texts[kDeviceColumn]);
    m_comboBoxEndian->setCurrentIndex(device.bigEndian ? 1 : 0);
    while (m_comboBoxCore->count() > cores)
        m_comboBoxCore->removeItem(m_comboBoxCore->count() - 1);
    while (m_comboBoxCore->count() < cores)
        m_comboBoxCore->addItem(QStringLiteral("Core #%1").arg(m_comboBoxCore->count()));
    m_comboBoxCore->setCurrentIndex(0);
}

/// Moves the keyboard to the devices: to the selected one where it is shown, else to the first.
void CDeviceSelectionDialog::EnterDevices()
{
    QModelIndex device
        = m_proxy->mapFromSource(m_devices->index(m_devices->SelectedRow(), kDeviceColumn));
    if (!device.isValid())
        device = m_proxy->index(kFilterRow + 1, kDeviceColumn);
    if (device.isValid())
        m_table->setCurrentIndex(device);
    m_table->setFocus();
}

bool CDeviceSelectionDialog::eventFilter(QObject *object, QEvent *event)
{
    if (object == m_labelSelectedDevice && event->type() == QEvent::MouseButtonRelease)
        OnLabelSelectedDeviceClicked();
    return QDialog::eventFilter(object, event);
}

void CDeviceSelectionDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    if (m_devices->SelectedRow() > 0)
        OnLabelSelectedDeviceClicked();
    else
        m_table->EditFilter(kDeviceColumn); // no device is selected: begin by searching for one
}
