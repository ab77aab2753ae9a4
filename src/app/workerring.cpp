#include "workerring.h"

#include "postgate.h"
#include "windowreports.h"
#include "workeractions.h"

#include "sysevent.h"
#include "sysmutex.h"
#include "syssleep.h"
#include "systhread.h"

#include <array>
#include <atomic>
#include <mutex>
#include <vector>

#include <pthread.h>

namespace {

struct RingSlot {
    /// Publishes the job pointer: release when the poster sets it, acquire when the worker looks.
    std::atomic<std::uint32_t> busy;
    Job *job;
};

/// Lives for the whole process: a worker that wakes up late must find it.
struct RingState {
    std::array<RingSlot, kRingSlots> slots;
    unsigned writeIndex;   ///< guarded by ringMutex
    std::mutex startMutex; ///< guards the lazy creation of the three handles
    SYS_MUTEX_HANDLE ringMutex;
    SYS_EVENT_HANDLE wakeEvent;
    bool workerExists;
    /// Publishes nothing but itself: the user has been told that there is no worker.
    std::atomic<bool> refusalReported;
    /// Set while a poster holds ringMutex because the ring is full: the worker must not wait for
    /// that mutex.
    std::atomic<bool> posterWaiting;
    PostGate gate;
};

RingState &Ring()
{
    static auto *const ring = new RingState{};
    return *ring;
}

/// Jobs that the worker posted while the ring could not take them. Non-null on the worker only.
thread_local std::vector<Job *> *t_ownPosts = nullptr;

void PutIntoSlot(RingState &ring, Job *job)
{
    RingSlot &slot = ring.slots[ring.writeIndex];
    slot.job = job;
    slot.busy.store(1, std::memory_order_release);
    ring.writeIndex = (ring.writeIndex + 1) % kRingSlots;
}

bool WriteSlotIsBusy(const RingState &ring)
{
    return ring.slots[ring.writeIndex].busy.load(std::memory_order_acquire) != 0;
}

/// True when the ring mutex is held by the caller afterwards; false when its owner waits for us.
bool LockUnlessPosterWaits(RingState &ring)
{
    while (!ring.posterWaiting.load(std::memory_order_acquire)) {
        const int waited = SYS_WaitForMutex(ring.ringMutex, 1);
        if (waited != SYS_WAIT_TIMEOUT)
            return waited == SYS_WAIT_OK;
    }
    return false;
}

void PostFromWorker(RingState &ring, Job *job)
{
    if (!LockUnlessPosterWaits(ring)) {
        t_ownPosts->push_back(job);
        return;
    }
    if (WriteSlotIsBusy(ring))
        t_ownPosts->push_back(job);
    else
        PutIntoSlot(ring, job);
    SYS_ReleaseMutex(ring.ringMutex);
}

void RunJob(Job *job)
{
    WORKER_RunAction(job);
    if (job->onCompleted != nullptr)
        job->onCompleted(job); // may free the job
}

void RunOwnPosts()
{
    std::vector<Job *> &posts = *t_ownPosts;
    std::size_t next = 0;
    while (next < posts.size()) // a job may append further ones
        RunJob(posts[next++]);
    posts.clear();
}

/// Drops the queued jobs. Leaves free slots alone: a poster may be filling one at this moment.
void EmptySlots(RingState &ring)
{
    for (RingSlot &slot : ring.slots) {
        if (slot.busy.load(std::memory_order_acquire) == 0)
            continue;
        WORKER_DiscardJob(slot.job);
        slot.job = nullptr;
        slot.busy.store(0, std::memory_order_release);
    }
}

/// Takes everything down so that a later post starts anew, then reports the exit job as done.
void EndWorker(RingState &ring, Job *exitJob)
{
    const auto reportDone = exitJob->onCompleted;
    ring.gate.Close([&ring] { EmptySlots(ring); }); // posters that wait get a slot and leave
    EmptySlots(ring);
    SYS_CloseEvent(ring.wakeEvent);
    ring.wakeEvent = SYS_EVENT_ERROR;
    SYS_CloseMutex(&ring.ringMutex);
    ring.writeIndex = 0;
    ring.workerExists = false;
    ring.gate.Open();
    t_ownPosts = nullptr; // from here on this thread posts like any other
    if (reportDone != nullptr)
        reportDone(exitJob);
}

void *WorkerLoop(void *)
{
    pthread_setname_np(pthread_self(), "WorkerThread");
    RingState &ring = Ring();
    std::vector<Job *> ownPosts;
    t_ownPosts = &ownPosts;
    const SYS_EVENT_HANDLE wakeEvent = ring.wakeEvent;
    for (unsigned readIndex = 0;;) {
        RingSlot &slot = ring.slots[readIndex];
        if (slot.busy.load(std::memory_order_acquire) == 0) {
            SYS_WaitForEvent(wakeEvent, SYS_WAIT_FOREVER);
            continue;
        }
        if (slot.job->kind == JobKind::Exit) {
            EndWorker(ring, slot.job);
            return nullptr;
        }
        RunJob(slot.job);
        slot.busy.store(0, std::memory_order_release);
        readIndex = (readIndex + 1) % kRingSlots;
        RunOwnPosts();
    }
}

/// Reports once in a series of failures that there is no worker, not at every post.
void ReportRefusal(RingState &ring)
{
    if (!ring.refusalReported.exchange(true, std::memory_order_relaxed))
        APP_ShowError("Could not start the worker thread.\n"
                      "The system grants no further mutex, event or thread.");
}

/// @return whether there is a worker. After a failure the next post tries again.
bool EnsureWorker(RingState &ring)
{
    const std::lock_guard lock(ring.startMutex);
    if (ring.workerExists)
        return true;
    ring.ringMutex = SYS_CreateMutex(nullptr);
    // The event stands before the thread: the worker reads its handle once, at its start.
    ring.wakeEvent = SYS_CreateEvent("WorkerWakeup", 0, 0);
    ring.workerExists = ring.ringMutex != nullptr && ring.wakeEvent != SYS_EVENT_ERROR
        && SYS_CreateThread(WorkerLoop, nullptr, nullptr) != 0;
    if (ring.workerExists) {
        ring.refusalReported.store(false, std::memory_order_relaxed);
        return true;
    }
    SYS_CloseEvent(ring.wakeEvent);
    if (ring.ringMutex != nullptr)
        SYS_CloseMutex(&ring.ringMutex);
    return false;
}

/// Waits for the write slot while ringMutex is held. @return whether it is free
bool WaitForWriteSlot(RingState &ring, std::uint32_t timeoutMs)
{
    if (!WriteSlotIsBusy(ring))
        return true;
    ring.posterWaiting.store(true, std::memory_order_release);
    std::uint32_t waitedMs = 0;
    while (WriteSlotIsBusy(ring) && (timeoutMs == SYS_WAIT_FOREVER || waitedMs++ < timeoutMs))
        SYS_Sleep(1);
    ring.posterWaiting.store(false, std::memory_order_release);
    return !WriteSlotIsBusy(ring);
}

int PostFromOutside(RingState &ring, Job *job, std::uint32_t timeoutMs)
{
    if (!EnsureWorker(ring)) {
        ReportRefusal(ring);
        WORKER_DiscardJob(job); // without a worker the ring would fill, and post 33 would hang
        return SYS_WAIT_ERROR;
    }
    const int waited = SYS_WaitForMutex(ring.ringMutex, timeoutMs);
    if (waited != SYS_WAIT_OK) {
        WORKER_DiscardJob(job);
        return waited;
    }
    const bool free = WaitForWriteSlot(ring, timeoutMs);
    if (free)
        PutIntoSlot(ring, job);
    SYS_ReleaseMutex(ring.ringMutex);
    if (!free) {
        WORKER_DiscardJob(job);
        return SYS_WAIT_TIMEOUT;
    }
    SYS_SetEvent(ring.wakeEvent);
    return SYS_WAIT_OK;
}

} // namespace

int WORKER_PostJob(Job *job)
{
    return WORKER_PostJobWithin(job, SYS_WAIT_FOREVER);
}

int WORKER_PostJobWithin(Job *job, std::uint32_t timeoutMs)
{
    RingState &ring = Ring();
    if (t_ownPosts != nullptr) {
        PostFromWorker(ring, job);
        return SYS_WAIT_OK;
    }
    ring.gate.Enter();
    const int result = PostFromOutside(ring, job, timeoutMs);
    ring.gate.Leave();
    return result;
}
