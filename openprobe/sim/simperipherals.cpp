#include "simperipherals.h"

#include <string_view>
#include <utility>

namespace OpenProbe {
namespace {

constexpr std::uint32_t kTimer = 0x0000;
constexpr std::uint32_t kSerial = 0x1000;
constexpr std::uint32_t kPort = 0x2000;
constexpr std::uint32_t kTrace = 0x3000;
constexpr std::uint32_t kPortSet = 0x8;
constexpr std::uint32_t kPortClear = 0xC;
constexpr std::uint64_t kEventMs = 125;
constexpr std::string_view kReceived = "The quick brown fox jumps over the lazy dog.\r\n";

std::uint32_t ShiftOfByte(std::uint32_t byteInWord, bool bigEndian)
{
    return 8 * (bigEndian ? 3 - byteInWord : byteInWord);
}

} // namespace

SimPeripherals::SimPeripherals(std::uint32_t cpuId)
    : m_cpuId(cpuId)
{
}

void SimPeripherals::Read(std::uint32_t offset, std::span<std::uint8_t> data, bool bigEndian)
{
    const std::uint32_t reg = offset % kBlockStep & ~3U;
    const std::uint32_t word
        = ReadWord(offset - offset % kBlockStep, reg, static_cast<std::uint32_t>(data.size()));
    for (std::uint32_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<std::uint8_t>(word >> ShiftOfByte(offset % 4 + i, bigEndian));
}

void SimPeripherals::Write(std::uint32_t offset, std::span<const std::uint8_t> data, bool bigEndian)
{
    const std::uint32_t block = offset - offset % kBlockStep;
    const std::uint32_t reg = offset % kBlockStep & ~3U;
    std::uint32_t value = 0;
    std::uint32_t mask = 0;
    for (std::uint32_t i = 0; i < data.size(); ++i) {
        const std::uint32_t shift = ShiftOfByte(offset % 4 + i, bigEndian);
        value |= std::uint32_t{data[i]} << shift;
        mask |= 0xFFU << shift;
    }
    if (block == kPort && reg == kPortSet)
        m_outputs |= value;
    else if (block == kPort && reg == kPortClear)
        m_outputs &= ~value;
    else if (std::uint32_t *word = WritableWord(block, reg))
        *word = (*word & ~mask) | value;
}

std::uint32_t SimPeripherals::ReadWord(std::uint32_t block, std::uint32_t reg, std::uint32_t width)
{
    switch (block) {
    case kTimer:
        return ReadTimer(reg);
    case kSerial:
        return ReadSerial(reg);
    case kPort:
        return ReadPort(reg);
    case kTrace:
        return width * 0x01010101U;
    case kSystemControl:
        return ReadSystemControl(reg);
    default:
        break;
    }
    const std::uint32_t *word = WritableWord(block, reg);
    return word != nullptr ? *word : 0;
}

std::uint32_t SimPeripherals::ReadTimer(std::uint32_t reg)
{
    ++m_timerReads;
    switch (reg) {
    case 0x0:
        return static_cast<std::uint32_t>(m_nowMs);
    case 0x4: {
        const std::uint64_t before = std::exchange(m_lastEventMs, m_nowMs);
        return static_cast<std::uint32_t>(m_nowMs / kEventMs - before / kEventMs);
    }
    case 0x8:
        return m_timerFree;
    case 0xC:
        return m_timerReads;
    default:
        return 0;
    }
}

std::uint32_t SimPeripherals::ReadSerial(std::uint32_t reg)
{
    switch (reg) {
    case 0x0:
        return static_cast<std::uint8_t>(kReceived[m_charactersTaken++ % kReceived.size()]);
    case 0x4:
        return 0x21; // a character waits, room to send
    case 0x8:
        return m_charactersTaken;
    default:
        return 0;
    }
}

std::uint32_t SimPeripherals::ReadPort(std::uint32_t reg) const
{
    const auto step = static_cast<std::uint32_t>(m_nowMs / 250);
    switch (reg) {
    case 0x0:
        return 1U << step % 16 | (m_outputs & 0xFFFFU) << 16; // a running light, outputs read back
    case 0x4:
        return m_outputs;
    default:
        return 0;
    }
}

std::uint32_t SimPeripherals::ReadSystemControl(std::uint32_t reg) const
{
    switch (reg) {
    case 0x014:
        return 167'999; // reload of the millisecond tick at 168 MHz
    case 0x018:
        return 167'999 - static_cast<std::uint32_t>(m_nowMs * 7919 % 168'000);
    case 0xD00:
        return m_cpuId;
    default:
        return 0;
    }
}

std::uint32_t *SimPeripherals::WritableWord(std::uint32_t block, std::uint32_t reg)
{
    if (block == kTimer && reg == 0x8)
        return &m_timerFree;
    if (block == kPort && reg == 0x4)
        return &m_outputs;
    if (block != kFixture)
        return nullptr;
    switch (reg) {
    case 0x0:
        return &m_faults.readsUntilUnplugged;
    case 0x4:
        return &m_faults.delayMs;
    case 0x8:
        return &m_faults.frozen;
    case 0xC:
        return &m_faults.advanceMs;
    default:
        return nullptr;
    }
}

} // namespace OpenProbe
