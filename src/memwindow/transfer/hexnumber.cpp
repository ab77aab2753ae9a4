#include "hexnumber.h"

namespace {

constexpr qsizetype kHexDigits64 = 16;

/// The digits of a number that may be written with a prefix.
QStringView WithoutPrefix(QStringView text)
{
    if (text.startsWith(u"0x") || text.startsWith(u"0X"))
        return text.sliced(2);
    return text;
}

int HexDigitValue(QChar character)
{
    const char16_t code = character.unicode();
    if (code >= u'0' && code <= u'9')
        return code - u'0';
    if (code >= u'A' && code <= u'F')
        return code - u'A' + 10;
    if (code >= u'a' && code <= u'f')
        return code - u'a' + 10;
    return -1;
}

} // namespace

std::optional<std::uint64_t> ParseHexNumber(const QString &text)
{
    const QStringView digits = WithoutPrefix(text);
    if (digits.isEmpty())
        return std::nullopt;
    std::uint64_t value = 0;
    for (const QChar character : digits) {
        const int digit = HexDigitValue(character);
        if (digit < 0 || value >> (4 * (kHexDigits64 - 1)) != 0)
            return std::nullopt;
        value = value << 4 | static_cast<std::uint64_t>(digit);
    }
    return value;
}
