#include "addresshistory.h"

#include "hexnumber.h"

#include <limits>

namespace {

constexpr qsizetype kMaxTextChars = 256; // of a text that a hand-edited settings file may hold

} // namespace

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
