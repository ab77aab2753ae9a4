#pragma once

struct Job;

/// Runs the built-in action of a job's kind on the worker; other kinds do nothing.
void WORKER_RunAction(Job *job);

/// Takes back a job that could not be queued, or will not run any more.
void WORKER_DiscardJob(Job *job);

/// Sets the three standing jobs up: connect, disconnect, status update.
/// @param window  the main window, kept as the jobs' context
void WORKER_SetUpStaticJobs(void *window);

/// Posts of the standing jobs; any thread, see WORKER_PostJob() for waiting. StandingJobs says when
/// a post adds nothing.

/// The user wants to be connected.
void WORKER_PostConnect();
/// Whatever is open or being opened is out of date from now on; what is connected gets closed.
void WORKER_PostDisconnect();
void WORKER_PostStatusUpdate();
/// Asks whether the connection still stands.
void WORKER_PostConnectionCheck();
/// Posts the exit job, unless the ring stays full. APP_State().workerExited tells when it is done.
/// @return whether it was posted; not again before it is done
bool WORKER_PostExit();
