#include "sysevent.h"

#include "sysdeadline.h"
#include "systable.h"
#include "systrace.h"

#include <cerrno>

#include <pthread.h>

struct SysEvent {
    std::atomic<std::uint32_t> inUse; // publishes the initialised fields below
    std::array<char, 32> name;        // kept in the layout, never filled
    std::uint32_t signalled;          // guarded by mutex
    pthread_mutex_t mutex;
    pthread_cond_t condition;
};

namespace {

constinit std::array<SysEvent, SYS_MAX_EVENTS> eventTable{};

void TraceError(const char *format, int error)
{
    SYS_Trace(SYS_TRACE_ERRORS, format, SYS_ErrorText(error));
}

bool InitEntry(SysEvent &entry)
{
    int error = pthread_mutex_init(&entry.mutex, nullptr);
    if (error == 0) {
        error = pthread_cond_init(&entry.condition, nullptr);
        if (error == 0)
            return true;
        pthread_mutex_destroy(&entry.mutex);
    }
    TraceError("Cannot create event (Init error: %s)!\n", error);
    return false;
}

/// Sleeps on the condition once. The caller holds the event's mutex.
int SleepOnce(SysEvent &entry, std::uint32_t timeoutMs)
{
    if (timeoutMs == SYS_WAIT_FOREVER) {
        const int error = pthread_cond_wait(&entry.condition, &entry.mutex);
        if (error != 0)
            TraceError("Cannot wait for event (Wait error: %s)!\n", error);
        return error == 0 ? SYS_WAIT_OK : SYS_WAIT_ERROR;
    }
    std::timespec deadline{};
    if (!SYS_ComputeDeadline(timeoutMs, deadline))
        return SYS_WAIT_ERROR;
    const int error = pthread_cond_timedwait(&entry.condition, &entry.mutex, &deadline);
    if (error == ETIMEDOUT)
        return SYS_WAIT_TIMEOUT;
    if (error != 0)
        TraceError("Cannot wait for event (Wait with timeout error: %s)!\n", error);
    return error == 0 ? SYS_WAIT_OK : SYS_WAIT_ERROR;
}

/// The caller holds the event's mutex.
int WaitForSignal(SysEvent &entry, std::uint32_t timeoutMs)
{
    for (;;) {
        if (entry.signalled != 0) {
            entry.signalled = 0;
            return SYS_WAIT_OK;
        }
        const int result = SleepOnce(entry, timeoutMs);
        if (result != SYS_WAIT_OK)
            return result;
    }
}

} // namespace

SYS_EVENT_HANDLE SYS_CreateEvent(const char * /*name*/, int manualReset, std::uint32_t initialState)
{
    if (manualReset != 0) {
        SYS_Trace(SYS_TRACE_ERRORS, "Cannot create event (Manual reset not supported)!\n");
        return SYS_EVENT_ERROR;
    }
    SysEvent *const entry = SYS_FindFreeEntry(eventTable);
    if (!entry) {
        SYS_Trace(SYS_TRACE_ERRORS, "Cannot create event (No more entries)!\n");
        return SYS_EVENT_ERROR;
    }
    if (!InitEntry(*entry))
        return SYS_EVENT_ERROR;
    entry->signalled = initialState;
    entry->inUse.store(1, std::memory_order_release);
    return entry;
}

int SYS_WaitForEvent(SYS_EVENT_HANDLE event, std::uint32_t timeoutMs)
{
    if (!SYS_IsEntryInUse(eventTable, event))
        return SYS_WAIT_ERROR;
    if (const int error = pthread_mutex_lock(&event->mutex)) {
        TraceError("Cannot wait for event (Lock error: %s)!\n", error);
        return SYS_WAIT_ERROR;
    }
    const int result = WaitForSignal(*event, timeoutMs);
    if (const int error = pthread_mutex_unlock(&event->mutex)) {
        TraceError("Cannot wait for event (Unlock error: %s)!\n", error);
        return SYS_WAIT_ERROR;
    }
    return result;
}

void SYS_SetEvent(SYS_EVENT_HANDLE event)
{
    const bool known = SYS_IsEntryInUse(eventTable, event);
    if (const int error = known ? pthread_mutex_lock(&event->mutex) : EINVAL) {
        TraceError("Cannot set event (Lock error: %s)!\n", error);
        return;
    }
    event->signalled = 1;
    if (const int error = pthread_mutex_unlock(&event->mutex))
        TraceError("Cannot set event (Unlock error: %s)!\n", error);
    if (const int error = pthread_cond_signal(&event->condition))
        TraceError("Cannot set event (Signal error: %s)!\n", error);
}

void SYS_CloseEvent(SYS_EVENT_HANDLE event)
{
    if (!SYS_IsEntryInUse(eventTable, event))
        return;
    pthread_mutex_destroy(&event->mutex);
    pthread_cond_destroy(&event->condition);
    event->signalled = 0;
    event->inUse.store(0, std::memory_order_release);
}
