#pragma once

#include "memtypes.h"

#include <QString>

#include <array>
#include <cstdint>
#include <optional>
#include <span>

/// Whether a typed text is one hexadecimal digit.
[[nodiscard]] bool IsHexDigit(const QString &typed);

/// An item's bytes as far as they are known, lowest address first.
struct KnownItem {
    std::array<std::uint8_t, 4> bytes{};
    std::array<ByteStatus, 4> status{};
    int length = 0; ///< bytes of the item: 1, 2 or 4
    bool bigEndian = false;

    /// Whether the view shows a value, which depends on the first byte alone. Otherwise the item
    /// counts as unknown.
    [[nodiscard]] bool HasValue() const { return status[0] == ByteStatus::Valid; }
    [[nodiscard]] bool IsWhole() const;
    /// The value as a number, unknown bytes as 0.
    [[nodiscard]] std::uint64_t Value() const;
    /// Place within the item, from its lowest address, of the byte that shows a digit.
    /// @param position  digit, counted from the left
    [[nodiscard]] int ByteOfDigit(int position) const;
    /// The digits, a bit each (bit 0 the leftmost), of which the byte is not known.
    [[nodiscard]] std::uint32_t UnknownDigits() const;
};

/// The text of the edit box and the digit before which its caret stands.
struct ItemEdit {
    QString text;
    int caret = 0;
    std::uint32_t unknownDigits = 0; ///< shown as placeholders until they are typed over
};

/// What opens when a key is typed on an item: its value with the digit at the position replaced and
/// the caret behind it. Backspace replaces the digit by 0 and leaves the caret before it, as in the
/// text column, where it puts a zero byte and steps back. For an item that is not known it is the
/// typed text alone.
/// @param position  digit within the item, counted from the left
/// @return nothing for a key that does not open the box
[[nodiscard]] std::optional<ItemEdit> EditOfTypedKey(
    const KnownItem &item, int position, const QString &typed, bool isBackspace);

/// The byte that a typed text puts into the text column: its first character, when that is
/// printable and a single byte.
[[nodiscard]] std::optional<std::uint8_t> ByteOfTypedText(const QString &typed);

/// A value as the bytes of an item in target memory.
class ItemBytes {
public:
    ItemBytes(std::uint64_t value, int bytesPerItem, bool bigEndian);

    [[nodiscard]] std::span<const std::uint8_t> Span() const
    {
        return std::span(m_bytes).first(m_length);
    }

private:
    std::array<std::uint8_t, 8> m_bytes = {};
    std::size_t m_length;
};
