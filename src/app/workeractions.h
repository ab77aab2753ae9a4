#pragma once

struct Job;

/// Runs the built-in action of a job's kind on the worker; other kinds do nothing.
void WORKER_RunAction(Job *job);

/// Takes back a queued job that will not run any more.
void WORKER_DiscardJob(Job *job);

/// Sets the three standing jobs up: connect, disconnect, status update.
/// @param window  the main window, kept as the jobs' context
void WORKER_SetUpStaticJobs(void *window);

/// Posts of the standing jobs; any thread, see WORKER_PostJob() for waiting.
void WORKER_PostConnect();
void WORKER_PostDisconnect();
void WORKER_PostStatusUpdate();
/// Asks whether the connection still stands. At most one check that has not started is queued:
/// a failing page read asks once per failing access, and every answer would be the same.
void WORKER_PostConnectionCheck();
/// Posts the exit job, unless the ring stays full. APP_State().workerExited tells when it is done.
/// @return whether it was posted; not again before it is done
bool WORKER_PostExit();
