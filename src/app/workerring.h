#pragma once

#include "workerjob.h"

/// Jobs that can wait for the worker; the one that is running keeps its slot until it is done.
inline constexpr unsigned kRingSlots = 32;

/// Appends a job to the worker's ring and wakes the worker, which the first post starts.
///
/// Callable from any thread. When the ring is full, other threads wait until the worker frees the
/// oldest slot; do not hold a lock that a job's action or completion handler takes. The worker's
/// own posts never wait: what finds no slot runs right after the job that posted it.
/// @return SYS_WAIT_OK, or SYS_WAIT_ERROR when the system grants no mutex, event or thread: the job
///         is discarded and the user told, once until it works again
int WORKER_PostJob(Job *job);

/// The same, but gives up after timeoutMs (SYS_WAIT_FOREVER: never) when the ring stays full.
/// @return as above, or SYS_WAIT_TIMEOUT when the job was not posted but discarded
int WORKER_PostJobWithin(Job *job, std::uint32_t timeoutMs);
