#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>

/// The first entry of a handle table that is not in use, or null.
template <typename Entry, std::size_t N> Entry *SYS_FindFreeEntry(std::array<Entry, N> &table)
{
    for (Entry &entry : table) {
        if (entry.inUse.load(std::memory_order_acquire) == 0)
            return &entry;
    }
    return nullptr;
}

/// Whether a handle names an entry that is in use. Safe for any value.
template <typename Entry, std::size_t N>
bool SYS_IsEntryInUse(std::array<Entry, N> &table, Entry *handle)
{
    const std::less<> before;
    if (before(handle, table.data()) || !before(handle, table.data() + N))
        return false;
    const auto offset
        = reinterpret_cast<const char *>(handle) - reinterpret_cast<const char *>(table.data());
    return static_cast<std::size_t>(offset) % sizeof(Entry) == 0
        && handle->inUse.load(std::memory_order_acquire) != 0;
}
