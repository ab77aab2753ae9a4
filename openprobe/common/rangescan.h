#pragma once

#include <cstdint>
#include <span>

namespace OpenProbe {

enum class PieceResult { Read, Unreadable, LinkLost };

/// A place that is asked whether it answers.
struct Sample {
    std::uint32_t address;
    std::uint32_t bytes; // 1 or 4
};

/// A link that tells of each request only "all" or "nothing".
class PieceReader {
public:
    /// Reads one piece wholly or not at all.
    [[nodiscard]] virtual PieceResult Read(std::uint32_t address, std::span<std::uint8_t> data) = 0;

    /// Whether one of the samples answers: Read when one does, and the rest need not be asked then.
    [[nodiscard]] virtual PieceResult ReadAny(std::span<const Sample> samples);

    PieceReader() = default;
    PieceReader(const PieceReader &) = delete;
    PieceReader &operator=(const PieceReader &) = delete;

protected:
    ~PieceReader() = default;
};

/// Reads a range over such a link, and answers as Backend::Read does.
///
/// Requests are at most maxPiece long. After the first failing one the exact readable prefix is
/// searched; behind it the rest is sampled every few bytes (every byte in a range of up to four,
/// every word up to 64, every 16 up to 1 KiB, else at 64 places) and at its last byte, so readable
/// islands smaller than that inside a hole may be missed in a long range. The host's re-reading by
/// rows and words finds them where the range is short.
[[nodiscard]] int ReadRange(std::uint32_t address, std::span<std::uint8_t> data,
    std::uint32_t maxPiece, PieceReader &reader);

} // namespace OpenProbe
