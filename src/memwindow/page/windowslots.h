#pragma once

#include "memtypes.h"

#include <cstdint>
#include <span>

/// Windows that can hold memory contents at the same time.
inline constexpr int kWindowSlots = 5;

/// One window's hold on a slot of fixed memory for its row cache.
///
/// All slots stand in static memory for the whole run and are handed out, lowest first, to the
/// windows that are alive. A window beyond the last slot holds none and shows an empty view; two
/// windows never share one. Nothing is written to a slot before the cache stores bytes there, so a
/// slot costs only the memory of the page that is shown. GUI thread only.
class WindowSlot {
public:
    WindowSlot();
    ~WindowSlot();
    WindowSlot(const WindowSlot &) = delete;
    WindowSlot &operator=(const WindowSlot &) = delete;

    [[nodiscard]] int Number() const { return m_number; } ///< -1 when no slot was free
    /// kMaxCacheBytes entries each, their contents undefined; empty without a slot.
    [[nodiscard]] std::span<std::uint8_t> Data() const;
    [[nodiscard]] std::span<ByteStatus> Status() const;

private:
    int m_number = -1;
};
