#pragma once

#include <QString>

#include <cstdint>
#include <optional>

/// Reads a text as one unsigned hexadecimal number of at most 64 bits, "0x" or "0X" in front
/// allowed.
/// @return nothing when the whole text is no such number
[[nodiscard]] std::optional<std::uint64_t> ParseHexNumber(const QString &text);
