#pragma once

#include <cstddef>
#include <cstdint>

// Paths are NUL-terminated bytes in the caller's buffer of `size` characters. Any thread.

/// A directory for temporary files that has been tested to be writable: the system's, otherwise the
/// user's own. Empty when neither is.
void SYS_TempDir(char *buffer, std::uint32_t size);

/// Reads from the system's random source, once.
/// @return the number of bytes read, which may be less than `count`, or -1
int SYS_RandomBytes(void *buffer, std::size_t count);

/// The temporary directory when `systemDirectory` is the system's one.
void SYS_TempDirBelow(const char *systemDirectory, char *buffer, std::uint32_t size);
