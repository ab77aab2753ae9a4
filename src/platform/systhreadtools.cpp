#include "systhreadtools.h"

#include <pthread.h>
#include <unistd.h>

namespace {

void *RunTask(void *argument)
{
    const auto *const task = static_cast<const SysThreadTask *>(argument);
    task->Run(task->context);
    return nullptr;
}

} // namespace

SYS_THREAD_ID SYS_CreateFixedThread(SysThreadTask *task, std::uint64_t *idOut)
{
    return SYS_CreateThread(&RunTask, task, idOut);
}

int SYS_CancelThread(SYS_THREAD_ID thread)
{
    return pthread_cancel(thread);
}

SYS_THREAD_ID SYS_CurrentThreadId()
{
    return pthread_self();
}

int SYS_CurrentProcessId()
{
    return getpid();
}
