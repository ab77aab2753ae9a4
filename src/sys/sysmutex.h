#pragma once

#include "syswait.h"

#include <cstdint>

// Recursive mutexes from a fixed table: creating one never allocates. The owner may lock again and
// must release as often. The table itself is not locked: a create or close must not run at the same
// time as another create or close. Waiting and releasing are for any thread.

struct SysMutex;
/// An entry of the table; null is no mutex.
using SYS_MUTEX_HANDLE = SysMutex *;

inline constexpr unsigned SYS_MAX_MUTEXES = 64;

inline constexpr int SYS_RELEASE_OK = 0;
/// Deliberate: a failed release returns 1, a failed wait -1. Callers compare with both.
inline constexpr int SYS_RELEASE_ERROR = 1;

/// @param name  kept for debugging, cut to 31 characters; may be null
/// @return the mutex, or null when the table is full or the system refuses
[[nodiscard]] SYS_MUTEX_HANDLE SYS_CreateMutex(const char *name);
[[nodiscard]] SYS_MUTEX_HANDLE SYS_CreateUnnamedMutex();

/// @return SYS_WAIT_OK: locked. SYS_WAIT_TIMEOUT, SYS_WAIT_ERROR: not locked
int SYS_WaitForMutex(SYS_MUTEX_HANDLE mutex, std::uint32_t timeoutMs);
int SYS_WaitForMutexForever(SYS_MUTEX_HANDLE mutex);

/// @return SYS_RELEASE_OK or SYS_RELEASE_ERROR
int SYS_ReleaseMutex(SYS_MUTEX_HANDLE mutex);

/// Gives the entry back and sets the caller's handle to null. A handle that is null or not in use
/// stays as it is.
void SYS_CloseMutex(SYS_MUTEX_HANDLE *mutex);
