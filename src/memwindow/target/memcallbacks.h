#pragma once

#include <cstdint>

class QString;

/// The severity of a message of the memory window.
inline constexpr int kMessageInformation = 0;
inline constexpr int kMessageError = 1;

/// The host's four functions behind one memory window, handed over in one call.
///
/// All are called on the GUI thread and may block for one target access; none may throw.
/// ShowMessage may run events (a box that waits for its button) and may delete the window; it is
/// called when nothing of the window is under way any more. The other three must leave the window
/// alone. zoneName is a text of at most 127 characters, empty for the target's default memory.
struct MemoryCallbacks {
    /// Reads target memory. data and status hold length bytes each; status gets 0 or 1 per byte.
    /// @return bytes read (>= 0), or < 0 on failure. Null: every read fails.
    int (*ReadMemory)(std::uint64_t address, std::uint64_t length, std::uint8_t accessWidth,
        const char *zoneName, std::uint8_t *data, std::uint8_t *status)
        = nullptr;
    /// Writes target memory. @return >= 0 on success, < 0 on failure. Null: every write fails.
    int (*WriteMemory)(std::uint64_t address, std::uint64_t length, std::uint8_t accessWidth,
        const char *zoneName, const std::uint8_t *data)
        = nullptr;
    /// Writes the zone names into text (size characters), separated by ",".
    /// @return the number of zones. Null: no zone submenu.
    int (*ListZones)(char *text, std::uint32_t size) = nullptr;
    /// Shows a message; severity kMessageInformation or kMessageError. Null: messages are dropped.
    void (*ShowMessage)(const QString &text, int severity) = nullptr;
};
