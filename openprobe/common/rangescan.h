#pragma once

#include <cstdint>
#include <span>

namespace OpenProbe {

enum class PieceResult { Read, Unreadable, LinkLost };

/// A place that is read to find out whether memory is there.
struct Sample {
    std::uint32_t address;
    std::uint32_t bytes; // 1 or 4
};

/// A link whose requests succeed or fail as a whole.
class PieceReader {
public:
    /// Reads one piece wholly or not at all.
    [[nodiscard]] virtual PieceResult Read(std::uint32_t address, std::span<std::uint8_t> data) = 0;

    /// Whether one of the samples can be read: Read when one can; the rest need not be tried then.
    [[nodiscard]] virtual PieceResult ReadAny(std::span<const Sample> samples);

    PieceReader() = default;
    PieceReader(const PieceReader &) = delete;
    PieceReader &operator=(const PieceReader &) = delete;

protected:
    ~PieceReader() = default;
};

/// Reads a range over such a link. The result is that of Backend::Read.
///
/// Requests are at most maxPiece long. After the first failing one the exact readable prefix is
/// searched; behind it the rest is sampled every few bytes (every byte in a range of up to four,
/// every word up to 64, every 16 up to 1 KiB, else at 64 places) and at its last byte, so readable
/// islands smaller than that inside a hole may be missed in a long range. The host's re-reading by
/// rows and words finds them where the range is short.
[[nodiscard]] int ReadRange(std::uint32_t address, std::span<std::uint8_t> data,
    std::uint32_t maxPiece, PieceReader &reader);

} // namespace OpenProbe
