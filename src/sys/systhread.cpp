#include "systhread.h"

#include <pthread.h>
#include <unistd.h>

static_assert(sizeof(pthread_t) == sizeof(SYS_THREAD_ID));

namespace {

void *RunTask(void *argument)
{
    const auto *const task = static_cast<const SysThreadTask *>(argument);
    task->Run(task->context);
    return nullptr;
}

} // namespace

SYS_THREAD_ID SYS_CreateThread(SysThreadStart start, void *argument, std::uint64_t *idOut)
{
    pthread_attr_t attributes;
    pthread_t thread = 0;
    if (pthread_attr_init(&attributes) == 0) {
        pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
        if (pthread_create(&thread, &attributes, start, argument) != 0)
            thread = 0;
        pthread_attr_destroy(&attributes);
    }
    if (idOut)
        *idOut = thread;
    return thread;
}

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
