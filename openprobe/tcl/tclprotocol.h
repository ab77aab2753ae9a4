#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace OpenProbe {

/// Ends every command and every reply of OpenOCD's Tcl server.
inline constexpr char kTclEnd = '\x1a';

/// A command that makes the server put the number and the command's result code in front of its
/// reply, so that an answer to another request is never taken for this one's. Complete.
[[nodiscard]] std::string TclRequest(std::uint32_t number, std::string_view command);

/// The reply to a command.
struct TclReply {
    bool failed = false;
    std::string_view text; // a result, or the words of the failure
};

/// Parses a reply without its end mark. Nothing when it is not the answer to that number.
[[nodiscard]] std::optional<TclReply> ParseTclReply(std::string_view reply, std::uint32_t number);

/// "read_memory 0x20000000 32 4". @param width  1, 2 or 4 bytes
[[nodiscard]] std::string TclReadCommand(
    std::uint32_t address, std::uint32_t width, std::size_t count);

/// "write_memory 0x20000000 32 {0x1 0x2}" of data.size() / width items.
[[nodiscard]] std::string TclWriteCommand(
    std::uint32_t address, std::uint32_t width, std::span<const std::uint8_t> data, bool bigEndian);

/// Fills data from a reply of exactly data.size() / width numbers that fit the width. False for
/// anything else (an error text, too few, too many); data is undefined then.
[[nodiscard]] bool ParseTclNumbers(
    std::string_view reply, std::uint32_t width, std::span<std::uint8_t> data, bool bigEndian);

/// The first decimal number in a text such as "adapter speed: 1000 kHz".
[[nodiscard]] std::optional<std::uint32_t> FirstNumber(std::string_view text);

} // namespace OpenProbe
