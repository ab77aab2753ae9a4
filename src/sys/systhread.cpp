#include "systhread.h"

#include <pthread.h>

static_assert(sizeof(pthread_t) == sizeof(SYS_THREAD_ID));

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
