#pragma once

#include <cstdint>

/// What the worker does for a job. Any other kind runs its completion handler only.
enum class JobKind : std::uint32_t {
    Connect = 0,
    Disconnect = 1,
    ConnectionCheck = 2,
    StatusUpdate = 3,
    Exit = 4,
};

/// One request to the worker, posted by pointer: it must stay alive until it has completed.
///
/// Connect, Disconnect, StatusUpdate and Exit are static and posted again and again;
/// ConnectionCheck jobs are allocated by the poster and freed by their completion handler, or by
/// the worker when it ends with such a job still queued.
struct Job {
    JobKind kind;
    std::int32_t result;           ///< ConnectionCheck: what the probe said
    void (*onCompleted)(Job *job); ///< runs on the worker after the kind's action; may be null
    std::uint64_t reserved[2];     ///< always zero
    void *context; ///< the main window; never dereferenced on the worker, which may outlive it
};
