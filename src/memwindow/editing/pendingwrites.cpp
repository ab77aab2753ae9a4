#include "pendingwrites.h"

#include <algorithm>
#include <utility>

void PendingWrites::Add(std::uint64_t address, std::span<const std::uint8_t> bytes)
{
    if (address >= kAddressSpaceEnd || bytes.empty())
        return;
    const auto kept
        = bytes.first(std::min<std::uint64_t>(bytes.size(), kAddressSpaceEnd - address));
    m_records.push_back({address, {kept.begin(), kept.end()}});
}

void PendingWrites::Overlay(
    std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status) const
{
    const std::uint64_t end = address + data.size();
    for (const Record &record : m_records) {
        const std::uint64_t to = std::min(end, record.End());
        for (std::uint64_t at = std::max(address, record.address); at < to; ++at) {
            data[at - address] = record.data[at - record.address];
            status[at - address] = ByteStatus::Valid;
        }
    }
}

bool PendingWrites::Touches(std::uint64_t address, std::uint64_t length) const
{
    return std::any_of(m_records.begin(), m_records.end(), [&](const Record &record) {
        return record.address < address + length && address < record.End();
    });
}

std::vector<WriteRun> PendingWrites::TakeRuns()
{
    // The ranges are found in address order, the bytes are laid in the order of typing, so that the
    // last keystroke wins wherever two records cover the same byte.
    std::vector<std::pair<std::uint64_t, std::uint64_t>> ranges; // start, end
    ranges.reserve(m_records.size());
    for (const Record &record : m_records)
        ranges.emplace_back(record.address, record.End());
    std::sort(ranges.begin(), ranges.end());

    std::vector<WriteRun> runs;
    for (const auto &[start, end] : ranges) {
        if (runs.empty() || start > runs.back().address + runs.back().data.size())
            runs.push_back({start, {}});
        std::vector<std::uint8_t> &data = runs.back().data;
        data.resize(std::max<std::size_t>(data.size(), end - runs.back().address));
    }
    for (const Record &record : m_records) {
        auto run = std::upper_bound(runs.begin(), runs.end(), record.address,
            [](std::uint64_t address, const WriteRun &later) { return address < later.address; });
        --run; // the last run that starts at or before the record; every record lies in one
        std::copy(record.data.begin(), record.data.end(),
            run->data.begin() + static_cast<std::ptrdiff_t>(record.address - run->address));
    }
    m_records.clear();
    return runs;
}
