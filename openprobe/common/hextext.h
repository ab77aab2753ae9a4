#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace OpenProbe {

/// Value of a hex digit of either case, -1 for anything else.
[[nodiscard]] int HexDigit(char c);

/// A number in hex digits without prefix.
[[nodiscard]] std::string HexNumber(std::uint64_t value);

/// The value of a text of nothing but hex digits, at most 32 bits; nothing for any other text.
[[nodiscard]] std::optional<std::uint32_t> ParseHexNumber(std::string_view digits);

/// Appends two hex digits for each byte.
void AppendHex(std::string &text, std::span<const std::uint8_t> bytes);

/// Fills bytes from exactly two hex digits for each. For any other text false; bytes are undefined
/// then.
[[nodiscard]] bool DecodeHex(std::string_view text, std::span<std::uint8_t> bytes);

} // namespace OpenProbe
