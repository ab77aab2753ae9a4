#include "addresshistory.h"

#include <limits>

namespace {

constexpr qsizetype kHexDigits64 = 16;
constexpr qsizetype kMaxTextChars = 256; // of a text that a hand-edited settings file may hold

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

bool ParseAddress(const QString &text, std::uint64_t &address, std::uint64_t &size)
{
    const std::optional<std::uint64_t> value = ParseHexNumber(text);
    address = value.value_or(0);
    size = 0;
    return value.has_value();
}

void NormaliseAddressText(QString &text)
{
    const std::optional<std::uint64_t> value = ParseHexNumber(text);
    if (!value || *value > std::numeric_limits<std::uint32_t>::max())
        return;
    // Deliberate: only the lower-case prefix is kept apart, so 0X1f becomes 0X1F.
    if (text.startsWith(QLatin1String("0x")))
        text = QStringLiteral("0x") + text.sliced(2).toUpper();
    else
        text = text.toUpper();
}

QStringList WithAddressBoxText(QStringList items, const QString &text)
{
    if (items.removeAll(text) == 0 && items.size() >= kMaxAddressBoxItems)
        items.removeLast();
    items.prepend(text);
    return items;
}

QStringList SoundAddressBoxItems(const QStringList &items)
{
    QStringList sound;
    for (QString text : items) {
        text.truncate(kMaxTextChars);
        NormaliseAddressText(text);
        if (!text.isEmpty() && !sound.contains(text))
            sound.append(text);
        if (sound.size() == kMaxAddressBoxItems)
            break;
    }
    return sound;
}

void AddressHistory::PushBack(std::uint64_t address)
{
    if (m_addresses.empty() || m_addresses.back() != address)
        m_addresses.push_back(address);
}

std::optional<std::uint64_t> AddressHistory::TakeLatest()
{
    if (m_addresses.empty())
        return std::nullopt;
    const std::uint64_t latest = m_addresses.back();
    m_addresses.pop_back();
    return latest;
}
