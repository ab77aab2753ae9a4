#include "rsptext.h"

#include <charconv>

namespace OpenProbe {
namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

// Takes the text up to the separator off the front.
std::string_view TakeUntil(std::string_view &text, char separator)
{
    const std::size_t end = text.find(separator);
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return part;
}

} // namespace

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

int RspChecksum(std::string_view raw)
{
    unsigned sum = 0;
    for (const char c : raw)
        sum += static_cast<unsigned char>(c);
    return static_cast<int>(sum % 256);
}

std::string RspPacket(std::string_view payload)
{
    const auto sum = static_cast<unsigned>(RspChecksum(payload));
    std::string packet = "$";
    packet += payload;
    packet += '#';
    packet += kDigits[sum / 16];
    packet += kDigits[sum % 16];
    return packet;
}

std::string HexNumber(std::uint64_t value)
{
    char digits[16];
    const auto [end, failure] = std::to_chars(digits, digits + sizeof digits, value, 16);
    return {digits, end};
}

void AppendHex(std::string &text, std::span<const std::uint8_t> bytes)
{
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

RspFeatures ParseFeatures(std::string_view reply)
{
    constexpr std::string_view kPacketSize = "PacketSize=";
    RspFeatures features;
    while (!reply.empty()) {
        const std::string_view feature = TakeUntil(reply, ';');
        if (feature == "QStartNoAckMode+")
            features.noAckMode = true;
        else if (feature == "QNonStop+")
            features.nonStop = true;
        else if (feature.starts_with("qXfer:memory-map:read"))
            features.knowsMemoryMap = true;
        else if (feature.starts_with(kPacketSize)) {
            const std::string_view digits = feature.substr(kPacketSize.size());
            std::uint32_t size = 0;
            const char *const end = digits.data() + digits.size();
            const auto [stop, failure] = std::from_chars(digits.data(), end, size, 16);
            if (failure == std::errc{} && stop == end)
                features.packetSize = size;
        }
    }
    return features;
}

std::optional<RspStop> ParseStop(std::string_view payload)
{
    constexpr std::string_view kThread = "thread:";
    if (payload.size() < 3 || std::string_view("TSWX").find(payload[0]) == std::string_view::npos)
        return std::nullopt;
    const int high = HexDigit(payload[1]);
    const int low = HexDigit(payload[2]);
    if (high < 0 || low < 0 || (payload[0] == 'S' && payload.size() != 3))
        return std::nullopt;
    RspStop stop;
    stop.ended = payload[0] == 'W' || payload[0] == 'X';
    stop.signal = high * 16 + low;
    payload.remove_prefix(3);
    while (payload.size() > 0) {
        const std::string_view field = TakeUntil(payload, ';');
        if (field.starts_with(kThread))
            stop.thread = field.substr(kThread.size());
    }
    return stop;
}

bool IsConsoleOutput(std::string_view payload)
{
    return payload == "O" || (payload.size() > 2 && payload[0] == 'O' && HexDigit(payload[1]) >= 0);
}

} // namespace OpenProbe
