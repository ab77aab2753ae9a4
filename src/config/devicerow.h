#pragma once

#include "ranvoapi.h"

#include <QString>

#include <array>
#include <cstdint>
#include <vector>

/// The columns of the device table, left to right.
enum DeviceColumn : int {
    kManufacturerColumn,
    kDeviceColumn,
    kCoreColumn,
    kNumCoresColumn,
    kFlashSizeColumn,
    kRamSizeColumn,
    kDeviceColumns
};

/// The longest name that is taken from the probe library, in bytes; the settings hold no longer
/// one.
inline constexpr std::size_t kMaxDeviceNameBytes = 127;

/// One device as the table shows, matches and sorts it. Owns its texts.
struct DeviceRow {
    std::array<QString, kDeviceColumns> texts;  ///< what the cells show
    std::array<QString, kDeviceColumns> folded; ///< the same after FoldForMatch
    std::uint32_t numCores = 0;
    std::uint32_t flashBytes = 0;
    std::uint32_t ramBytes = 0;
    bool bigEndian = false;
};

/// A memory size as the table shows it, in KB, or in MB from 1000 KB on.
[[nodiscard]] QString SizeText(std::int64_t sizeBytes);

/// Copies the fields that the table needs from the library's records. Null names become empty,
/// names longer than kMaxDeviceNameBytes are cut at a character's end.
[[nodiscard]] std::vector<DeviceRow> MakeDeviceRows(const RanvoDeviceInfo *records, int count);

/// Compares two devices by one column. Texts compare naturally, numbers and sizes by value.
/// @return below, equal to or above 0
[[nodiscard]] int CompareDevices(const DeviceRow &left, const DeviceRow &right, int column);

/// The texts that occur in one column, each once, in the column's order. Empty ones are left out.
[[nodiscard]] QStringList DistinctTexts(const std::vector<DeviceRow> &rows, int column);
