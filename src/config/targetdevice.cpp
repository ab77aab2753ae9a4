#include "targetdevice.h"

#include "cdeviceselectiondialog.h"
#include "ranvoapi.h"
#include "sysheap.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

/// Several times what a library lists: a wrong count must not take all memory.
constexpr int kMaxDevices = 32768;

using DeviceRecords = std::unique_ptr<RanvoDeviceInfo[], decltype(&SYS_Free)>;

void ReadRecord(int index, RanvoDeviceInfo *record)
{
    record->sizeOfStruct = RANVO_DEVICE_INFO_SIZE;
    if (RANVOARM_DEVICE_GetInfo(index, record) == 0)
        return;
    // A failed query may leave garbage: clear the record. The row stays, without a name.
    std::memset(record, 0, sizeof *record);
    record->sizeOfStruct = RANVO_DEVICE_INFO_SIZE;
}

/// @param count  receives the number of records; 0 when the library has none or memory is short
DeviceRecords ReadDeviceList(int *count)
{
    *count = std::clamp(RANVOARM_DEVICE_GetInfo(-1, nullptr), 0, kMaxDevices);
    const std::size_t sizeBytes = static_cast<std::size_t>(*count) * sizeof(RanvoDeviceInfo);
    DeviceRecords records(*count > 0
            ? static_cast<RanvoDeviceInfo *>(SYS_Alloc(static_cast<std::uint32_t>(sizeBytes)))
            : nullptr,
        SYS_Free);
    if (records == nullptr) {
        *count = 0;
        return records;
    }
    std::memset(records.get(), 0, sizeBytes);
    for (int index = 0; index < *count; ++index)
        ReadRecord(index, &records[static_cast<std::size_t>(index)]);
    return records;
}

} // namespace

TargetDeviceChoice ChooseTargetDevice(const QString &currentName)
{
    int count = 0;
    DeviceRecords records = ReadDeviceList(&count);
    DeviceSelection selection;
    QString noFilter;
    CDeviceSelectionDialog::Run(selection, records.get(), count, noFilter, false, currentName);
    if (!selection.accepted)
        return {};
    return {selection.deviceName, selection.bigEndian};
}
