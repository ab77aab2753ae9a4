#pragma once

#include "systhread.h"

/// What the fixed start routine runs: one function with its context.
struct SysThreadTask {
    void (*Run)(void *context);
    void *context;
};

/// As SYS_CreateThread, with the start routine that runs a task. The task must stay valid until it
/// runs.
SYS_THREAD_ID SYS_CreateFixedThread(SysThreadTask *task, std::uint64_t *idOut);

/// Asks a thread to end at its next cancellation point. The thread must not have ended yet.
/// @return 0 or the system's error number
int SYS_CancelThread(SYS_THREAD_ID thread);

[[nodiscard]] SYS_THREAD_ID SYS_CurrentThreadId();
[[nodiscard]] int SYS_CurrentProcessId();
