#pragma once

#include <cstddef>
#include <cstdint>

// Where the program lies and where it may write. Paths are NUL-terminated bytes in the caller's
// buffer of `size` characters. Results are 0 for success and 1 for failure. Any thread.

inline constexpr int SYS_PATH_OK = 0;
inline constexpr int SYS_PATH_ERROR = 1;
inline constexpr std::uint32_t SYS_MAX_PATH = 512;

/// The program file of a process; empty when it cannot be told.
void SYS_ExecutablePath(int processId, char *buffer, std::uint32_t size);

/// The file that holds this very code, resolved through symbolic links; empty when unknown. In the
/// program itself a name that it was started by counts only if it leads to the program's own file.
void SYS_ModulePath(char *buffer, std::uint32_t size);

/// The directory of SYS_ModulePath with its separator at the end; empty when the path has none.
void SYS_ModuleDirectory(char *buffer, std::uint32_t size);

/// Composes directory (which ends with a separator) and name, cut to the size.
void SYS_ComposePath(char *buffer, std::uint32_t size, const char *directory, const char *name);

/// The text after which a path's file name begins: behind its last '/' or '\'.
[[nodiscard]] const char *SYS_FileName(const char *path);

/// A folder of that name in the user's home directory, created if missing, for this user alone. As
/// below for failures.
int SYS_HomeFolder(char *buffer, std::uint32_t size, const char *name);

/// The user's configuration directory, created if missing, for this user alone. A directory that
/// cannot be created is a failure, but its path is in the buffer all the same.
/// A path that had to be cut to the size (or to SYS_MAX_PATH) is a failure and creates nothing.
int SYS_UserConfigDir(char *buffer, std::uint32_t size);
