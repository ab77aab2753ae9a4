#include "targetaccess.h"

#include "fallbackread.h"

#include <QString>

#include <algorithm>
#include <limits>

namespace {

/// Clears the data of bytes that are not valid, so that it is neither shown nor compared.
void Sanitise(std::span<std::uint8_t> data, std::span<ByteStatus> status)
{
    // Nearly always every byte is valid: this loop has no branch and takes many bytes at once.
    static_assert(std::uint8_t(ByteStatus::Valid) == 0);
    std::uint8_t seen = 0;
    for (std::size_t i = 0; i < data.size(); ++i)
        seen |= std::uint8_t(status[i]);
    if (seen == 0)
        return;
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (status[i] == ByteStatus::Valid)
            continue;
        data[i] = 0;
        if (status[i] != ByteStatus::NotLoaded)
            status[i] = ByteStatus::ReadFailed;
    }
}

} // namespace

void TargetAccess::SetCallbacks(const MemoryCallbacks &callbacks)
{
    m_callbacks = callbacks;
    m_messages.SetHost(callbacks.ShowMessage);
}

void TargetAccess::SetZone(std::string_view name)
{
    m_zone.fill('\0');
    std::copy_n(name.begin(), std::min(name.size(), m_zone.size() - 1), m_zone.begin());
}

int TargetAccess::Read(std::uint64_t address, std::span<std::uint8_t> data,
    std::span<ByteStatus> status, std::uint32_t bytesPerRow) const
{
    if (!CanRead()) {
        ReportNoRead();
        return -1;
    }
    if (address >= kAddressSpaceEnd)
        return 0;
    const auto length
        = std::size_t(std::min<std::uint64_t>(data.size(), kAddressSpaceEnd - address));
    FallbackRead read(address, length, bytesPerRow);
    while (!read.IsDone())
        read.Step(*this, data, status);
    return int(std::min<std::int64_t>(read.BytesRead(), std::numeric_limits<int>::max()));
}

int TargetAccess::ReadOnce(
    std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status) const
{
    if (!CanRead())
        return -1;
    const int result = m_callbacks.ReadMemory(address, data.size(), m_accessWidth, m_zone.data(),
        data.data(), reinterpret_cast<std::uint8_t *>(status.data()));
    if (result < 0)
        std::replace(status.begin(), status.end(), ByteStatus::Valid, ByteStatus::ReadFailed);
    Sanitise(data, status);
    // A host may claim more than it was asked for.
    return int(std::min<std::int64_t>(result, std::int64_t(data.size())));
}

void TargetAccess::ReportNoRead() const
{
    m_messages.AddOnce(QStringLiteral("Failed to read target memory"), kMessageError);
}

int TargetAccess::Write(std::uint64_t address, std::span<const std::uint8_t> data) const
{
    const int result = WriteOnce(address, data);
    if (result < 0)
        m_messages.Add(QStringLiteral("Failed to write target memory"), kMessageError);
    return result;
}

int TargetAccess::WriteOnce(std::uint64_t address, std::span<const std::uint8_t> data) const
{
    if (m_callbacks.WriteMemory == nullptr)
        return -1;
    return m_callbacks.WriteMemory(address, data.size(), m_accessWidth, m_zone.data(), data.data());
}

int TargetAccess::ListZones(ZoneList &names) const
{
    names.fill('\0');
    if (!HasZones())
        return 0;
    const int count = m_callbacks.ListZones(names.data(), std::uint32_t(names.size()));
    names.back() = '\0'; // a host may forget it
    return count;
}
