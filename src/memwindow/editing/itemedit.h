#pragma once

#include <QString>

#include <array>
#include <cstdint>
#include <optional>
#include <span>

/// Whether a typed text is one hexadecimal digit.
[[nodiscard]] bool IsHexDigit(const QString &typed);

/// The text of the edit box and the digit before which its caret stands.
struct ItemEdit {
    QString text;
    int caret = 0;
};

/// What opens when a key is typed on an item: its value with the digit at the position replaced
/// and the caret behind it. Backspace replaces the digit by 0 and leaves the caret before it, as
/// in the text column, where it puts a zero byte and steps back.
/// @param value     of the item; nothing when the item is not known: the typed text alone, then
/// @param position  digit within the item, counted from the left
/// @return nothing for a key that does not open the box
[[nodiscard]] std::optional<ItemEdit> EditOfTypedKey(std::optional<std::uint64_t> value,
    int bytesPerItem, int position, const QString &typed, bool isBackspace);

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
