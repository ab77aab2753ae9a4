#pragma once

#include "connectionrecord.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <type_traits>

/// What the connection dialog edits: a connection record in terms of the dialog's rows and boxes.
/// Indexes are rows of the tables in configtables.h.
struct ConfigState {
    bool useSerialNo;
    bool initRegs;
    bool localhostOnly;
    bool multipleTargets;
    std::uint32_t interfaceIndex;
    std::uint32_t frequencyIndex;
    std::uint32_t endianIndex;
    std::uint32_t drPrefixIndex;
    std::uint32_t connectionIndex;
    std::uint32_t speedMode;
    std::uint32_t usbSerialNo;
    std::int32_t irPrefix;
    std::array<char, 128> deviceName; ///< NUL-terminated
    std::array<char, 128> hostName;   ///< NUL-terminated
};
static_assert(std::is_trivially_copyable_v<ConfigState>);

/// What the host-name field shows of a longer name, in bytes.
inline constexpr std::size_t kShownHostBytes = 63;

/// The text of the custom frequency row, empty while no stored speed needed it.
/// Deliberate: one for the whole program, so a custom speed stays in the list until it ends.
[[nodiscard]] std::array<char, 32> &CustomSpeedText();

/// Derives the state from a record; values missing from the tables become the default row. A fixed
/// speed that is not recognised becomes the custom row.
[[nodiscard]] ConfigState LoadConfigState(const ConnectionRecord &record);

/// Writes the state back. Fields that the state does not hold keep their values.
void StoreConfigState(const ConfigState &state, ConnectionRecord *record);

/// The frequency list shows the custom row only when it has a text: list row to table row.
[[nodiscard]] std::uint32_t FrequencyOfListRow(int listRow);
/// Table row to list row; -1 for a custom row that is not listed.
[[nodiscard]] int ListRowOfFrequency(std::uint32_t frequencyIndex);

/// Chooses a target interface. Adaptive clocking, which only JTAG has, is replaced by the automatic
/// speed for any other.
void ChooseInterface(ConfigState *state, std::uint32_t interfaceIndex);

/// Chooses a position in the scan chain and presets the instruction-register bits for it.
void ChoosePosition(ConfigState *state, std::uint32_t position);

/// True when the chosen interface runs through a scan chain.
[[nodiscard]] bool UsesScanChain(const ConfigState &state);

/// Replaces a name of the state, in UTF-8. A longer one is cut at a character's end. Control
/// characters and double quotes are left out: the settings file keeps names on one line between
/// quotes and cannot hold them.
void SetName(std::array<char, 128> *name, std::string_view text);

/// The number of bytes of a text that fit into maxBytes without cutting a UTF-8 character.
[[nodiscard]] std::size_t FittingBytes(std::string_view text, std::size_t maxBytes);

/// Reads a whole decimal number with optional sign and blanks around; 0 for any other text and for
/// a value outside the bounds.
[[nodiscard]] std::int64_t ReadNumber(std::string_view text, std::int64_t min, std::int64_t max);
