#include "itemedit.h"

#include "linecomposer.h"

#include <algorithm>

bool IsHexDigit(const QString &typed)
{
    bool isNumber = false;
    (void)typed.toUInt(&isNumber, 16);
    return isNumber && typed.size() == 1;
}

bool KnownItem::IsWhole() const
{
    return std::all_of(status.begin(), status.begin() + length,
        [](ByteStatus byte) { return byte == ByteStatus::Valid; });
}

std::uint64_t KnownItem::Value() const
{
    std::uint64_t value = 0;
    for (int i = 0; i < length; ++i) {
        const auto at = std::size_t(i);
        if (status[at] == ByteStatus::Valid)
            value |= std::uint64_t{bytes[at]} << (8 * (bigEndian ? length - 1 - i : i));
    }
    return value;
}

int KnownItem::ByteOfDigit(int position) const
{
    return bigEndian ? position / 2 : length - 1 - position / 2;
}

std::uint32_t KnownItem::UnknownDigits() const
{
    std::uint32_t digits = 0;
    for (int position = 0; position < 2 * length; ++position) {
        if (status[std::size_t(ByteOfDigit(position))] != ByteStatus::Valid)
            digits |= 1U << position;
    }
    return digits;
}

std::optional<ItemEdit> EditOfTypedKey(
    const KnownItem &item, int position, const QString &typed, bool isBackspace)
{
    if (!isBackspace && !IsHexDigit(typed))
        return std::nullopt;
    const QString digit = isBackspace ? QStringLiteral("0") : typed.toUpper();
    if (!item.HasValue())
        return isBackspace ? std::nullopt : std::optional(ItemEdit{digit, 1, 0});
    ItemEdit edit{QLatin1String(FormatItemValue(item.Value(), 2 * item.length, false)),
        isBackspace ? position : position + 1, item.UnknownDigits() & ~(1U << position)};
    edit.text.replace(position, 1, digit);
    return edit;
}

std::optional<std::uint8_t> ByteOfTypedText(const QString &typed)
{
    if (typed.isEmpty() || !typed.front().isPrint() || typed.front().unicode() > 0xFF)
        return std::nullopt;
    return static_cast<std::uint8_t>(typed.front().unicode());
}

ItemBytes::ItemBytes(std::uint64_t value, int bytesPerItem, bool bigEndian)
    : m_length(std::min(static_cast<std::size_t>(bytesPerItem), m_bytes.size()))
{
    for (std::size_t i = 0; i < m_length; ++i) {
        const std::size_t place = bigEndian ? m_length - 1 - i : i;
        m_bytes[place] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}
