#pragma once

#include <cstdint>
#include <functional>
#include <span>

namespace OpenProbe {

enum class PieceResult { Read, Unreadable, LinkLost };

/// Reads one piece wholly or not at all.
using PieceReader = std::function<PieceResult(std::uint32_t address, std::span<std::uint8_t> data)>;

/// Reads a range over a link that tells of each request only "all" or "nothing", and answers as
/// Backend::Read does.
///
/// Requests are at most maxPiece long. After the first failing one the exact readable prefix is
/// searched; behind it the rest is sampled every few bytes (every byte in a range of up to four,
/// every word up to 64, every 16 up to 1 KiB, else at 64 places) and at its last byte, so readable
/// islands smaller than that inside a hole may be missed in a long range. The host's re-reading by
/// rows and words finds them where the range is short.
[[nodiscard]] int ReadRange(std::uint32_t address, std::span<std::uint8_t> data,
    std::uint32_t maxPiece, const PieceReader &reader);

} // namespace OpenProbe
