#include "workeractions.h"

#include "appstate.h"
#include "connectsequence.h"
#include "probesession.h"
#include "standingjobs.h"
#include "windowreports.h"
#include "workerring.h"

#include "sysheap.h"

namespace {

struct StaticJobs {
    Job connect;
    Job disconnect;
    Job status;
    Job exit; // static too: the worker may take it long after the closing call has returned
};

StaticJobs g_jobs = {};

/// A worker with a full ring may be stuck; the closing window waits no longer than this to post.
constexpr std::uint32_t kExitPostLimitMs = 10;

/// Never destroyed: a worker may come back while the process ends.
StandingJobs &TheStandingJobs()
{
    static auto *const jobs = new StandingJobs;
    return *jobs;
}

ConnectionState &Connection()
{
    return APP_State().connection;
}

void Post(Job &job)
{
    if (TheStandingJobs().Claim(job.kind, Connection().Generation()))
        WORKER_PostJob(&job);
}

/// Ends a job on the worker, and posts it again if that was requested meanwhile.
void EndJob(JobKind kind)
{
    if (!TheStandingJobs().End(kind))
        return;
    if (kind == JobKind::StatusUpdate)
        WORKER_PostStatusUpdate();
    else
        WORKER_PostConnectionCheck();
}

void Disconnect()
{
    // A connect that has run already with the present settings leaves nothing to disconnect.
    if (Connection().IsUpToDate() || !PROBE_IsConnected())
        return;
    PROBE_CloseSession();
    APP_SetStatusField("Not connected", kStatusConnection);
    APP_SetStatusField("", kStatusCore);
    APP_SetStatusField("", kStatusSpeed);
}

void OnConnectionChecked(Job *job)
{
    const CheckOutcome outcome
        = Connection().NoteCheck(static_cast<std::uint8_t>(job->result) != 0);
    if (outcome.changed || outcome.lostWhileShown)
        Post(g_jobs.status); // takes the memory window down, too
    if (outcome.lostWhileShown) {
        Post(g_jobs.disconnect);
        APP_ShowWarning("Target disconnected.");
    }
    SYS_Free(job);
    EndJob(JobKind::ConnectionCheck);
}

} // namespace

void WORKER_RunAction(Job *job)
{
    if (job->kind < JobKind::Exit)
        TheStandingJobs().Begin(job->kind, Connection().Generation());
    switch (job->kind) {
    case JobKind::Connect:
        WORKER_RunConnectSequence();
        EndJob(job->kind);
        break;
    case JobKind::Disconnect:
        Disconnect();
        EndJob(job->kind);
        break;
    case JobKind::ConnectionCheck: // ends with its completion handler
        job->result = static_cast<std::uint8_t>(PROBE_IsConnected());
        break;
    case JobKind::StatusUpdate:
        WORKER_RunStatusUpdate();
        EndJob(job->kind);
        break;
    case JobKind::Exit: // the ring ends the worker itself
        break;
    }
}

void WORKER_DiscardJob(Job *job)
{
    if (job->kind >= JobKind::Exit)
        return;
    const JobKind kind = job->kind;
    if (kind == JobKind::ConnectionCheck)
        SYS_Free(job);
    TheStandingJobs().Withdraw(kind);
}

void WORKER_SetUpStaticJobs(void *window)
{
    g_jobs.connect = {JobKind::Connect, 0, nullptr, {}, window};
    g_jobs.disconnect = {JobKind::Disconnect, 0, nullptr, {}, window};
    g_jobs.status = {JobKind::StatusUpdate, 0, nullptr, {}, window};
}

void WORKER_PostConnect()
{
    Connection().Want();
    Post(g_jobs.connect);
}

void WORKER_PostDisconnect()
{
    Connection().Supersede();
    Post(g_jobs.disconnect);
}

void WORKER_PostStatusUpdate()
{
    Post(g_jobs.status);
}

void WORKER_PostConnectionCheck()
{
    if (!TheStandingJobs().Claim(JobKind::ConnectionCheck, Connection().Generation()))
        return;
    auto *const job = static_cast<Job *>(SYS_Alloc(sizeof(Job)));
    if (job == nullptr) {
        TheStandingJobs().Withdraw(JobKind::ConnectionCheck);
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
