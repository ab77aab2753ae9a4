#pragma once

#include "syswait.h"

#include <cstdint>

// Auto-reset events from a fixed table: one wait consumes the signal, and setting a set event
// changes nothing. A create or close must not run at the same time as another create or close;
// setting and waiting are for any thread.

struct SysEvent;
/// An entry of the table.
using SYS_EVENT_HANDLE = SysEvent *;

inline constexpr unsigned SYS_MAX_EVENTS = 64;

/// The result of a failed create. Deliberate: not null, unlike that of SYS_CreateMutex.
inline const SYS_EVENT_HANDLE SYS_EVENT_ERROR = reinterpret_cast<SYS_EVENT_HANDLE>(-1);

/// @param name          ignored
/// @param manualReset   must be 0: there are auto-reset events only
/// @param initialState  1: signalled from the start
/// @return the event or SYS_EVENT_ERROR
[[nodiscard]] SYS_EVENT_HANDLE SYS_CreateEvent(
    const char *name, int manualReset, std::uint32_t initialState);

/// Waits for the signal and consumes it. A spurious wake-up starts the time-out anew.
/// @return SYS_WAIT_OK, SYS_WAIT_TIMEOUT or SYS_WAIT_ERROR
int SYS_WaitForEvent(SYS_EVENT_HANDLE event, std::uint32_t timeoutMs);

/// Sets the signal and wakes one waiter.
void SYS_SetEvent(SYS_EVENT_HANDLE event);

void SYS_CloseEvent(SYS_EVENT_HANDLE event);
