#pragma once

#include "memcallbacks.h"

/// The open probe as the worker and the memory window see it.

/// Opens the probe. @return null, or the library's error text
const char *PROBE_OpenSession();
/// Closes the probe, whether or not the last open succeeded.
void PROBE_CloseSession();
/// 0 when the probe is not open, else what the library says of the target. Never waits.
signed char PROBE_IsConnected();

/// Remembers that the target was found lost: memory accesses fail at once, without the library,
/// so that a dying probe cannot hold the window through the hundreds of small reads of a page.
void PROBE_MarkTargetLost();
/// Lets memory accesses through again; called once a connect has succeeded.
void PROBE_MarkTargetReachable();

/// The two memory-access callbacks for the memory window: read and write, no zones, no messages.
MemoryCallbacks PROBE_MemoryCallbacks();

/// The probe's hardware version, -1 when the probe cannot be opened. Asked once, then remembered.
/// Opens and closes the probe: only for a time when nothing is connected.
int PROBE_HardwareVersion();
