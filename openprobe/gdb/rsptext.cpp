#include "rsptext.h"

#include "hextext.h"

namespace OpenProbe {
namespace {

// Removes the text up to the separator from the front and returns it.
std::string_view TakeUntil(std::string_view &text, char separator)
{
    const std::size_t end = text.find(separator);
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return part;
}

} // namespace

int RspChecksum(std::string_view raw)
{
    unsigned sum = 0;
    for (const char c : raw)
        sum += static_cast<unsigned char>(c);
    return static_cast<int>(sum % 256);
}

std::string RspPacket(std::string_view payload)
{
    const auto sum = static_cast<std::uint8_t>(RspChecksum(payload));
    std::string packet = "$";
    packet += payload;
    packet += '#';
    AppendHex(packet, {&sum, 1});
    return packet;
}

RspFeatures ParseFeatures(std::string_view reply)
{
    constexpr std::string_view kPacketSize = "PacketSize=";
    RspFeatures features;
    features.looksLikeEmulator = reply.ends_with(";vContSupported+;multiprocess+");
    while (!reply.empty()) {
        const std::string_view feature = TakeUntil(reply, ';');
        if (feature == "QStartNoAckMode+")
            features.noAckMode = true;
        else if (feature == "QNonStop+")
            features.nonStop = true;
        else if (feature.starts_with("qXfer:memory-map:read"))
            features.knowsMemoryMap = true;
        else if (feature == "qXfer:features:read+")
            features.describesTarget = true;
        else if (feature.starts_with(kPacketSize))
            features.packetSize = ParseHexNumber(feature.substr(kPacketSize.size())).value_or(0);
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
