#include "targetaccess.h"

#include "waitcursor.h"

#include "utiltext.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::size_t kWordBytes = 4;

/// Data of a byte that is not valid never reaches the screen or a comparison.
void Sanitise(std::span<std::uint8_t> data, std::span<ByteStatus> status)
{
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (status[i] == ByteStatus::Valid)
            continue;
        data[i] = 0;
        if (status[i] != ByteStatus::NotLoaded)
            status[i] = ByteStatus::ReadFailed;
    }
}

} // namespace

void TargetAccess::SetZone(const QString &name)
{
    m_zone.fill('\0');
    UTIL_CopyText(m_zone, name.toLatin1().constData());
}

QString TargetAccess::Zone() const
{
    return QString::fromLatin1(m_zone.data());
}

int TargetAccess::Read(std::uint64_t address, std::span<std::uint8_t> data,
    std::span<ByteStatus> status, std::uint32_t bytesPerRow)
{
    if (m_callbacks.ReadMemory == nullptr) {
        ShowMessage(QStringLiteral("Failed to read target memory"), kMessageError);
        return -1;
    }
    if (address >= kAddressSpaceEnd || data.empty())
        return 0;
    const auto length
        = std::size_t(std::min<std::uint64_t>(data.size(), kAddressSpaceEnd - address));
    data = data.first(length);
    status = status.first(length);
    std::int64_t result = ReadOnce(address, data, status);
    if (result < 0) {
        // Deliberate: from here on a failure is only a mark at its bytes. A message for every bad
        // word would bury the user.
        result = 0;
        for (std::size_t row = 0; bytesPerRow > 0 && length - row >= bytesPerRow;
             row += bytesPerRow)
            result += ReadRow(
                address + row, data.subspan(row, bytesPerRow), status.subspan(row, bytesPerRow));
    }
    Sanitise(data, status);
    return int(std::min<std::int64_t>(result, std::numeric_limits<int>::max()));
}

/// One call of the host. What a failed call calls valid is not believed.
int TargetAccess::ReadOnce(
    std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status) const
{
    const int result = m_callbacks.ReadMemory(address, data.size(), m_accessWidth, m_zone.data(),
        data.data(), reinterpret_cast<std::uint8_t *>(status.data()));
    if (result < 0)
        std::replace(status.begin(), status.end(), ByteStatus::Valid, ByteStatus::ReadFailed);
    // A host may claim more than it was asked for.
    return int(std::min<std::int64_t>(result, std::int64_t(data.size())));
}

int TargetAccess::ReadRow(
    std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status) const
{
    const int result = ReadOnce(address, data, status);
    if (result >= 0)
        return result;
    if (data.size() < kWordBytes) { // too short to be split
        std::fill(status.begin(), status.end(), ByteStatus::ReadFailed);
        return 0;
    }
    int sum = 0;
    for (std::size_t word = 0; word < data.size(); word += kWordBytes)
        sum += ReadPiece(
            address + word, data.subspan(word, kWordBytes), status.subspan(word, kWordBytes));
    return sum;
}

int TargetAccess::ReadPiece(
    std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status) const
{
    const int result = ReadOnce(address, data, status);
    if (result >= 0)
        return result;
    if (data.size() == 1) {
        status[0] = ByteStatus::ReadFailed;
        return 0;
    }
    const std::size_t half = data.size() / 2;
    const int lower = ReadPiece(address, data.first(half), status.first(half));
    return lower + ReadPiece(address + half, data.subspan(half), status.subspan(half));
}

int TargetAccess::Write(std::uint64_t address, std::span<const std::uint8_t> data)
{
    const int result = m_callbacks.WriteMemory == nullptr
        ? -1
        : m_callbacks.WriteMemory(address, data.size(), m_accessWidth, m_zone.data(), data.data());
    if (result < 0)
        ShowMessage(QStringLiteral("Failed to write target memory"), kMessageError);
    return result;
}

int TargetAccess::ListZones(QString &names) const
{
    names.clear();
    if (!HasZones())
        return 0;
    std::array<char, kZoneListSize> text{};
    const int count = m_callbacks.ListZones(text.data(), kZoneListSize);
    text.back() = '\0'; // a host may forget it
    names = QString::fromLatin1(text.data());
    return count;
}

void TargetAccess::ShowMessage(const QString &text, int severity) const
{
    if (m_callbacks.ShowMessage == nullptr)
        return;
    const UsualCursor cursor;
    m_callbacks.ShowMessage(text, severity);
}
