#pragma once

/// The connect job: selects and opens the probe, configures it, connects to the target and asks
/// for the memory window. Worker only. Failures are reported as error texts.
void WORKER_RunConnectSequence();

/// The status job: core id and interface speed into the status bar. Worker only.
void WORKER_RunStatusUpdate();
