#pragma once

#include "memcallbacks.h"

/// The open probe as the worker and the memory window see it.

/// Opens the probe. @return null, or the library's error text
const char *PROBE_OpenSession();
/// Closes the probe, whether or not the last open succeeded. Nothing when no library is loaded.
void PROBE_CloseSession();
/// 0 when the probe is not open, else what the library says of the target. Never waits.
signed char PROBE_IsConnected();

/// Closes the probe at the end of the process, on a thread of its own and for two seconds at most:
/// a library call that never returns must not keep the process alive. GUI thread.
void PROBE_CloseAtEnd();
/// Whether such a thread is still inside the library. Wait for it before opening the probe again in
/// the same process: otherwise it closes the new connection.
[[nodiscard]] bool PROBE_IsClosingAtEnd();

/// The two memory-access callbacks for the memory window: read and write, no zones, no messages.
MemoryCallbacks PROBE_MemoryCallbacks();

/// The probe's hardware version, -1 when the probe cannot be opened. Asked once, then remembered.
/// Opens and closes the probe: only for a time when nothing is connected.
int PROBE_HardwareVersion();
