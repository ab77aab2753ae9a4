#include "workeractions.h"

#include "appstate.h"
#include "connectsequence.h"
#include "probesession.h"
#include "windowreports.h"
#include "workerring.h"

#include "sysheap.h"
#include "syslock.h"

namespace {

struct StaticJobs {
    Job connect;
    Job disconnect;
    Job status;
    Job exit; // static too: the worker may take it long after the closing call has returned
};

StaticJobs g_jobs = {};

/// A worker that is stuck behind a full ring cannot end; the window must not wait for it.
constexpr std::uint32_t kExitPostLimitMs = 10;

/// Publishes nothing: it only says that a check is queued and has not yet looked at the probe.
std::atomic<bool> g_checkQueued = false;

void Disconnect()
{
    if (!PROBE_IsConnected())
        return;
    PROBE_CloseSession();
    APP_SetStatusField("Not connected", kStatusConnection);
    APP_SetStatusField("", kStatusCore);
    APP_SetStatusField("", kStatusSpeed);
}

void CheckConnection(Job *job)
{
    // Cleared before the look: a failure that comes after it asks for a new one.
    g_checkQueued.store(false, std::memory_order_release);
    job->result = static_cast<std::uint8_t>(PROBE_IsConnected());
}

void OnConnectionChecked(Job *job)
{
    AppState &state = APP_State();
    const auto connected = static_cast<std::uint8_t>(job->result);
    bool changed = false;
    bool lostWhileShown = false;
    {
        const SysLock lock(state.stateMutex);
        changed = connected != state.window.connected;
        state.window.connected = connected;
        // Also for a target that was lost before any check had found it connected.
        lostWhileShown = connected == 0 && state.window.memoryWindowWanted != 0;
        if (lostWhileShown)
            state.window.memoryWindowWanted = 0;
    }
    if (changed || lostWhileShown) {
        connected == 0 ? PROBE_MarkTargetLost() : PROBE_MarkTargetReachable();
        WORKER_PostJob(&g_jobs.status); // takes the memory window down, too
    }
    if (lostWhileShown) {
        WORKER_PostJob(&g_jobs.disconnect);
        APP_ShowWarning("Target disconnected.");
    }
    SYS_Free(job);
}

} // namespace

void WORKER_RunAction(Job *job)
{
    switch (job->kind) {
    case JobKind::Connect:
        WORKER_RunConnectSequence();
        break;
    case JobKind::Disconnect:
        Disconnect();
        break;
    case JobKind::ConnectionCheck:
        CheckConnection(job);
        break;
    case JobKind::StatusUpdate:
        WORKER_RunStatusUpdate();
        break;
    case JobKind::Exit: // the ring ends the worker itself
        break;
    }
}

void WORKER_DiscardJob(Job *job)
{
    if (job->kind != JobKind::ConnectionCheck)
        return;
    g_checkQueued.store(false, std::memory_order_release);
    SYS_Free(job);
}

void WORKER_SetUpStaticJobs(void *window)
{
    g_jobs.connect = {JobKind::Connect, 0, nullptr, {}, window};
    g_jobs.disconnect = {JobKind::Disconnect, 0, nullptr, {}, window};
    g_jobs.status = {JobKind::StatusUpdate, 0, nullptr, {}, window};
}

void WORKER_PostConnect()
{
    WORKER_PostJob(&g_jobs.connect);
}

void WORKER_PostDisconnect()
{
    WORKER_PostJob(&g_jobs.disconnect);
}

void WORKER_PostStatusUpdate()
{
    WORKER_PostJob(&g_jobs.status);
}

void WORKER_PostConnectionCheck()
{
    if (g_checkQueued.exchange(true, std::memory_order_acq_rel))
        return;
    auto *const job = static_cast<Job *>(SYS_Alloc(sizeof(Job)));
    if (job == nullptr) {
        g_checkQueued.store(false, std::memory_order_release);
        return;
    }
    *job = {JobKind::ConnectionCheck, 0, OnConnectionChecked, {}, nullptr};
    WORKER_PostJob(job);
}

bool WORKER_PostExit()
{
    g_jobs.exit = {JobKind::Exit, 0,
        [](Job *) { APP_State().workerExited.store(1, std::memory_order_release); }, {}, nullptr};
    return WORKER_PostJobWithin(&g_jobs.exit, kExitPostLimitMs) == SYS_WAIT_OK;
}
