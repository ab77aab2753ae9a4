// Device records of a probe library, as the device list reads them.

#include "cdevicedatamodel.h"
#include "cdevicedataproxymodel.h"
#include "cdeviceselectiondialog.h"
#include "configstate.h"
#include "devicerow.h"
#include "fuzzinput.h"
#include "fuzzqt.h"
#include "naturalorder.h"

#include <QComboBox>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr std::size_t kNameRoom = kMaxDeviceNameBytes + 1; // what may be read of an endless name

/// Records with names in blocks of their own: exactly as long as a text with its end, or as the
/// longest part of a text without one that may be read.
class Records {
public:
    explicit Records(FuzzInput &input)
    {
        const std::size_t count = input.Byte() % 12;
        for (std::size_t i = 0; i < count; ++i) {
            RanvoDeviceInfo record;
            std::memset(&record, input.Byte(), sizeof record);
            record.name = Name(input);
            record.manufacturer = Name(input);
            record.coreId = static_cast<std::uint32_t>(input.Word());
            record.flashSize = static_cast<std::uint32_t>(input.Word() >> input.Byte() % 64);
            record.ramSize = static_cast<std::uint32_t>(input.Word() >> input.Byte() % 64);
            record.numCores = static_cast<std::uint32_t>(input.Word() >> input.Byte() % 64);
            record.byteOrder = input.Byte() % 3;
            m_records.push_back(record);
        }
    }

    [[nodiscard]] const RanvoDeviceInfo *Data() const { return m_records.data(); }
    [[nodiscard]] int Count() const { return static_cast<int>(m_records.size()); }

private:
    const char *Name(FuzzInput &input)
    {
        const std::uint8_t length = input.Byte();
        if (length == 0xFF)
            return nullptr;
        std::string text = input.Text(length).c_str();
        if (text.size() < kNameRoom)
            text.push_back('\0');
        text.resize(std::min(text.size(), kNameRoom));
        m_names.push_back(std::make_unique<char[]>(text.size()));
        std::memcpy(m_names.back().get(), text.data(), text.size());
        return m_names.back().get();
    }

    std::vector<std::unique_ptr<char[]>> m_names;
    std::vector<RanvoDeviceInfo> m_records;
};

/// Sorting with an order that contradicts itself leaves the bounds of its range.
void CheckOrder(const std::vector<DeviceRow> &rows)
{
    const std::size_t count = std::min<std::size_t>(rows.size(), 8);
    for (int column = 0; column < kDeviceColumns; ++column) {
        const auto compare = [&](std::size_t a, std::size_t b) {
            return CompareDevices(rows[a], rows[b], column);
        };
        for (std::size_t a = 0; a < count; ++a) {
            FuzzRequire(compare(a, a) == 0, "a device equals itself");
            for (std::size_t b = 0; b < count; ++b) {
                FuzzRequire((compare(a, b) < 0) == (compare(b, a) > 0), "the order has two sides");
                for (std::size_t c = 0; c < count; ++c)
                    FuzzRequire(compare(a, b) > 0 || compare(b, c) > 0 || compare(a, c) <= 0,
                        "the order goes through");
            }
        }
    }
}

void CheckProxy(const CDeviceDataModel &model, const CDeviceDataProxyModel &proxy, int column)
{
    FuzzRequire(
        proxy.mapToSource(proxy.index(0, 0)).row() == kFilterRow, "the filters stay on top");
    int previous = -1;
    for (int row = 1; row < proxy.rowCount(); ++row) {
        const QModelIndex source = proxy.mapToSource(proxy.index(row, 0));
        FuzzRequire(source.row() > 0 && source.row() < model.rowCount()
                && proxy.mapFromSource(source).row() == row,
            "the way to a device and back");
        if (previous > 0 && column >= 0)
            FuzzRequire(
                CompareDevices(model.Device(previous), model.Device(source.row()), column) <= 0,
                "the devices stand in order");
        previous = source.row();
        for (int cell = 0; cell < kDeviceColumns; ++cell)
            (void)proxy.data(proxy.index(row, cell));
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    FuzzStartQt();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    const int sortColumn = input.Byte() % (kDeviceColumns + 1) - 1;
    const int filterColumn = input.Byte() % kDeviceColumns;
    const QString filter = QString::fromStdString(input.Text(input.Byte() % 16));
    const Records records(input);
    const std::vector<DeviceRow> rows = MakeDeviceRows(records.Data(), records.Count());
    FuzzRequire(static_cast<int>(rows.size()) == records.Count(), "a row for every record");
    CheckOrder(rows);
    for (int column = 0; column < kDeviceColumns; ++column)
        FuzzRequire(DistinctTexts(rows, column).removeDuplicates() == 0, "each text once");

    CDeviceDataModel model;
    CDeviceDataProxyModel proxy;
    proxy.setSourceModel(&model);
    model.SetDevices(rows);
    proxy.sort(sortColumn);
    CheckProxy(model, proxy, sortColumn);
    model.setData(model.index(kFilterRow, filterColumn), filter);
    CheckProxy(model, proxy, sortColumn);

    static auto *const dialog = new CDeviceSelectionDialog;
    dialog->SetDevices(records.Data(), records.Count());
    for (const DeviceRow &row : rows) {
        const QString &name = row.texts[kDeviceColumn];
        dialog->SelectDevice(name);
        dialog->OnButtonAcceptClicked();
        std::array<char, 128> stored{};
        SetName(&stored, dialog->Selection().deviceName.toStdString());
        FuzzRequire(dialog->Selection().deviceName == name, "the chosen device is the one taken");
        FuzzRequire(stored.back() == '\0', "its name fits the settings");
    }
    for (const QComboBox *box : dialog->findChildren<QComboBox *>())
        FuzzRequire(box->count() <= 4096, "a nonsense number of cores makes no endless list");
    return 0;
}
