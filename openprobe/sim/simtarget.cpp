#include "simtarget.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <string_view>

namespace OpenProbe {
namespace {

enum Bank : int { kRamBank, kFlashBank, kExternalBank, kRomBank, kBankCount };

constexpr std::uint32_t kMaxBankBytes = 4 * 1024 * 1024; // enough to scroll through, quick to fill
constexpr std::uint32_t kMirrorBytes = 0x10000;
constexpr std::uint32_t kExternal = 0x7FFF8000;
constexpr std::uint32_t kExternalBytes = 0x10000;
constexpr std::uint32_t kRom = 0xFFFF0000;
constexpr std::uint32_t kRomBytes = 0x10000;
constexpr std::uint32_t kSystemControlSpace = 0xE000E000;

// A generic device has no sizes; it gets the map of the first device of the list.
DeviceEntry WithSizes(DeviceEntry device)
{
    const DeviceEntry &usual = *DeviceAt(0);
    if (device.flashSize == 0 && device.ramSize == 0) {
        device.flashAddress = usual.flashAddress;
        device.flashSize = usual.flashSize;
        device.ramAddress = usual.ramAddress;
        device.ramSize = usual.ramSize;
    }
    device.ramSize = std::clamp(device.ramSize, SimFirmware::kMinRamSize, kMaxBankBytes);
    device.flashSize = std::min(device.flashSize, kMaxBankBytes);
    return device;
}

std::uint32_t CpuIdOf(const DeviceEntry &device)
{
    switch (device.coreId) {
    case 0x060000FF: // Cortex-M0
        return 0x410CC200;
    case 0x030000FF: // Cortex-M3
        return 0x412FC230;
    case 0x0E0100FF: // Cortex-M7
        return 0x411FC270;
    case 0x060100FF: // Cortex-M23
        return 0x411CD200;
    case 0x0E0200FF: // Cortex-M33
        return 0x410FD210;
    default:
        return 0x410FC241; // Cortex-M4
    }
}

void PutText(std::vector<std::uint8_t> &bank, std::size_t offset, std::string_view text)
{
    std::memcpy(&bank[offset], text.data(), std::min(text.size(), bank.size() - offset));
}

void PutWord(
    std::vector<std::uint8_t> &bank, std::size_t offset, std::uint32_t value, bool bigEndian)
{
    for (std::size_t i = 0; i < 4; ++i)
        bank[offset + i] = static_cast<std::uint8_t>(value >> 8 * (bigEndian ? 3 - i : i));
}

} // namespace

SimTarget::SimTarget(const DeviceEntry &device, bool bigEndian)
    : m_bigEndian(bigEndian || device.byteOrder == 1)
    , m_cpuId(CpuIdOf(device))
    , m_banks(kBankCount)
    , m_peripherals(m_cpuId)
{
    const DeviceEntry sized = WithSizes(device);
    m_banks[kRamBank].resize(sized.ramSize);
    m_banks[kFlashBank].resize(sized.flashSize, 0xFF); // as erased flash reads
    m_banks[kExternalBank].resize(kExternalBytes);
    m_banks[kRomBank].resize(kRomBytes);
    FillFlash(m_banks[kFlashBank], sized.flashAddress);
    for (std::uint32_t at = 0; at < kExternalBytes; at += 4)
        PutWord(m_banks[kExternalBank], at, kExternal + at, m_bigEndian);
    for (std::uint32_t at = 0; at < kRomBytes; at += 16)
        PutText(m_banks[kRomBank], at, "BOOT ROM        ");
    PutText(m_banks[kRomBank], kRomBytes - 16, "LAST 16 BYTES **");
    m_firmware = std::make_unique<SimFirmware>(
        m_banks[kRamBank], sized.ramAddress, m_bigEndian, sized.name);

    AddRam(sized.ramAddress, sized.ramSize);
    AddBank(sized.flashAddress, kFlashBank, false);
    if (m_map.Prefix(0, 1, 0) == 0)
        AddRam(0, std::min(sized.ramSize, kMirrorBytes));
    AddBank(kExternal, kExternalBank, true);
    AddBank(kRom, kRomBank, false);
    AddPeripherals();
}

void SimTarget::AddRam(std::uint32_t address, std::uint32_t size)
{
    struct Stretch {
        std::uint32_t first;
        std::uint32_t last;
        bool writable;
    };
    const Stretch stretches[] = {{0, 0x7FF, true}, {0x860, 0x8FF, true}, {0x903, 0x912, true},
        {0x914, SimFirmware::kProtectedFirst - 1, true},
        {SimFirmware::kProtectedFirst, SimFirmware::kProtectedLast, false},
        {SimFirmware::kProtectedLast + 1, size - 1, true}};
    for (const Stretch &stretch : stretches)
        m_map.Add({address + stretch.first, address + stretch.last, kRamBank, stretch.first, 7,
            stretch.writable});
}

void SimTarget::AddBank(std::uint32_t address, int bank, bool writable)
{
    const std::size_t size = m_banks[static_cast<std::size_t>(bank)].size();
    if (size != 0)
        m_map.Add({address, static_cast<std::uint32_t>(address + size - 1), bank, 0, 7, writable});
}

void SimTarget::AddPeripherals()
{
    static constexpr std::uint32_t kWidthsOfBlock[] = {1 | 2 | 4, 4, 2 | 4, 1 | 2 | 4, 1 | 2 | 4};
    std::uint32_t offset = 0;
    for (const std::uint32_t widths : kWidthsOfBlock) {
        m_map.Add({kPeripherals + offset, kPeripherals + offset + SimPeripherals::kBlockBytes - 1,
            SimSegment::kPeripheral, offset, widths, true});
        offset += SimPeripherals::kBlockStep;
    }
    m_map.Add({kSystemControlSpace, kSystemControlSpace + SimPeripherals::kBlockStep - 1,
        SimSegment::kPeripheral, SimPeripherals::kSystemControl, 4, true});
}

// An image header, the vector table behind it, a sine table, something that looks like code.
void SimTarget::FillFlash(std::vector<std::uint8_t> &flash, std::uint32_t address) const
{
    constexpr std::uint32_t kVectors = 0x100;
    constexpr std::uint32_t kSine = 0x400;
    constexpr std::uint32_t kCode = 0x800;
    constexpr std::uint32_t kCodeEnd = 0x2000;
    if (flash.size() < kCodeEnd)
        return;
    PutText(flash, 0, "SIMULATED TARGET");
    PutText(flash, 16, "flash image 1.00");
    PutWord(flash, 32, address + kVectors, m_bigEndian);
    for (std::uint32_t i = 0; i < 48; ++i)
        PutWord(flash, kVectors + 4 * i, address + kCode + 0x11 + 0x40 * i, m_bigEndian);
    for (std::uint32_t i = 0; i < 256; ++i) {
        const double sample = std::sin(2 * std::numbers::pi * i / 256);
        const auto value = static_cast<std::uint32_t>(std::lround(sample * 32767));
        flash[kSine + 2 * i] = static_cast<std::uint8_t>(value >> (m_bigEndian ? 8 : 0));
        flash[kSine + 2 * i + 1] = static_cast<std::uint8_t>(value >> (m_bigEndian ? 0 : 8));
    }
    std::minstd_rand random(4711);
    for (std::uint32_t at = kCode; at < kCodeEnd; ++at)
        flash[at] = static_cast<std::uint8_t>(random() >> 8);
}

void SimTarget::RunUntil(std::uint64_t nowMs)
{
    m_firmware->RunUntil(nowMs);
    m_peripherals.SetTime(nowMs);
}

int SimTarget::Read(std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width)
{
    const std::uint64_t end = address + std::uint64_t{data.size()};
    const std::uint64_t prefix = m_map.Prefix(address, data.size(), width);
    // Checked before anything is read: a refused read must have no side effect.
    if (m_map.AnyReadable(address + prefix, end, width))
        return -1;
    for (std::uint64_t done = 0; done < prefix;) {
        const auto at = static_cast<std::uint32_t>(address + done);
        const SimPiece piece = m_map.PieceAt(at, end, width);
        const std::uint32_t offset = piece.segment->offset + (at - piece.segment->first);
        const std::span out = data.subspan(done, piece.bytes);
        if (piece.segment->bank == SimSegment::kPeripheral)
            m_peripherals.Read(offset, out, m_bigEndian);
        else
            std::memcpy(out.data(), &m_banks[static_cast<std::size_t>(piece.segment->bank)][offset],
                out.size());
        done += piece.bytes;
    }
    return static_cast<int>(prefix);
}

int SimTarget::Write(std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width)
{
    const std::uint64_t end = address + std::uint64_t{data.size()};
    for (const bool rehearsal : {true, false}) {
        for (std::uint64_t done = 0; done < data.size();) {
            const auto at = static_cast<std::uint32_t>(address + done);
            const SimPiece piece = m_map.PieceAt(at, end, width);
            if (piece.segment == nullptr || !piece.segment->writable)
                return -1;
            const std::uint32_t offset = piece.segment->offset + (at - piece.segment->first);
            const std::span in = data.subspan(done, piece.bytes);
            done += piece.bytes;
            if (rehearsal)
                continue;
            if (piece.segment->bank == SimSegment::kPeripheral)
                m_peripherals.Write(offset, in, m_bigEndian);
            else
                std::memcpy(&m_banks[static_cast<std::size_t>(piece.segment->bank)][offset],
                    in.data(), in.size());
        }
    }
    return static_cast<int>(data.size());
}

} // namespace OpenProbe
