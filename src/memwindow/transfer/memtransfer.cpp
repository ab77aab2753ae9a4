#include "memtransfer.h"

#include "memfile.h"
#include "memtypes.h"
#include "targetaccess.h"
#include "waitcursor.h"

#include <algorithm>
#include <bit>
#include <new>
#include <span>
#include <vector>

namespace {

constexpr std::uint32_t kLargestTailPiece = 16;

bool AreUnread(std::span<const ByteStatus> status)
{
    return std::find(status.begin(), status.end(), ByteStatus::Valid) == status.end();
}

/// Reads the bytes behind the last whole row, which the row-wise fallback leaves out.
void ReadTail(TargetAccess &target, MemRange range, std::uint32_t bytesPerRow,
    std::span<std::uint8_t> data, std::span<ByteStatus> status)
{
    std::uint64_t at = bytesPerRow == 0 ? 0 : range.length - range.length % bytesPerRow;
    if (!AreUnread(status.subspan(at)))
        return;
    while (at < range.length) {
        const auto piece = std::min(
            std::bit_floor(static_cast<std::uint32_t>(range.length - at)), kLargestTailPiece);
        (void)target.Read(
            range.start + at, data.subspan(at, piece), status.subspan(at, piece), piece);
        at += piece;
    }
}

std::span<std::uint8_t> BytesOf(QByteArray &bytes)
{
    return {reinterpret_cast<std::uint8_t *>(bytes.data()), static_cast<std::size_t>(bytes.size())};
}

std::span<const std::uint8_t> BytesOf(const QByteArray &bytes)
{
    return {reinterpret_cast<const std::uint8_t *>(bytes.constData()),
        static_cast<std::size_t>(bytes.size())};
}

MemRange WithinSpace(MemRange range)
{
    const std::uint64_t room = range.start < kAddressSpaceEnd ? kAddressSpaceEnd - range.start : 0;
    return {range.start, std::min(range.length, room)};
}

} // namespace

std::optional<TransferBytes> TRANSFER_Read(
    TargetAccess &target, MemRange range, std::uint32_t bytesPerRow)
{
    const WaitCursor wait;
    if (range.length > kMaxTransferBytes)
        return std::nullopt;
    try {
        TransferBytes bytes;
        bytes.data = QByteArray(static_cast<qsizetype>(range.length), '\0');
        std::vector<ByteStatus> status(range.length, ByteStatus::NotLoaded);
        if (target.Read(range.start, BytesOf(bytes.data), status, bytesPerRow) < 0)
            return std::nullopt;
        ReadTail(target, range, bytesPerRow, BytesOf(bytes.data), status);
        bytes.unreadBytes = range.length
            - static_cast<std::uint64_t>(
                std::count(status.begin(), status.end(), ByteStatus::Valid));
        return bytes;
    } catch (const std::bad_alloc &) {
        return std::nullopt;
    }
}

void TRANSFER_Save(
    TargetAccess &target, MemRange range, std::uint32_t bytesPerRow, const QString &fileName)
{
    const std::optional<TransferBytes> bytes = TRANSFER_Read(target, range, bytesPerRow);
    if (!bytes || bytes->unreadBytes == range.length) {
        // Without a read callback the read itself has said so.
        if (bytes || range.length > kMaxTransferBytes)
            target.ShowMessage(QStringLiteral("Failed to read target memory"), kMessageError);
        return;
    }
    bool isWritten = false;
    {
        const WaitCursor wait;
        isWritten = MEMFILE_Write(fileName, BytesOf(bytes->data));
    }
    if (!isWritten)
        target.ShowMessage(QStringLiteral("Could not open file for writing"), kMessageError);
    else if (bytes->unreadBytes != 0)
        target.ShowMessage(QStringLiteral("Failed to read target memory"), kMessageError);
}

std::optional<MemRange> TRANSFER_Load(
    TargetAccess &target, const QString &fileName, std::uint64_t start, std::uint64_t maxBytes)
{
    std::optional<QByteArray> bytes;
    {
        const WaitCursor wait;
        bytes = MEMFILE_Read(fileName);
    }
    if (!bytes) {
        target.ShowMessage(QStringLiteral("Could not open file for reading"), kMessageError);
        return std::nullopt;
    }
    const auto size = std::min(static_cast<std::uint64_t>(bytes->size()), maxBytes);
    bytes->truncate(static_cast<qsizetype>(size)); // it may have grown since it was chosen
    return TRANSFER_Write(target, start, *bytes);
}

void TRANSFER_Fill(TargetAccess &target, MemRange range, std::uint8_t value)
{
    const MemRange inside = WithinSpace(range);
    if (inside.length > kMaxTransferBytes) {
        target.ShowMessage(QStringLiteral("Failed to write target memory"), kMessageError);
        return;
    }
    (void)TRANSFER_Write(target, inside.start,
        QByteArray(static_cast<qsizetype>(inside.length), static_cast<char>(value)));
}

MemRange TRANSFER_Write(TargetAccess &target, std::uint64_t start, const QByteArray &bytes)
{
    const MemRange range = WithinSpace({start, static_cast<std::uint64_t>(bytes.size())});
    if (range.length != 0) {
        const WaitCursor wait;
        (void)target.Write(start, BytesOf(bytes).first(range.length));
    }
    return range;
}
