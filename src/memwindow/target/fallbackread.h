#pragma once

#include "memtypes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

class TargetAccess;

/// One read of a range, call by call, so that the caller can stop between any two calls.
///
/// First the whole range. Where that fails, row by row; a row that fails in words of 4 bytes; a
/// word that fails in halves, down to single bytes: one unreadable word does not blank the page.
/// Each byte ends up Valid or ReadFailed, or as the host left it. Until it is read it is NotLoaded.
class FallbackRead {
public:
    /// What the fallback does with the bytes behind the last whole row of the range.
    enum class Remainder {
        Leave, ///< they stay as the failed call left them: a page is whole rows
        Read,  ///< they count as a row
    };

    FallbackRead() = default; ///< a read that is done
    /// @param length  the range lies within the address space
    /// @param bytesPerRow  0: there is no fallback
    FallbackRead(std::uint64_t address, std::size_t length, std::uint32_t bytesPerRow,
        Remainder remainder = Remainder::Leave);

    [[nodiscard]] bool IsDone() const { return m_stage == Stage::Done; }
    /// Bytes from the start of the range whose data and status are final.
    [[nodiscard]] std::size_t Settled() const;
    /// Sum of what the calls returned.
    [[nodiscard]] std::int64_t BytesRead() const { return m_bytesRead; }

    /// Makes the next call. Not to be called when the read is done.
    /// @param data, status  of the whole range, at every step the same
    void Step(
        const TargetAccess &target, std::span<std::uint8_t> data, std::span<ByteStatus> status);

private:
    enum class Stage : std::uint8_t { Done, Whole, Rows, Words };
    struct Piece {
        std::size_t offset;
        std::size_t length;
    };

    [[nodiscard]] Piece NextPiece() const;
    [[nodiscard]] std::size_t RowEnd() const;
    void FallBackToRows(std::span<ByteStatus> status);
    void FinishRow();
    void FinishWords();
    void Split(Piece failed);

    std::uint64_t m_address = 0;
    std::size_t m_length = 0; // of the whole range
    std::size_t m_end = 0;    // of what the fallback covers
    std::size_t m_bytesPerRow = 0;
    std::size_t m_row = 0;           // offset of the row under way
    std::size_t m_word = 0;          // offset of the next word that has not been tried
    std::array<Piece, 4> m_halves{}; // of the word under way, the next one last
    std::size_t m_halfCount = 0;
    std::int64_t m_bytesRead = 0;
    Stage m_stage = Stage::Done;
    Remainder m_remainder = Remainder::Leave;
};
