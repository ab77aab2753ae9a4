#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

class TargetAccess;

/// A range of target memory.
struct MemRange {
    std::uint64_t start = 0;
    std::uint64_t length = 0; ///< bytes
};

/// Bytes read from the target. Bytes that could not be read are 0.
struct TransferBytes {
    QByteArray data;
    std::uint64_t unreadBytes = 0;
};

/// Operations on ranges of target memory that are larger than a page. GUI thread only.
///
/// Each reports its failures to the host and shows the wait cursor while it lasts.

/// Reads a range in one call, with the fallbacks of TargetAccess for what that call cannot read.
/// @return nothing when there is nothing to read from, or when the range is longer than
///         kMaxTransferBytes
[[nodiscard]] std::optional<TransferBytes> TRANSFER_Read(
    TargetAccess &target, MemRange range, std::uint32_t bytesPerRow);

/// Writes the range's bytes into a file. A range of which no byte can be read leaves no file; bytes
/// that cannot be read among others are written as 0, after a message.
void TRANSFER_Save(
    TargetAccess &target, MemRange range, std::uint32_t bytesPerRow, const QString &fileName);

/// Writes the bytes of a file into target memory, as far as the address space goes.
/// @param maxBytes  length to write at most; a file that is shorter by now is written as it is
/// @return the range written to, also when the write failed; nothing when the file is not readable
[[nodiscard]] std::optional<MemRange> TRANSFER_Load(
    TargetAccess &target, const QString &fileName, std::uint64_t start, std::uint64_t maxBytes);

/// Writes one byte value all over the range, in one call.
void TRANSFER_Fill(TargetAccess &target, MemRange range, std::uint8_t value);

/// Writes bytes, as far as the address space goes, in one call. @return the range written to
MemRange TRANSFER_Write(TargetAccess &target, std::uint64_t start, const QByteArray &bytes);
