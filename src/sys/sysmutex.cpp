#include "sysmutex.h"

#include "sysdeadline.h"
#include "systable.h"
#include "systrace.h"
#include "utiltext.h"

#include <cerrno>

#include <pthread.h>

struct SysMutex {
    std::atomic<std::uint32_t> inUse; // publishes the initialised fields below
    std::array<char, 32> name;
    pthread_mutex_t mutex;
    pthread_mutexattr_t attributes;
};

namespace {

constinit std::array<SysMutex, SYS_MAX_MUTEXES> mutexTable{};

constexpr int kHandleWidth = 2 * sizeof(void *);

void TraceError(const char *format, int error)
{
    SYS_Trace(SYS_TRACE_ERRORS, format, SYS_ErrorText(error));
}

/// @return whether the entry's mutex is ready for use
bool InitEntry(SysMutex &entry)
{
    if (const int error = pthread_mutexattr_init(&entry.attributes)) {
        TraceError("SYS_CreateMutex() exit: Attr init error: (%s)\n", error);
        return false;
    }
    int error = pthread_mutexattr_settype(&entry.attributes, PTHREAD_MUTEX_RECURSIVE);
    if (error != 0) {
        TraceError("SYS_CreateMutex() exit: Set type error: (%s)\n", error);
    } else {
        error = pthread_mutex_init(&entry.mutex, &entry.attributes);
        if (error == 0)
            return true;
        TraceError("SYS_CreateMutex() exit: Mutex init error: (%s).\n", error);
    }
    pthread_mutexattr_destroy(&entry.attributes);
    return false;
}

int LockUntil(SysMutex &entry, std::uint32_t timeoutMs)
{
    int result = SYS_WAIT_OK;
    std::timespec deadline{};
    if (!SYS_ComputeDeadline(timeoutMs, deadline)) {
        // Deliberate: the lock is attempted all the same, and an error is returned even when it
        // succeeds.
        SYS_Trace(
            SYS_TRACE_ERRORS, "SYS_WaitForMutex(): Unspecified error while calculating timeout\n");
        result = SYS_WAIT_ERROR;
    }
    const int error = pthread_mutex_timedlock(&entry.mutex, &deadline);
    if (error == ETIMEDOUT) {
        SYS_Trace(SYS_TRACE_CALLS, "SYS_WaitForMutex(): Timeout while waiting for mutex\n");
        return result == SYS_WAIT_OK ? SYS_WAIT_TIMEOUT : result;
    }
    if (error != 0) {
        TraceError("SYS_WaitForMutex(): Error while waiting for mutex: %s\n", error);
        return SYS_WAIT_ERROR;
    }
    return result;
}

} // namespace

SYS_MUTEX_HANDLE SYS_CreateMutex(const char *name)
{
    SYS_Trace(SYS_TRACE_CALLS, "SYS_CreateMutex(sName = %s) entry\n", name ? name : "<unnamed>");
    SysMutex *const entry = SYS_FindFreeEntry(mutexTable);
    if (!entry) {
        SYS_Trace(SYS_TRACE_ERRORS, "SYS_CreateMutex() exit: No more entries\n");
        return nullptr;
    }
    if (!InitEntry(*entry))
        return nullptr;
    entry->name[0] = '\0';
    UTIL_CopyText(entry->name, name);
    entry->inUse.store(1, std::memory_order_release);
    SYS_Trace(SYS_TRACE_CALLS, "SYS_CreateMutex() exit: %0*p\n", kHandleWidth, entry);
    return entry;
}

SYS_MUTEX_HANDLE SYS_CreateUnnamedMutex()
{
    return SYS_CreateMutex(nullptr);
}

int SYS_WaitForMutex(SYS_MUTEX_HANDLE mutex, std::uint32_t timeoutMs)
{
    SYS_Trace(SYS_TRACE_CALLS, "SYS_WaitForMutex(hMutex = %0*p, TimeOut = %d) entry\n",
        kHandleWidth, mutex, static_cast<int>(timeoutMs));
    if (!mutex) {
        SYS_Trace(SYS_TRACE_ERRORS, "SYS_WaitForMutex(): Invalid handle.\n");
        return SYS_WAIT_ERROR;
    }
    if (!SYS_IsEntryInUse(mutexTable, mutex)) {
        SYS_Trace(SYS_TRACE_ERRORS, "SYS_WaitForMutex(): Not in use.\n");
        return SYS_WAIT_ERROR;
    }
    int result = SYS_WAIT_OK;
    if (timeoutMs == SYS_WAIT_FOREVER) {
        if (const int error = pthread_mutex_lock(&mutex->mutex)) {
            TraceError("SYS_WaitForMutex(): Lock error: %s.\n", error);
            return SYS_WAIT_ERROR;
        }
    } else {
        result = LockUntil(*mutex, timeoutMs);
    }
    SYS_Trace(SYS_TRACE_CALLS, "SYS_WaitForMutex() exit\n");
    return result;
}

int SYS_WaitForMutexForever(SYS_MUTEX_HANDLE mutex)
{
    return SYS_WaitForMutex(mutex, SYS_WAIT_FOREVER);
}

int SYS_ReleaseMutex(SYS_MUTEX_HANDLE mutex)
{
    SYS_Trace(SYS_TRACE_CALLS, "SYS_ReleaseMutex(hMutex = %0*p) entry\n", kHandleWidth, mutex);
    if (!mutex) {
        SYS_Trace(SYS_TRACE_ERRORS, "SYS_ReleaseMutex(): Invalid handle\n");
        return SYS_RELEASE_ERROR;
    }
    if (!SYS_IsEntryInUse(mutexTable, mutex)) {
        SYS_Trace(SYS_TRACE_ERRORS, "SYS_ReleaseMutex(): Not in use\n");
        return SYS_RELEASE_ERROR;
    }
    if (const int error = pthread_mutex_unlock(&mutex->mutex)) {
        TraceError("SYS_ReleaseMutex(): %s\n", error);
        return SYS_RELEASE_ERROR;
    }
    SYS_Trace(SYS_TRACE_CALLS, "SYS_ReleaseMutex() exit\n");
    return SYS_RELEASE_OK;
}

void SYS_CloseMutex(SYS_MUTEX_HANDLE *mutex)
{
    SYS_Trace(SYS_TRACE_CALLS, "SYS_CloseMutex(phMutex = %0*p) entry\n", kHandleWidth, mutex);
    if (!mutex) {
        SYS_Trace(SYS_TRACE_ERRORS, "Could not close mutex (Invalid value).\n");
        return;
    }
    SysMutex *const entry = *mutex;
    SYS_Trace(SYS_TRACE_CALLS, "SYS_CloseMutex(): *phMutex = %0*p\n", kHandleWidth, entry);
    if (!entry) {
        SYS_Trace(SYS_TRACE_ERRORS, "SYS_CloseMutex(): Could not close mutex (Invalid handle).\n");
        return;
    }
    if (!SYS_IsEntryInUse(mutexTable, entry)) {
        SYS_Trace(SYS_TRACE_ERRORS, "SYS_CloseMutex(): Could not close mutex (Not in use).\n");
        return;
    }
    entry->inUse.store(0, std::memory_order_release);
    pthread_mutex_destroy(&entry->mutex);
    pthread_mutexattr_destroy(&entry->attributes);
    *mutex = nullptr;
    SYS_Trace(SYS_TRACE_CALLS, "SYS_CloseMutex() exit\n");
}
