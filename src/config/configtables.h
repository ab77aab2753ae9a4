#pragma once

#include <array>
#include <cstdint>

struct ConfigState;

/// Formats one piece of the option string into a bounded buffer.
using OptionBuilder = void (*)(const ConfigState &state, char *piece, std::uint32_t size);

void FormatUsbOption(const ConfigState &state, char *piece, std::uint32_t size);
void FormatIpOption(const ConfigState &state, char *piece, std::uint32_t size);
void FormatSpeedOption(const ConfigState &state, char *piece, std::uint32_t size);

struct ConnectionRow {
    std::int32_t connectMode;
    const char *label;
    OptionBuilder formatOption;
};
inline constexpr std::uint32_t kUsbConnection = 0;
inline constexpr std::uint32_t kTcpIpConnection = 1;
inline constexpr std::array kConnections
    = {ConnectionRow{1, "&USB", FormatUsbOption}, ConnectionRow{2, "&TCP/IP", FormatIpOption}};

struct EndianRow {
    std::int32_t endianMode;
    const char *label;
    const char *optionWord;
};
inline constexpr std::array kEndians
    = {EndianRow{0, "Little Endian", "little"}, EndianRow{1, "Big Endian", "big"}};

struct InterfaceRow {
    std::int32_t targetInterface;
    const char *name; ///< shown in the list, and used as the option's word
};
/// Deliberate gap: the library's interface 2 is not offered.
inline constexpr std::array kInterfaces = {InterfaceRow{0, "JTAG"}, InterfaceRow{1, "SWD"},
    InterfaceRow{3, "FINE"}, InterfaceRow{4, "ICSP"}};
inline constexpr std::uint32_t kDefaultInterface = 1;

/// The speed modes are the rows of this table.
struct SpeedRow {
    const char *label;
    OptionBuilder formatOption;
};
inline constexpr std::uint32_t kAutoSpeed = 0;
inline constexpr std::uint32_t kAdaptiveSpeed = 1;
inline constexpr std::uint32_t kFixedSpeed = 2;
inline constexpr std::array kSpeeds = {SpeedRow{"&Auto Selection", FormatSpeedOption},
    SpeedRow{"A&daptive clocking", FormatSpeedOption}, SpeedRow{"&Fixed", FormatSpeedOption}};

/// The fixed speeds in kHz. Row 0 is the custom row: its text is CustomSpeedText.
inline constexpr std::uint32_t kCustomFrequency = 0;
inline constexpr std::uint32_t kDefaultFrequency = 21;
inline constexpr std::array<std::int32_t, 34> kFrequenciesKHz = {-1, 1, 5, 10, 20, 30, 50, 100, 200,
    300, 400, 500, 600, 750, 900, 1000, 1334, 1600, 2000, 2667, 3200, 4000, 4800, 5334, 6000, 8000,
    9600, 12000, 15000, 20000, 25000, 30000, 40000, 50000};
static_assert(kFrequenciesKHz[kDefaultFrequency] == 4000);

/// Positions in the scan chain; the value is the number of data-register bits in front.
inline constexpr std::array<std::int32_t, 8> kPositions = {0, 1, 2, 3, 4, 5, 6, 7};
