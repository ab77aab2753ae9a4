#pragma once

#include <string>
#include <vector>

// The files that may be the probe library, in the order in which they are tried.

/// In the directory of the program's own module, which ends with a separator or is empty: nothing.
[[nodiscard]] std::vector<std::string> PROBE_FilesBesideModule(const char *directory);

/// In the directory of the program file, then the installed library, then the installed library
/// under its major-version file name.
/// @param executablePath    may be empty
/// @param installDirectory  with its separator at the end
[[nodiscard]] std::vector<std::string> PROBE_InstalledFiles(
    const char *executablePath, const char *installDirectory);
