#pragma once

#include "changeages.h"
#include "dirtyrows.h"
#include "memtypes.h"
#include "viewgeometry.h"

#include <cstdint>
#include <span>

/// Results of RowCache::ReadCached.
inline constexpr int kInCache = 0;
inline constexpr int kOutsideCache = -1;

/// The bytes of the visible page and, for each of them, whether it could be read.
///
/// Owned by one CHexEditor, used on the GUI thread only. The arrays belong to the window's slot;
/// what lies beyond the page's length counts as NotLoaded without ever being written.
class RowCache {
public:
    /// Two arrays of equal size, which bounds the page. Empty ones give a cache that stays empty.
    RowCache(std::span<std::uint8_t> data, std::span<ByteStatus> status)
        : m_data(data)
        , m_status(status)
    {
    }

    void Clear() { m_range = {}; }
    [[nodiscard]] PageRange Range() const { return m_range; }
    [[nodiscard]] bool IsEmpty() const { return m_range.length == 0; }

    /// Makes page the cached range. Bytes that it shares with the old one keep data and status,
    /// the others are NotLoaded.
    void MoveTo(PageRange page);
    /// The bytes of the page from the first to the last that is NotLoaded; length 0 when none is.
    [[nodiscard]] PageRange MissingRange() const;

    /// Marks a range as NotLoaded, as far as it lies in the page.
    void Forget(std::uint64_t address, std::uint64_t length);

    /// Takes freshly read bytes and compares them with what is there. Rows that look different
    /// now are marked; a byte that was known before and differs counts as changed.
    /// @param address  of the first byte; the bytes lie within the page
    void Store(std::uint64_t address, std::span<const std::uint8_t> data,
        std::span<const ByteStatus> status, std::uint32_t bytesPerRow, ChangeAges &ages,
        DirtyRows &rows);

    /// Copies cached bytes into two buffers of equal size.
    /// @param address  target address of the first byte wanted
    /// @return kInCache, or kOutsideCache when a byte lay outside; such bytes read 0, NotLoaded
    [[nodiscard]] int ReadCached(
        std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status) const;
    /// @return the item of bytesPerItem bytes in the given byte order, or -1 if a byte of it lies
    ///         outside the cache
    [[nodiscard]] std::int64_t ItemValue(
        std::uint64_t address, int bytesPerItem, bool bigEndian) const;

    /// The cached bytes themselves, which must lie within the page.
    [[nodiscard]] const std::uint8_t *DataAt(std::uint64_t address) const
    {
        return m_data.data() + (address - m_range.base);
    }
    [[nodiscard]] const ByteStatus *StatusAt(std::uint64_t address) const
    {
        return m_status.data() + (address - m_range.base);
    }

private:
    void CompareRow(std::uint64_t first, std::span<const std::uint8_t> data,
        std::span<const ByteStatus> status, ChangeAges &ages) const;

    std::span<std::uint8_t> m_data;
    std::span<ByteStatus> m_status;
    PageRange m_range;
};
