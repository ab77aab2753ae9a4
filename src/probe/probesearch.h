#pragma once

// The places where the probe library may lie, in the order in which they are tried. The opener is
// handed in; the first handle that it gives ends a search.

/// Opens a library file. @return its handle or null
using ProbeOpen = void *(*)(const char *path);

/// Tries the directory of the program's own module, which ends with a separator or is empty.
/// @return a handle or null
void *PROBE_SearchModuleDirectory(const char *directory, ProbeOpen open);

/// Tries the directory of the program file, then the installed library, then the installed library
/// under its major-version file name.
/// @param executablePath    may be empty
/// @param installDirectory  with its separator at the end
/// @return a handle or null
void *PROBE_SearchInstallations(
    const char *executablePath, const char *installDirectory, ProbeOpen open);
