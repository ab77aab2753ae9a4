#pragma once

#include "connectionstate.h"
#include "workerjob.h"

#include <array>
#include <mutex>

/// Which of the jobs that are posted again and again are queued or running: connect, disconnect,
/// status update and connection check.
///
/// Each of them does whatever is needed at the time it runs, so a second one behind it would do
/// nothing new: each is queued at most once. A connect or disconnect requested while one of the
/// same generation runs is not queued at all. A status update or a check requested meanwhile is
/// queued after the running one, which may have read the old state. Any thread.
class StandingJobs {
public:
    /// Asks for a job. @return whether the caller has to post it
    [[nodiscard]] bool Claim(JobKind kind, ConnectionGeneration generation);
    /// The job could not be posted, or was taken back.
    void Withdraw(JobKind kind);
    /// The worker begins the job.
    void Begin(JobKind kind, ConnectionGeneration generation);
    /// The worker has ended it. @return whether it was asked for meanwhile: the caller claims and
    ///                                 posts it again
    [[nodiscard]] bool End(JobKind kind);

private:
    struct Entry {
        bool queued;
        bool running;
        bool askedAgain;
        ConnectionGeneration runningFor;
    };
    [[nodiscard]] Entry &At(JobKind kind) { return m_entries[static_cast<std::size_t>(kind)]; }

    std::mutex m_mutex; // guards the entries
    std::array<Entry, 4> m_entries{};
};
