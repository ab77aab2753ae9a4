#include "simfirmware.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>

namespace OpenProbe {
namespace {

constexpr std::uint32_t kName = 0x010;
constexpr std::uint32_t kCounters = 0x020;
constexpr std::uint32_t kSmallCounters = 0x030;
constexpr std::uint32_t kMailbox = 0x038;
constexpr std::uint32_t kUpTime = 0x040;
constexpr std::uint32_t kAdc = 0x050;
constexpr std::uint32_t kComet = 0x060;
constexpr std::uint32_t kCometBytes = 96;
constexpr std::uint32_t kGauges = 0x0C0;
constexpr std::uint32_t kLog = 0x100;
constexpr std::uint32_t kLogLines = 16;
constexpr std::uint32_t kLine = 16;
constexpr std::uint32_t kListHead = 0x200;
constexpr std::uint32_t kPool = 0x210;
constexpr std::uint32_t kNodeBytes = 16;
constexpr std::uint32_t kEvents = 0x2D0;
constexpr std::uint32_t kEventCounters = 12;
constexpr std::uint32_t kSamples = 0x300;
constexpr std::uint32_t kSampleBytes = 256;
constexpr std::uint32_t kOwnAddresses = 0x400;
constexpr std::uint32_t kOwnAddressesEnd = 0x800;
constexpr std::uint32_t kGuardText = 0x860;

constexpr std::uint64_t kSampleMs = 25;
constexpr std::uint64_t kLogMs = 700;
constexpr std::uint64_t kMoveMs = 2500;

// A wave between 0 and top, of that period.
std::uint32_t Wave(std::uint64_t ms, double periodMs, std::uint32_t top)
{
    const double angle
        = 2 * std::numbers::pi * std::fmod(static_cast<double>(ms), periodMs) / periodMs;
    return static_cast<std::uint32_t>((std::sin(angle) + 1) / 2 * top);
}

} // namespace

SimFirmware::SimFirmware(std::span<std::uint8_t> ram, std::uint32_t ramAddress, bool bigEndian,
    std::string_view deviceName)
    : m_ram(ram)
    , m_ramAddress(ramAddress)
    , m_bigEndian(bigEndian)
{
    for (std::size_t i = 0; i < kNodes; ++i)
        m_slotOfNode[i] = i;
    PutFixedContents(deviceName);
    PutList();
}

void SimFirmware::Put16(std::uint32_t offset, std::uint32_t value)
{
    m_ram[offset + (m_bigEndian ? 1 : 0)] = static_cast<std::uint8_t>(value);
    m_ram[offset + (m_bigEndian ? 0 : 1)] = static_cast<std::uint8_t>(value >> 8);
}

void SimFirmware::Put32(std::uint32_t offset, std::uint32_t value)
{
    Put16(offset + (m_bigEndian ? 2 : 0), value & 0xFFFF);
    Put16(offset + (m_bigEndian ? 0 : 2), value >> 16);
}

std::uint32_t SimFirmware::Get16(std::uint32_t offset) const
{
    const std::uint32_t low = m_ram[offset + (m_bigEndian ? 1 : 0)];
    return low | std::uint32_t{m_ram[offset + (m_bigEndian ? 0 : 1)]} << 8;
}

std::uint32_t SimFirmware::Get32(std::uint32_t offset) const
{
    return Get16(offset + (m_bigEndian ? 2 : 0)) | Get16(offset + (m_bigEndian ? 0 : 2)) << 16;
}

void SimFirmware::PutText(std::uint32_t offset, std::string_view text, std::uint32_t width)
{
    for (std::uint32_t i = 0; i < width; ++i)
        m_ram[offset + i] = static_cast<std::uint8_t>(i < text.size() ? text[i] : ' ');
}

// How many periods end between the last run and now. Counters add this number, so that one changed
// by the user goes on from the value written.
std::uint64_t SimFirmware::Periods(std::uint64_t nowMs, std::uint64_t periodMs) const
{
    return nowMs / periodMs - m_lastMs / periodMs;
}

std::uint32_t SimFirmware::NodeAddress(std::size_t slot) const
{
    return m_ramAddress + kPool + static_cast<std::uint32_t>(slot) * kNodeBytes;
}

void SimFirmware::PutFixedContents(std::string_view deviceName)
{
    PutText(0, "SIMULATED TARGET", kLine);
    PutText(kName, deviceName, kLine);
    PutText(kUpTime, "UP 000:00:00.0", kLine);
    for (std::uint32_t line = 0; line < kLogLines; ++line)
        PutText(kLog + line * kLine, line == 0 ? "0000.0 reset" : "", kLine);
    for (std::uint32_t at = kOwnAddresses; at < kOwnAddressesEnd; at += 4)
        Put32(at, m_ramAddress + at);
    PutText(kGuardText, "GUARD ZONE ABOVE", kLine);
    for (std::uint32_t at = kProtectedFirst; at < kProtectedLast; at += kLine)
        PutText(at, "WRITE PROTECTED", kLine);
}

void SimFirmware::RunUntil(std::uint64_t nowMs)
{
    Put32(kMailbox + 4, ~Get32(kMailbox));
    if (nowMs <= m_lastMs)
        return;
    RunCounters(nowMs);
    RunTexts(nowMs);
    RunSignals(nowMs);
    RunLog(nowMs);
    RunList(nowMs);
    m_lastMs = nowMs;
}

void SimFirmware::RunCounters(std::uint64_t nowMs)
{
    constexpr std::uint32_t kLoopsPerMs = 1009;
    const auto add32 = [&](std::uint32_t offset, std::uint64_t count) {
        Put32(offset, Get32(offset) + static_cast<std::uint32_t>(count));
    };
    const auto add16 = [&](std::uint32_t offset, std::uint64_t count) {
        Put16(offset, Get16(offset) + static_cast<std::uint32_t>(count));
    };
    const auto add8 = [&](std::uint32_t offset, std::uint64_t count) {
        m_ram[offset] = static_cast<std::uint8_t>(m_ram[offset] + count);
    };
    add32(kCounters, nowMs - m_lastMs);
    add32(kCounters + 4, Periods(nowMs, 10));
    add32(kCounters + 8, Periods(nowMs, 1000));
    add32(kCounters + 12, (nowMs - m_lastMs) * kLoopsPerMs);
    add16(kSmallCounters, Periods(nowMs, 100));
    add16(kSmallCounters + 2, Periods(nowMs, 500));
    add8(kSmallCounters + 4, Periods(nowMs, 200));
    add8(kSmallCounters + 5, Periods(nowMs, 1000));
    add8(kSmallCounters + 6, Periods(nowMs, 4000));
    add8(kSmallCounters + 7, ~Periods(nowMs, 300) + 1);
    for (std::uint64_t i = std::min<std::uint64_t>(Periods(nowMs, 1500), kEventCounters); i > 0;
         --i)
        add32(kEvents + 4 * static_cast<std::uint32_t>(m_random() % kEventCounters), 1);
}

void SimFirmware::RunTexts(std::uint64_t nowMs)
{
    std::array<char, 64> line{};
    const std::uint64_t tenths = nowMs / 100;
    std::snprintf(line.data(), line.size(), "UP %03u:%02u:%02u.%u",
        static_cast<unsigned>(tenths / 36000 % 1000), static_cast<unsigned>(tenths / 600 % 60),
        static_cast<unsigned>(tenths / 10 % 60), static_cast<unsigned>(tenths % 10));
    PutText(kUpTime, line.data(), kLine);
    static constexpr std::array kNames = {"CPU ", "BUS ", "TEMP", "VBAT"};
    static constexpr std::array kPeriodsMs = {9'000.0, 5'200.0, 47'000.0, 130'000.0};
    for (std::uint32_t i = 0; i < kNames.size(); ++i) {
        const std::uint32_t level = Wave(nowMs - nowMs % 500, kPeriodsMs[i], 10) + 1;
        std::snprintf(
            line.data(), line.size(), "%s %.*s", kNames[i], static_cast<int>(level), "###########");
        PutText(kGauges + i * kLine, line.data(), kLine);
    }
}

void SimFirmware::RunSignals(std::uint64_t nowMs)
{
    static constexpr std::array kPeriodsMs
        = {2'000.0, 3'100.0, 5'000.0, 7'900.0, 12'000.0, 21'000.0, 33'000.0, 60'000.0};
    for (std::uint32_t i = 0; i < kPeriodsMs.size(); ++i)
        Put16(kAdc + 2 * i, Wave(nowMs - nowMs % 200, kPeriodsMs[i], 4095));
    static constexpr std::array<std::uint8_t, 8> kTail
        = {0x01, 0x03, 0x07, 0x0F, 0x1F, 0x3F, 0x7F, 0xFF};
    if (Periods(nowMs, 100) != 0) {
        std::memset(&m_ram[kComet], 0, kCometBytes);
        for (std::uint32_t i = 0; i < kTail.size(); ++i)
            m_ram[kComet + (nowMs / 100 + i) % kCometBytes] = kTail[i];
    }
    const std::uint64_t newest = nowMs / kSampleMs;
    const std::uint64_t fresh = std::min<std::uint64_t>(Periods(nowMs, kSampleMs), kSampleBytes);
    for (std::uint64_t n = newest - fresh; n < newest; ++n)
        m_ram[kSamples + n % kSampleBytes]
            = static_cast<std::uint8_t>(Wave(n * kSampleMs, 1'600.0, 240) + m_random() % 16);
}

void SimFirmware::RunLog(std::uint64_t nowMs)
{
    static constexpr std::array kEventNames
        = {"adc ok", "rx 12 B", "tx 40 B", "temp up", "temp ok", "key 3", "wdt fed"};
    const std::uint64_t newest = nowMs / kLogMs;
    const std::uint64_t fresh = std::min<std::uint64_t>(Periods(nowMs, kLogMs), kLogLines);
    for (std::uint64_t n = newest - fresh + 1; n <= newest; ++n) {
        std::array<char, 64> line{};
        const std::uint64_t tenths = n * kLogMs / 100;
        std::snprintf(line.data(), line.size(), "%04u.%u %s",
            static_cast<unsigned>(tenths / 10 % 10'000), static_cast<unsigned>(tenths % 10),
            kEventNames[n * 5 % kEventNames.size()]);
        PutText(kLog + static_cast<std::uint32_t>(n % kLogLines) * kLine, line.data(), kLine);
    }
}

void SimFirmware::RunList(std::uint64_t nowMs)
{
    const std::uint64_t moves = std::min<std::uint64_t>(Periods(nowMs, kMoveMs), kSlots);
    for (std::uint64_t i = 0; i < moves; ++i)
        MoveOneNode();
    if (moves != 0)
        PutList();
}

void SimFirmware::MoveOneNode()
{
    std::array<std::size_t, kSlots> free{};
    std::size_t freeCount = 0;
    for (std::size_t slot = 0; slot < kSlots; ++slot) {
        if (std::ranges::find(m_slotOfNode, slot) == m_slotOfNode.end())
            free[freeCount++] = slot;
    }
    std::size_t &moved = m_slotOfNode[m_random() % kNodes];
    std::memset(&m_ram[kPool + moved * kNodeBytes], 0xDD, kNodeBytes); // as a freed block looks
    moved = free[m_random() % freeCount];
    ++m_moves;
}

// The whole list is written again after a move; the neighbours' pointers change with it.
void SimFirmware::PutList()
{
    static constexpr std::array kNames = {"IDLE", "COMM", "MEAS", "CTRL", "DISP", "STOR", "BOOT"};
    Put32(kListHead, NodeAddress(m_slotOfNode[0]));
    Put32(kListHead + 4, kNodes);
    Put32(kListHead + 8, m_moves);
    for (std::uint32_t i = 0; i < kNodes; ++i) {
        const std::uint32_t at = NodeAddress(m_slotOfNode[i]) - m_ramAddress;
        Put32(at, NodeAddress(m_slotOfNode[(i + 1) % kNodes]));
        Put32(at + 4, NodeAddress(m_slotOfNode[(i + kNodes - 1) % kNodes]));
        Put32(at + 8, i * 0x111);
        PutText(at + 12, kNames[i], 4);
    }
}

} // namespace OpenProbe
