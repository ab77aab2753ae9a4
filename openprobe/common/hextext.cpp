#include "hextext.h"

#include <charconv>

namespace OpenProbe {

int HexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::string HexNumber(std::uint64_t value)
{
    char digits[16];
    const auto [end, failure] = std::to_chars(digits, digits + sizeof digits, value, 16);
    return {digits, end};
}

std::optional<std::uint32_t> ParseHexNumber(std::string_view digits)
{
    std::uint32_t value = 0;
    const char *const end = digits.data() + digits.size();
    const auto [stop, failure] = std::from_chars(digits.data(), end, value, 16);
    return failure == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

void AppendHex(std::string &text, std::span<const std::uint8_t> bytes)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte / 16];
        text += kDigits[byte % 16];
    }
}

bool DecodeHex(std::string_view text, std::span<std::uint8_t> bytes)
{
    if (text.size() != bytes.size() * 2)
        return false;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const int high = HexDigit(text[2 * i]);
        const int low = HexDigit(text[2 * i + 1]);
        if (high < 0 || low < 0)
            return false;
        bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
    return true;
}

} // namespace OpenProbe
