#pragma once

#include <cstdint>

// Following symbolic links by hand, with the reading of a link handed in.

/// Reads the target of a link into a buffer (terminated, cut to size - 1).
/// @return whether the path is a link
using SysReadLink = bool (*)(const char *path, char *target, std::uint32_t size);

/// The system's own links.
bool SYS_ReadLink(const char *path, char *target, std::uint32_t size);

/// Follows a program's name to the file behind all links. A bare name is looked up as a link in
/// /usr/bin, and stays as it is when there is none. Links that lead in a circle end at one of them.
void SYS_ResolveModulePath(
    const char *name, SysReadLink readLink, char *buffer, std::uint32_t size);
