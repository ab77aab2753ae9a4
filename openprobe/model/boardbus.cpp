#include "boardbus.h"

#include "devicetable.h"

#include <utility>

namespace {

constexpr std::uint32_t kPrivateFirst = 0xE0000000;
constexpr std::uint32_t kPrivateLast = 0xE000FFFF;
constexpr std::uint32_t kDwtControl = 0xE0001000;
constexpr std::uint32_t kBreakpointControl = 0xE0002000;
constexpr std::uint32_t kCpuId = 0xE000ED00;
constexpr std::uint32_t kHaltingControl = 0xE000EDF0;

constexpr std::uint32_t kDebugEnable = 1U << 0;
constexpr std::uint32_t kHalt = 1U << 1;
constexpr std::uint32_t kRegisterReady = 1U << 16;
constexpr std::uint32_t kIsHalted = 1U << 17;
constexpr std::uint32_t kRunsInstructions = 1U << 24;
constexpr std::uint32_t kResetHappened = 1U << 25;
constexpr std::uint32_t kKey = 0xA05F0000;

} // namespace

BoardBus::BoardBus(Clock clock)
    : m_clock(clock)
    , m_seenMs(clock())
    , m_target(*OpenProbe::DeviceAt(0), false)
{
}

void BoardBus::RunProgram()
{
    const std::uint64_t now = m_clock();
    const std::uint64_t passed = now - std::exchange(m_seenMs, now);
    if (!m_halted)
        m_ranMs += passed;
    m_target.RunUntil(m_ranMs);
}

bool BoardBus::IsPrivate(std::uint32_t address)
{
    return address >= kPrivateFirst && address <= kPrivateLast;
}

bool BoardBus::Read(std::uint32_t address, unsigned width, std::uint32_t &value)
{
    RunProgram();
    if (IsPrivate(address)) {
        value = ReadPrivate(address & ~3U) >> 8 * (address % 4);
        return true;
    }
    std::uint8_t bytes[4] = {};
    if (m_target.Read(address, std::span(bytes).first(width), width) != static_cast<int>(width))
        return false;
    value = bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16
        | std::uint32_t{bytes[3]} << 24;
    return true;
}

bool BoardBus::Write(std::uint32_t address, unsigned width, std::uint32_t value)
{
    RunProgram();
    if (IsPrivate(address)) {
        WritePrivate(address & ~3U, value);
        return true;
    }
    const std::uint8_t bytes[4]
        = {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
            static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
    return m_target.Write(address, std::span(bytes).first(width), width) == static_cast<int>(width);
}

std::uint32_t BoardBus::ReadPrivate(std::uint32_t address)
{
    switch (address) {
    case kDwtControl:
        return 4U << 28; // comparators
    case kBreakpointControl:
        return 0x60 | (m_registers[address] & 1); // six comparators, and whether they are on
    case kCpuId:
        return m_target.CpuId();
    case kHaltingControl:
        return (m_debugControl & 0xFFFF) | kRegisterReady
            | (m_halted ? kIsHalted : kRunsInstructions)
            | (std::exchange(m_wasReset, false) ? kResetHappened : 0);
    default:
        return m_registers.contains(address) ? m_registers[address] : 0;
    }
}

void BoardBus::WritePrivate(std::uint32_t address, std::uint32_t value)
{
    if (address != kHaltingControl) {
        m_registers[address] = value;
    } else if ((value & 0xFFFF0000) == kKey) {
        m_debugControl = value & 0xFFFF;
        m_halted = (value & kDebugEnable) != 0 && (value & kHalt) != 0;
    }
}
