#pragma once

#include "hostmessages.h"
#include "memcallbacks.h"
#include "memtypes.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

/// A window's access to the target: its reads, its writes and its messages.
///
/// The only caller of the host's callbacks. A copy accesses the same target with the width and zone
/// that were set when it was made. GUI thread only; a call lasts as long as the host's.
class TargetAccess {
public:
    static constexpr std::size_t kZoneNameSize = 128; ///< terminator included
    static constexpr std::size_t kZoneListSize = 256;
    using ZoneList = std::array<char, kZoneListSize>;

    void SetCallbacks(const MemoryCallbacks &callbacks);
    [[nodiscard]] bool CanRead() const { return m_callbacks.ReadMemory != nullptr; }
    /// @param bytes  1, 2 or 4; 0 leaves the choice to the host
    void SetAccessWidth(std::uint8_t bytes) { m_accessWidth = bytes; }
    [[nodiscard]] std::uint8_t AccessWidth() const { return m_accessWidth; }
    /// The zone of all reads and writes; empty for the target's default memory. Cut to 127
    /// characters.
    void SetZone(std::string_view name);
    [[nodiscard]] const char *Zone() const { return m_zone.data(); }

    /// Reads a range with the fallbacks of FallbackRead, all of them before it returns. The range
    /// is cut at the end of the address space.
    /// @param data, status  of equal size; the caller fills them with 0 and NotLoaded
    /// @return the number of bytes read as the host counts them; < 0 without a read callback, after
    ///         a message
    int Read(std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status,
        std::uint32_t bytesPerRow) const;
    /// Makes one call of the host, within the address space. After a failed call no byte counts as
    /// valid, whatever the host claims; data of bytes that are not valid becomes 0.
    /// @return < 0 on failure or without a read callback, else at most the bytes asked for
    [[nodiscard]] int ReadOnce(
        std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status) const;
    /// Adds the message that there is nothing to read from, unless it waits already.
    void ReportNoRead() const;
    /// Writes a range in one call. @return >= 0 on success; < 0 on failure, after a message
    int Write(std::uint64_t address, std::span<const std::uint8_t> data) const;
    /// As Write, without a message.
    [[nodiscard]] int WriteOnce(std::uint64_t address, std::span<const std::uint8_t> data) const;

    [[nodiscard]] bool HasZones() const { return m_callbacks.ListZones != nullptr; }
    /// Asks the host for its zones, as a terminated text. @return their number as the host gives it
    [[nodiscard]] int ListZones(ZoneList &names) const;

    [[nodiscard]] const HostMessages &Messages() const { return m_messages; }

private:
    MemoryCallbacks m_callbacks;
    HostMessages m_messages;
    std::array<char, kZoneNameSize> m_zone{};
    std::uint8_t m_accessWidth = 0;
};
