#include "fallbackread.h"

#include "targetaccess.h"

#include <algorithm>

namespace {

constexpr std::size_t kWordBytes = 4;

} // namespace

FallbackRead::FallbackRead(
    std::uint64_t address, std::size_t length, std::uint32_t bytesPerRow, Remainder remainder)
    : m_address(address)
    , m_length(length)
    , m_end(length)
    , m_bytesPerRow(bytesPerRow)
    , m_stage(length > 0 ? Stage::Whole : Stage::Done)
    , m_remainder(remainder)
{
}

std::size_t FallbackRead::Settled() const
{
    switch (m_stage) {
    case Stage::Whole:
        return 0;
    case Stage::Rows:
        return m_row;
    case Stage::Words:
        return m_halfCount > 0 ? m_halves[m_halfCount - 1].offset : m_word;
    default:
        return m_length;
    }
}

std::size_t FallbackRead::RowEnd() const
{
    return std::min(m_row + m_bytesPerRow, m_end);
}

FallbackRead::Piece FallbackRead::NextPiece() const
{
    switch (m_stage) {
    case Stage::Whole:
        return {0, m_length};
    case Stage::Rows:
        return {m_row, RowEnd() - m_row};
    default:
        if (m_halfCount > 0)
            return m_halves[m_halfCount - 1];
        return {m_word, std::min(kWordBytes, RowEnd() - m_word)};
    }
}

void FallbackRead::Step(
    const TargetAccess &target, std::span<std::uint8_t> data, std::span<ByteStatus> status)
{
    const Piece piece = NextPiece();
    const auto pieceStatus = status.subspan(piece.offset, piece.length);
    const int result = target.ReadOnce(
        m_address + piece.offset, data.subspan(piece.offset, piece.length), pieceStatus);
    const bool failed = result < 0;
    // Deliberate: a failure only marks its bytes. A message for every bad word would flood the
    // user.
    if (!failed)
        m_bytesRead += result;
    switch (m_stage) {
    case Stage::Whole:
        if (failed)
            FallBackToRows(status);
        else
            m_stage = Stage::Done;
        return;
    case Stage::Rows:
        if (failed && (piece.length >= kWordBytes || piece.length < m_bytesPerRow)) {
            std::fill(pieceStatus.begin(), pieceStatus.end(), ByteStatus::NotLoaded);
            m_word = m_row;
            m_stage = Stage::Words;
            return;
        }
        if (failed) // too short to be split
            std::fill(pieceStatus.begin(), pieceStatus.end(), ByteStatus::ReadFailed);
        FinishRow();
        return;
    default:
        if (m_halfCount > 0)
            --m_halfCount;
        else
            m_word += piece.length;
        if (failed && piece.length > 1) {
            std::fill(pieceStatus.begin(), pieceStatus.end(), ByteStatus::NotLoaded);
            Split(piece);
        } else if (failed) {
            pieceStatus[0] = ByteStatus::ReadFailed;
        }
        FinishWords();
        return;
    }
}

void FallbackRead::FallBackToRows(std::span<ByteStatus> status)
{
    if (m_bytesPerRow == 0) {
        m_stage = Stage::Done;
        return;
    }
    if (m_remainder == Remainder::Leave)
        m_end -= m_length % m_bytesPerRow;
    std::fill_n(status.begin(), m_end, ByteStatus::NotLoaded);
    m_stage = m_end > 0 ? Stage::Rows : Stage::Done;
}

void FallbackRead::FinishRow()
{
    m_row = RowEnd();
    m_stage = m_row < m_end ? Stage::Rows : Stage::Done;
}

void FallbackRead::FinishWords()
{
    if (m_halfCount == 0 && m_word >= RowEnd())
        FinishRow();
}

void FallbackRead::Split(Piece failed)
{
    const std::size_t half = failed.length / 2;
    m_halves[m_halfCount++] = {failed.offset + half, failed.length - half};
    m_halves[m_halfCount++] = {failed.offset, half};
}
