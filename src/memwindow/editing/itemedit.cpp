#include "itemedit.h"

#include "linecomposer.h"

#include <algorithm>

bool IsHexDigit(const QString &typed)
{
    bool isNumber = false;
    (void)typed.toUInt(&isNumber, 16);
    return isNumber && typed.size() == 1;
}

std::optional<ItemEdit> EditOfTypedKey(std::optional<std::uint64_t> value, int bytesPerItem,
    int position, const QString &typed, bool isBackspace)
{
    if (!isBackspace && !IsHexDigit(typed))
        return std::nullopt;
    const QString digit = isBackspace ? QStringLiteral("0") : typed.toUpper();
    if (!value)
        return isBackspace ? std::nullopt : std::optional(ItemEdit{digit, 1});
    ItemEdit edit{QLatin1String(FormatItemValue(*value, 2 * bytesPerItem, false)),
        isBackspace ? position : position + 1};
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
