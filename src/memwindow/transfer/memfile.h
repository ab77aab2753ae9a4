#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>
#include <span>

/// Bytes that one load, save, fill or copy handles at most. All of them hold the whole range in
/// memory, and a mistyped size must not take the machine's.
inline constexpr std::uint64_t kMaxTransferBytes = 256ULL * 1024 * 1024;

/// Files of raw target memory: the bytes in address order, nothing before or after them.
///
/// Only regular files (or links to them) are read and written. A folder, a device or a pipe is
/// refused, so that a wrong name neither blocks the window nor ends up on a disk's first sectors.

/// The length of a file in bytes, or nothing when it is no regular file.
[[nodiscard]] std::optional<std::uint64_t> MEMFILE_Size(const QString &fileName);

/// Reads a whole file of at most kMaxTransferBytes. @return nothing when it cannot be read
[[nodiscard]] std::optional<QByteArray> MEMFILE_Read(const QString &fileName);

/// Writes a whole file. The bytes go to a file beside it, which takes its name when they are all
/// on the disk; a full disk or a crash leaves the old file, or none. Where the folder allows no
/// new file, an existing one is written in place.
/// @return whether the file now holds exactly the bytes
[[nodiscard]] bool MEMFILE_Write(const QString &fileName, std::span<const std::uint8_t> bytes);
