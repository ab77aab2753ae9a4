#include "rangescan.h"

#include "backend.h"

#include <algorithm>
#include <array>
#include <bit>
#include <vector>

namespace OpenProbe {
namespace {

// Distance of the samples behind a hole, a power of two.
std::uint32_t SampleStep(std::size_t rangeBytes)
{
    if (rangeBytes <= 4)
        return 1;
    if (rangeBytes <= 64)
        return 4;
    if (rangeBytes <= 1024)
        return 16;
    return static_cast<std::uint32_t>(std::bit_ceil(rangeBytes / 64));
}

// Length of the readable prefix of a piece that cannot be read as a whole; -1 on a lost link.
int PrefixOf(std::uint32_t address, std::span<std::uint8_t> piece, PieceReader &reader)
{
    std::size_t readable = 0;
    std::size_t tooMuch = piece.size();
    std::size_t next = 1; // most unreadable pieces are unreadable from the start
    while (tooMuch - readable > 1) {
        const auto at = static_cast<std::uint32_t>(address + readable);
        const PieceResult result = reader.Read(at, piece.subspan(readable, next - readable));
        if (result == PieceResult::LinkLost)
            return kTransferFailed;
        (result == PieceResult::Read ? readable : tooMuch) = next;
        next = readable + (tooMuch - readable) / 2;
    }
    return static_cast<int>(readable);
}

// Samples in [address, end) at multiples of the step, and its last byte. They are words where
// possible, since some peripherals accept nothing else.
std::vector<Sample> SamplesIn(std::uint64_t address, std::uint64_t end, std::uint32_t step)
{
    std::vector<Sample> samples;
    while (address < end) {
        const bool asWord = step >= 4 && address % 4 == 0 && address + 4 <= end;
        samples.push_back({static_cast<std::uint32_t>(address), asWord ? 4U : 1U});
        const std::uint64_t next = (address / step + 1) * step;
        address = next < end || address == end - 1 ? next : end - 1;
    }
    return samples;
}

} // namespace

PieceResult PieceReader::ReadAny(std::span<const Sample> samples)
{
    std::array<std::uint8_t, 4> word{};
    for (const Sample &sample : samples) {
        const PieceResult result = Read(sample.address, std::span(word).first(sample.bytes));
        if (result != PieceResult::Unreadable)
            return result;
    }
    return PieceResult::Unreadable;
}

int ReadRange(std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t maxPiece,
    PieceReader &reader)
{
    std::size_t done = 0;
    while (done < data.size()) {
        const auto at = static_cast<std::uint32_t>(address + done);
        const auto piece = data.subspan(done, std::min<std::size_t>(maxPiece, data.size() - done));
        const PieceResult result = reader.Read(at, piece);
        if (result == PieceResult::LinkLost)
            return kTransferFailed;
        if (result == PieceResult::Unreadable) {
            const int prefix = PrefixOf(at, piece, reader);
            if (prefix < 0)
                return kTransferFailed;
            done += static_cast<std::size_t>(prefix);
            break;
        }
        done += piece.size();
    }
    if (done < data.size()) {
        // The byte at the end of the prefix is known to be unreadable.
        const std::uint64_t behind = std::uint64_t{address} + done + 1;
        const std::uint64_t end = std::uint64_t{address} + data.size();
        const auto samples = SamplesIn(behind, end, SampleStep(data.size()));
        if (reader.ReadAny(samples) != PieceResult::Unreadable)
            return kTransferFailed;
    }
    return static_cast<int>(done);
}

} // namespace OpenProbe
