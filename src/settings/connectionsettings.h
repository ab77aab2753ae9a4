#pragma once

#include "connectionrecord.h"
#include "settingshost.h"

// The connection record: its keys in the settings file, its defaults and rules, and the global copy
// that the connect sequence works with. All but SETTINGS_Snapshot belong to the GUI thread.

/// Fills the record from the settings file, defaults for what is missing or damaged, and makes it
/// the global record. Asks the probe library for its first device when no device is stored.
void SETTINGS_Load(ConnectionRecord *record);

/// Does nothing when the record equals the global one. Else saves it, makes it the global record
/// and has the connection restarted.
/// @return whether it differed
bool SETTINGS_Apply(const ConnectionRecord *record);

/// A copy of the global record. Any thread, also after SETTINGS_Release.
[[nodiscard]] ConnectionRecord SETTINGS_Snapshot();

/// Releases the settings file, at shutdown.
void SETTINGS_Release();
