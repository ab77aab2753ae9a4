#pragma once

#include "devicetable.h"
#include "simfirmware.h"
#include "simmap.h"
#include "simperipherals.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace OpenProbe {

/// The simulated microcontroller: memory map, contents, running program. The caller gives the time.
///
/// RAM and flash lie where the device says, RAM with a few unreadable holes (+0x800 to +0x85F,
/// +0x900 to +0x902, +0x913) and a write-protected stretch. The start of RAM is mirrored at 0 where
/// the device leaves that free, as after a boot from RAM. Always there, unless the device has
/// something at that place: peripherals from 0x50000000, memory across 0x80000000, system control
/// at 0xE000E000, and a ROM that ends with the address space.
class SimTarget {
public:
    static constexpr std::uint32_t kPeripherals = 0x50000000;

    SimTarget(const DeviceEntry &device, bool bigEndian);

    /// As Backend::Read and Backend::Write. A refused write changes nothing.
    [[nodiscard]] int Read(
        std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width);
    [[nodiscard]] int Write(
        std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width);

    /// Lets the target run until that many milliseconds after its start.
    void RunUntil(std::uint64_t nowMs);

    [[nodiscard]] SimFaults &Faults() { return m_peripherals.Faults(); }
    [[nodiscard]] std::uint32_t CpuId() const { return m_cpuId; }

private:
    void AddRam(std::uint32_t address, std::uint32_t size);
    void AddBank(std::uint32_t address, int bank, bool writable);
    void AddPeripherals();
    void FillFlash(std::vector<std::uint8_t> &flash, std::uint32_t address) const;

    bool m_bigEndian;
    std::uint32_t m_cpuId;
    std::vector<std::vector<std::uint8_t>> m_banks;
    SimMap m_map;
    SimPeripherals m_peripherals;
    std::unique_ptr<SimFirmware> m_firmware;
};

} // namespace OpenProbe
