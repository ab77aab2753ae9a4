#pragma once

#include <cstdint>

/// A thread, as the system names it; 0 is none.
using SYS_THREAD_ID = std::uint64_t;
using SysThreadStart = void *(*)(void *argument);

/// Starts a detached thread. It cannot be joined; threads signal their end by events.
/// @param idOut  receives the new thread's id; may be null
/// @return the new thread's id, or 0 when the system refuses
SYS_THREAD_ID SYS_CreateThread(SysThreadStart start, void *argument, std::uint64_t *idOut);
