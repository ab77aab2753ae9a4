#include "simmap.h"

#include <algorithm>

namespace OpenProbe {
namespace {

// The widest access that starts there and stays inside; a fixed width is narrowed for an unaligned
// start and a short rest alone.
std::uint32_t UnitAt(std::uint64_t address, std::uint64_t end, std::uint32_t widest)
{
    std::uint32_t unit = widest;
    while (address % unit != 0 || address + unit > end)
        unit /= 2;
    return unit;
}

} // namespace

void SimMap::Add(const SimSegment &segment)
{
    const auto overlaps = [&](const SimSegment &other) {
        return segment.first <= other.last && other.first <= segment.last;
    };
    if (std::ranges::any_of(m_segments, overlaps))
        return;
    const auto place = std::ranges::upper_bound(m_segments, segment.first, {}, &SimSegment::first);
    m_segments.insert(place, segment);
}

SimPiece SimMap::PieceAt(std::uint32_t address, std::uint64_t end, std::uint32_t width) const
{
    const auto after = std::ranges::upper_bound(m_segments, address, {}, &SimSegment::first);
    if (after == m_segments.begin() || std::prev(after)->last < address) {
        const std::uint64_t next = after == m_segments.end() ? end : after->first;
        return {nullptr, static_cast<std::uint32_t>(std::min(next, end) - address), 0};
    }
    const SimSegment &segment = *std::prev(after);
    const std::uint64_t segmentEnd = std::uint64_t{segment.last} + 1;
    const std::uint64_t runEnd = std::min(end, segmentEnd);
    if (width == 0 && segment.bank != SimSegment::kPeripheral)
        return {&segment, static_cast<std::uint32_t>(runEnd - address), 1};
    const std::uint32_t unit
        = width == 0 ? UnitAt(address, runEnd, 4) : UnitAt(address, end, width);
    if ((segment.widths & unit) == 0 || address + unit > segmentEnd)
        return {nullptr, unit, 0};
    return {&segment, unit, unit};
}

std::uint64_t SimMap::Prefix(std::uint32_t address, std::uint64_t count, std::uint32_t width) const
{
    std::uint64_t done = 0;
    while (done < count) {
        const auto at = static_cast<std::uint32_t>(address + done);
        const SimPiece piece = PieceAt(at, address + count, width);
        if (piece.segment == nullptr)
            break;
        done += piece.bytes;
    }
    return done;
}

bool SimMap::AnyReadable(std::uint64_t address, std::uint64_t end, std::uint32_t width) const
{
    while (address < end) {
        const SimPiece piece = PieceAt(static_cast<std::uint32_t>(address), end, width);
        if (piece.segment != nullptr)
            return true;
        address += piece.bytes;
    }
    return false;
}

} // namespace OpenProbe
