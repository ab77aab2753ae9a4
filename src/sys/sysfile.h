#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// Whole files in and out. No state; any thread.

enum class SysFileResult {
    Ok,
    SharingViolation,
    AccessDenied,
    ReadOnly, ///< writing only: the file's owner must not write it, judged by its mode bits
    BadName,
    InvalidDrive,
    FileNotFound,
    PathNotFound,
    InvalidFile,    ///< anything else that cannot be opened, or is no regular file
    TransferFailed, ///< short read, short write, or larger than the buffer
};

/// Identifies a file's contents: which file it is, how long, and when it was changed last.
struct SysFileStamp {
    std::uint64_t device = 0;
    std::uint64_t inode = 0; ///< 0: there is no such file
    std::int64_t lengthBytes = 0;
    std::int64_t changedSeconds = 0;
    std::int64_t changedNanoseconds = 0;

    bool operator==(const SysFileStamp &) const = default;
};

/// The stamp of the file behind a path, links followed.
[[nodiscard]] SysFileStamp SYS_StampOfFile(const char *path);

/// Reads a whole file. One that another process holds is tried six times, 10 ms apart.
/// @param length  receives the number of bytes, 0 after a failure
[[nodiscard]] SysFileResult SYS_ReadFile(
    const char *path, std::span<char> buffer, std::size_t &length);

/// Replaces a file's content, or creates it for the user alone. Whatever happens, the file holds
/// the old or the new content afterwards: the new one is written beside it, flushed and renamed.
/// Mode and owner stay, symbolic links are followed. Where the directory does not allow that, the
/// file is written in place, after making sure of the room for it. Shared files as above.
/// @param stamp  receives the stamp of what was written; untouched after a failure
[[nodiscard]] SysFileResult SYS_ReplaceFile(
    const char *path, std::string_view content, SysFileStamp *stamp = nullptr);
