#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace OpenProbe {

/// The byte that asks a stub to stop its running target.
inline constexpr std::string_view kInterrupt = "\x03";

/// The request to let the target run, complete.
inline constexpr std::string_view kContinuePacket = "$c#63";

/// Sum of the bytes modulo 256, as a packet's two last digits hold it.
[[nodiscard]] int RspChecksum(std::string_view raw);

/// The payload between "$" and "#" with its checksum. The payload holds none of "$#}*".
[[nodiscard]] std::string RspPacket(std::string_view payload);

/// A stub's answer to the question what it supports.
struct RspFeatures {
    std::uint32_t packetSize = 0; // 0: not announced
    bool noAckMode = false;
    bool nonStop = false;
    bool knowsMemoryMap = false; // has the request, whether or not it has a map
    bool describesTarget = false;
    bool looksLikeEmulator = false; // offers the same features as QEMU
};
[[nodiscard]] RspFeatures ParseFeatures(std::string_view reply);

/// A packet that tells that the target has stopped, or ended.
struct RspStop {
    bool ended = false;
    int signal = 0;
    std::string thread; // as the stub spells it; empty: not given
};
[[nodiscard]] std::optional<RspStop> ParseStop(std::string_view payload);

/// Whether it is text that the target prints: "O" and hex digits, also none, but not "OK".
[[nodiscard]] bool IsConsoleOutput(std::string_view payload);

} // namespace OpenProbe
