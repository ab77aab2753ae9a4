#pragma once

#include "memcallbacks.h"
#include "memtypes.h"

#include <QString>

#include <array>
#include <cstdint>
#include <span>

/// A window's way to the target: its reads with their fallbacks, its writes and its messages.
///
/// The only caller of the host's callbacks. GUI thread only; a call lasts as long as the host's.
class TargetAccess {
public:
    static constexpr std::uint32_t kZoneNameSize = 128; ///< terminator included
    static constexpr std::uint32_t kZoneListSize = 256;

    void SetCallbacks(const MemoryCallbacks &callbacks) { m_callbacks = callbacks; }
    /// @param bytes  1, 2 or 4; 0 leaves the choice to the host
    void SetAccessWidth(std::uint8_t bytes) { m_accessWidth = bytes; }
    [[nodiscard]] std::uint8_t AccessWidth() const { return m_accessWidth; }
    /// The zone of all reads and writes; empty for the target's default memory. Cut to 127 ASCII
    /// characters.
    void SetZone(const QString &name);
    [[nodiscard]] QString Zone() const;

    /// Reads a range in one call; where that fails, row by row, then in words, half-words and
    /// bytes, so that one unreadable word does not blank the page.
    ///
    /// Each byte ends up Valid, ReadFailed with data 0, or as it was when no call covered it: in
    /// the fallback the rest of a range that is not a whole number of rows is left alone. The
    /// range is cut at the end of the address space.
    /// @param data, status  of equal size; the caller fills them with 0 and NotLoaded
    /// @return the number of bytes read as the host counts them; < 0 without a read callback,
    ///         which is also the only case with a message
    int Read(std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status,
        std::uint32_t bytesPerRow);
    /// Writes a range in one call. @return >= 0 on success; < 0 on failure, after a message
    int Write(std::uint64_t address, std::span<const std::uint8_t> data);

    [[nodiscard]] bool HasZones() const { return m_callbacks.ListZones != nullptr; }
    /// Asks the host for its zones. @return their number as the host gives it
    int ListZones(QString &names) const;
    /// @param severity  kMessageInformation or kMessageError
    void ShowMessage(const QString &text, int severity) const;

private:
    int ReadOnce(
        std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status) const;
    int ReadRow(
        std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status) const;
    int ReadPiece(
        std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status) const;

    MemoryCallbacks m_callbacks;
    std::array<char, kZoneNameSize> m_zone{};
    std::uint8_t m_accessWidth = 0;
};
