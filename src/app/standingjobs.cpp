#include "standingjobs.h"

#include <utility>

namespace {

bool IsLook(JobKind kind)
{
    return kind == JobKind::StatusUpdate || kind == JobKind::ConnectionCheck;
}

} // namespace

bool StandingJobs::Claim(JobKind kind, ConnectionGeneration generation)
{
    const std::lock_guard lock(m_mutex);
    Entry &entry = At(kind);
    if (entry.queued)
        return false;
    if (entry.running && IsLook(kind)) {
        entry.askedAgain = true;
        return false;
    }
    if (entry.running && entry.runningFor == generation)
        return false;
    entry.queued = true;
    return true;
}

void StandingJobs::Withdraw(JobKind kind)
{
    const std::lock_guard lock(m_mutex);
    At(kind).queued = false;
}

void StandingJobs::Begin(JobKind kind, ConnectionGeneration generation)
{
    const std::lock_guard lock(m_mutex);
    Entry &entry = At(kind);
    entry.queued = false;
    entry.running = true;
    entry.runningFor = generation;
}

bool StandingJobs::End(JobKind kind)
{
    const std::lock_guard lock(m_mutex);
    Entry &entry = At(kind);
    entry.running = false;
    return std::exchange(entry.askedAgain, false);
}
