#pragma once

#include "ranvoapi.h"

#include <cstdint>
#include <vector>

/// The device list that these tests show: real-looking names out of order, one record with nothing.
inline RanvoDeviceInfo MakeRecord(const char *manufacturer, const char *name, std::uint32_t coreId,
    std::uint32_t numCores, std::uint32_t flashBytes, std::uint32_t ramBytes,
    std::uint32_t byteOrder = 0)
{
    return {RANVO_DEVICE_INFO_SIZE, name, manufacturer, coreId, 0, flashBytes, 0, ramBytes,
        numCores, byteOrder, {}};
}

inline std::vector<RanvoDeviceInfo> MakeDeviceRecords()
{
    constexpr std::uint32_t kKB = 1024;
    return {
        MakeRecord("ST", "STM32F407IG", 0x0E0000FF, 1, 1024 * kKB, 192 * kKB),
        MakeRecord("ST", "STM32F103C8", 0x030000FF, 1, 64 * kKB, 20 * kKB),
        MakeRecord("ST", "STM32F40", 0x0E0000FF, 1, 512 * kKB, 128 * kKB),
        MakeRecord("NXP", "LPC4350_dual", 0x0E0000FF, 2, 0, 264 * kKB),
        MakeRecord("Renesas", "RX610 big", 0x0D00FFFF, 1, 2048 * kKB, 128 * kKB, 1),
        MakeRecord("Acme", "Odd core", 0x0E0000FE, 3, 999 * kKB, 1000),
        MakeRecord(nullptr, nullptr, 0, 0, 0, 0),
    };
}
