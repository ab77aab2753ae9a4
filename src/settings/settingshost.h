#pragma once

/// What the settings need from the program above them. Null entries do nothing.
struct SettingsHost {
    /// Shows an error to the user; returns without waiting for an answer.
    void (*ShowError)(const char *text);
    /// Restarts the connection with the new settings.
    void (*Reconnect)();
};

/// Set once at start, before the first use of the settings.
void SETTINGS_SetHost(const SettingsHost &host);
[[nodiscard]] const SettingsHost &SETTINGS_Host();
