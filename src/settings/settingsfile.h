#pragma once

#include "settingsimage.h"

#include <string_view>

// Whole settings files in and out. No state; any thread.

enum class SettingsFileResult {
    Ok,
    SharingViolation,
    AccessDenied,
    ReadOnly, ///< saving only: the file's owner must not write it, judged by its mode bits
    BadName,
    InvalidDrive,
    FileNotFound,
    PathNotFound,
    InvalidFile,    ///< anything else that cannot be opened, what is no regular file among it
    TransferFailed, ///< short read, short write, or larger than the image
};

/// Reads a file into the image, which is empty after a failure. A file that another process keeps
/// to itself is tried six times, 10 ms apart.
[[nodiscard]] SettingsFileResult SETTINGS_ReadFile(const char *path, SettingsImage &image);

/// Replaces a file's content, or creates it for the user alone. Whatever happens, the file holds
/// the old or the new content afterwards: the new one is written beside it, flushed and renamed.
/// Mode and owner stay, symbolic links are followed. Where the directory does not allow that, the
/// file is written in place, after making sure of the room for it.
[[nodiscard]] SettingsFileResult SETTINGS_WriteFile(const char *path, std::string_view content);
