#pragma once

#include <cstdint>

// A registry of keys and typed values in the manner of a desktop system's one, kept in one XML file
// for each root key in the user's configuration directory. Every change is saved at once; the file
// holds the old or the new content, never a part. Any thread. Other processes that write the same
// file are not noticed: the last writer wins.

/// A root key or an open key; 0 is none.
using SYS_REG_KEY = std::uintptr_t;

inline constexpr SYS_REG_KEY SYS_REG_CLASSES_ROOT = 0x80000000;
inline constexpr SYS_REG_KEY SYS_REG_CURRENT_USER = 0x80000001;
inline constexpr SYS_REG_KEY SYS_REG_LOCAL_MACHINE = 0x80000002;
/// The root keys behind it, up to this one, are known but not supported: every operation on them
/// fails.
inline constexpr SYS_REG_KEY SYS_REG_LAST_ROOT = 0x80000006;

inline constexpr std::uint32_t SYS_REG_TYPE_SZ = 1;
inline constexpr std::uint32_t SYS_REG_TYPE_EXPAND_SZ = 2;
inline constexpr std::uint32_t SYS_REG_TYPE_BINARY = 3;
inline constexpr std::uint32_t SYS_REG_TYPE_DWORD = 4;
inline constexpr std::uint32_t SYS_REG_TYPE_MULTI_SZ = 7;
inline constexpr std::uint32_t SYS_REG_TYPE_QWORD = 11;

inline constexpr int SYS_REG_OK = 0;
inline constexpr int SYS_REG_ERROR = 1;
/// The buffer is too small; the needed size was stored.
inline constexpr int SYS_REG_MORE_DATA = 234;

/// Opens a key below a root or an open key and creates what is missing of it.
/// @param path  names joined by backslashes; each must be a legal XML element name. Empty: the
///              parent itself
/// @param key   receives a key of its own, to be closed
/// @return SYS_REG_OK or SYS_REG_ERROR
int SYS_RegCreateKey(SYS_REG_KEY parent, const char *path, SYS_REG_KEY *key);

/// Closes an open key. 0 and root keys stay as they are.
/// @return SYS_REG_OK, or SYS_REG_ERROR for what is no key
int SYS_RegCloseKey(SYS_REG_KEY key);

/// Reads a value.
/// @param name  leading blanks are skipped; empty fails
/// @param type  receives the type; may be null
/// @param data  receives the value: texts with their NUL, a list of texts with an empty one at its
///              end, numbers as 4 or 8 bytes. Null: only the type is asked for
/// @param size  the buffer's size in bytes; receives the value's size
/// @return SYS_REG_OK, SYS_REG_MORE_DATA (nothing is copied) or SYS_REG_ERROR
int SYS_RegQueryValue(
    SYS_REG_KEY key, const char *name, std::uint32_t *type, void *data, std::uint32_t *size);

/// Stores a value under a name that must be a legal XML element name, and saves.
/// @param data  texts end at their first NUL or with the data; a list of texts at its first empty
///              one. Numbers must have 4 or 8 bytes
/// @return SYS_REG_OK, or SYS_REG_ERROR when nothing was stored
int SYS_RegSetValue(
    SYS_REG_KEY key, const char *name, std::uint32_t type, const void *data, std::uint32_t size);

/// Closes all open keys and forgets the files' contents; the next operation loads them again.
void SYS_RegRelease();
