#pragma once

#include <cstdint>

namespace OpenProbe {

/// One device that the library knows by name. The texts live as long as the process.
struct DeviceEntry {
    const char *manufacturer;
    const char *name;
    std::uint32_t coreId;
    std::uint32_t flashAddress;
    std::uint32_t flashSize; // bytes
    std::uint32_t ramAddress;
    std::uint32_t ramSize; // bytes
    std::uint32_t numCores;
    std::uint32_t byteOrder; // 0 little endian, 1 big endian
};

/// The environment variable that adds devices "TEST-00001" and so on, for lists of any length:
/// a decimal number up to kMaxExtraDevices, read once when a device is first asked for. Anything
/// else adds none.
inline constexpr const char *kExtraDevicesVariable = "OPENPROBE_EXTRA_DEVICES";
inline constexpr int kMaxExtraDevices = 20'000;

/// Number of known devices. Any thread.
[[nodiscard]] int DeviceCount();

/// The device with that index, null outside 0 .. DeviceCount() - 1. Any thread.
[[nodiscard]] const DeviceEntry *DeviceAt(int index);

/// The device of that name, upper and lower case alike; null when none has it. Any thread.
[[nodiscard]] const DeviceEntry *FindDevice(const char *name);

} // namespace OpenProbe
