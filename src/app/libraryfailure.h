#pragma once

#include "probeloader.h"

/// Tells the user that there is no probe library, before the process ends: each file that was
/// tried, with its reason, on standard error, and a box where there is a display. Any thread; the
/// box runs on the GUI thread, and the caller waits until it is closed.
void APP_TellLibraryFailure(const ProbeAttempts &attempts);
