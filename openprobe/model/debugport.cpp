#include "debugport.h"

namespace {

constexpr std::uint64_t kOkOrFault = 2;
constexpr std::uint32_t kStickyError = 1U << 5;
constexpr std::uint32_t kDebugPowerRequest = 1U << 28;
constexpr std::uint32_t kSystemPowerRequest = 1U << 30;

constexpr std::uint32_t kSizeMask = 7;
constexpr std::uint32_t kIncrementMask = 3U << 4;
constexpr std::uint32_t kIncrementSingle = 1U << 4;
constexpr std::uint32_t kDeviceEnabled = 1U << 6;
constexpr std::uint32_t kProtectionMask = 0x7F000000;
constexpr std::uint32_t kIncrementBlock = 0x1000; // an M4's address carries no further

enum MemoryPort : unsigned {
    kAccessControl = 0x00,
    kAddress = 0x04,
    kData = 0x0C,
    kBanked0 = 0x10,
    kBanked3 = 0x1C,
    kBase = 0xF8,
    kIdentity = 0xFC
};

} // namespace

std::uint64_t DebugPort::Capture() const
{
    return std::uint64_t{m_result} << 3 | kOkOrFault;
}

void DebugPort::AccessDebugPort(std::uint64_t scan)
{
    const unsigned reg = static_cast<unsigned>(scan >> 1 & 3) * 4;
    if ((scan & 1) != 0)
        m_result = ReadPort(reg);
    else
        WritePort(reg, static_cast<std::uint32_t>(scan >> 3));
}

std::uint32_t DebugPort::ReadPort(unsigned reg) const
{
    if (reg == 8)
        return m_select;
    if (reg != 4)
        return 0;
    // Each power domain acknowledges its request at once, one bit above it.
    return m_control | (m_control & (kDebugPowerRequest | kSystemPowerRequest)) << 1;
}

void DebugPort::WritePort(unsigned reg, std::uint32_t value)
{
    if (reg == 8)
        m_select = value;
    if (reg == 4) // a one clears the sticky error
        m_control = (value & ~kStickyError) | (m_control & ~value & kStickyError);
}

void DebugPort::AccessAccessPort(std::uint64_t scan)
{
    const bool firstPort = m_select >> 24 == 0;
    const unsigned reg = (m_select & 0xF0) | static_cast<unsigned>(scan >> 1 & 3) * 4;
    if ((m_control & kStickyError) != 0 || !firstPort) {
        m_result = 0; // nothing is done until the error is cleared
        return;
    }
    if ((scan & 1) != 0)
        m_result = ReadMemoryPort(reg);
    else
        WriteMemoryPort(reg, static_cast<std::uint32_t>(scan >> 3));
}

unsigned DebugPort::Width() const
{
    return 1U << (m_accessControl & kSizeMask);
}

void DebugPort::Advance()
{
    if ((m_accessControl & kIncrementMask) == kIncrementSingle)
        m_address = (m_address & ~(kIncrementBlock - 1))
            | ((m_address + Width()) & (kIncrementBlock - 1));
}

// Narrow data travels in the byte lanes that its address gives it.
std::uint32_t DebugPort::ReadBus(std::uint32_t address, unsigned width)
{
    std::uint32_t value = 0;
    if (address % width != 0 || !m_bus.Read(address, width, value)) {
        m_control |= kStickyError;
        return 0;
    }
    return value << 8 * (address % 4);
}

void DebugPort::WriteBus(std::uint32_t address, unsigned width, std::uint32_t value)
{
    if (address % width != 0 || !m_bus.Write(address, width, value >> 8 * (address % 4)))
        m_control |= kStickyError;
}

std::uint32_t DebugPort::ReadMemoryPort(unsigned reg)
{
    if (reg >= kBanked0 && reg <= kBanked3)
        return ReadBus((m_address & ~0xFU) + (reg - kBanked0), 4);
    switch (reg) {
    case kAccessControl:
        return m_accessControl | kDeviceEnabled;
    case kAddress:
        return m_address;
    case kData: {
        const std::uint32_t value = ReadBus(m_address, Width());
        Advance();
        return value;
    }
    case kBase:
        return 0xFFFFFFFF; // no table of debug components
    case kIdentity:
        return 0x24770011; // an AHB access port
    default:
        return 0;
    }
}

void DebugPort::WriteMemoryPort(unsigned reg, std::uint32_t value)
{
    if (reg >= kBanked0 && reg <= kBanked3) {
        WriteBus((m_address & ~0xFU) + (reg - kBanked0), 4, value);
    } else if (reg == kAccessControl) {
        m_accessControl = value & (kSizeMask | kIncrementMask | kProtectionMask);
        if ((value & kSizeMask) > 2)
            m_accessControl = (m_accessControl & ~kSizeMask) | 2; // words at most
        if ((value & kIncrementMask) > kIncrementSingle)
            m_accessControl &= ~kIncrementMask; // no packed transfers
    } else if (reg == kAddress) {
        m_address = value;
    } else if (reg == kData) {
        WriteBus(m_address, Width(), value);
        Advance();
    }
}
