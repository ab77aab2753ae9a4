#include "rowcache.h"

#include <algorithm>
#include <cstring>

namespace {

/// The part of a that also lies in b; length 0 when there is none.
PageRange Overlap(PageRange a, PageRange b)
{
    const std::uint64_t first = std::max(a.base, b.base);
    const std::uint64_t end = std::min(a.End(), b.End());
    return first < end ? PageRange{first, end - first} : PageRange{first, 0};
}

} // namespace

void RowCache::MoveTo(PageRange page)
{
    page.length = std::min<std::uint64_t>(page.length, m_data.size());
    if (page == m_range)
        return;
    const PageRange kept = Overlap(m_range, page);
    std::uint64_t to = 0;
    if (kept.length > 0) {
        const std::uint64_t from = kept.base - m_range.base;
        to = kept.base - page.base;
        std::memmove(m_data.data() + to, m_data.data() + from, kept.length);
        std::memmove(m_status.data() + to, m_status.data() + from, kept.length);
    }
    m_range = page;
    Forget(page.base, to);
    Forget(page.base + to + kept.length, page.length - to - kept.length);
}

void RowCache::Forget(std::uint64_t address, std::uint64_t length)
{
    const PageRange forgotten = Overlap({address, length}, m_range);
    if (forgotten.length == 0)
        return;
    const std::uint64_t first = forgotten.base - m_range.base;
    std::fill_n(m_data.begin() + std::ptrdiff_t(first), forgotten.length, std::uint8_t{0});
    std::fill_n(m_status.begin() + std::ptrdiff_t(first), forgotten.length, ByteStatus::NotLoaded);
}

PageRange RowCache::MissingRange() const
{
    // Every step of a scroll asks this of the whole page: the C library's search is much quicker.
    constexpr int kWanted = int(ByteStatus::NotLoaded);
    const auto *const status = m_status.data();
    const void *const first
        = status == nullptr ? nullptr : std::memchr(status, kWanted, m_range.length);
    if (first == nullptr)
        return {m_range.base, 0};
    const void *const last = memrchr(status, kWanted, m_range.length);
    const auto offsetOf = [&](const void *at) {
        return std::uint64_t(static_cast<const ByteStatus *>(at) - status);
    };
    return {m_range.base + offsetOf(first), offsetOf(last) - offsetOf(first) + 1};
}

void RowCache::Store(std::uint64_t address, std::span<const std::uint8_t> data,
    std::span<const ByteStatus> status, std::uint32_t bytesPerRow, ChangeAges &ages,
    DirtyRows &rows)
{
    const std::uint64_t first = address - m_range.base;
    if (data.empty() || bytesPerRow == 0 || !m_range.Contains(address)
        || m_range.length - first < data.size())
        return;
    // Rows of the page, the first and the last possibly in part. A row whose bytes and statuses
    // are all as before looks as before, readable or not, and is left alone.
    for (std::uint64_t offset = 0; offset < data.size();) {
        const std::uint64_t position = first + offset;
        const std::uint64_t count
            = std::min(bytesPerRow - position % bytesPerRow, data.size() - offset);
        if (std::memcmp(m_data.data() + position, data.data() + offset, count) != 0
            || std::memcmp(m_status.data() + position, status.data() + offset, count) != 0) {
            rows.Mark(position / bytesPerRow);
            CompareRow(position, data.subspan(offset, count), status.subspan(offset, count), ages);
            std::memcpy(m_data.data() + position, data.data() + offset, count);
            std::memcpy(m_status.data() + position, status.data() + offset, count);
        }
        offset += count;
    }
}

void RowCache::CompareRow(std::uint64_t first, std::span<const std::uint8_t> data,
    std::span<const ByteStatus> status, ChangeAges &ages) const
{
    for (std::uint64_t i = 0; i < data.size(); ++i) {
        if (data[i] != m_data[first + i] && status[i] == ByteStatus::Valid
            && m_status[first + i] == ByteStatus::Valid)
            ages.SetChanged(m_range.base + first + i);
    }
}

int RowCache::ReadCached(
    std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status) const
{
    std::fill(data.begin(), data.end(), std::uint8_t{0});
    std::fill(status.begin(), status.end(), ByteStatus::NotLoaded);
    const PageRange wanted{address, data.size()};
    const PageRange cached = Overlap(wanted, m_range);
    if (cached.length > 0) {
        const std::uint64_t to = cached.base - address;
        std::memcpy(data.data() + to, DataAt(cached.base), cached.length);
        std::memcpy(status.data() + to, StatusAt(cached.base), cached.length);
    }
    return cached.length == data.size() ? kInCache : kOutsideCache;
}

std::int64_t RowCache::ItemValue(std::uint64_t address, int bytesPerItem, bool bigEndian) const
{
    const auto length = std::uint64_t(bytesPerItem);
    if (!m_range.Contains(address) || m_range.End() - address < length)
        return -1;
    const std::uint8_t *bytes = DataAt(address);
    std::int64_t value = 0;
    for (int i = 0; i < bytesPerItem; ++i)
        value = value << 8 | bytes[bigEndian ? i : bytesPerItem - 1 - i];
    return value;
}
