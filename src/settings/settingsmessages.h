#pragma once

#include "settingsfile.h"

#include <array>

using SettingsMessage = std::array<char, 1024>;

/// The user's text for a failed load or save. Empty for Ok.
SettingsMessage SETTINGS_LoadMessage(SettingsFileResult result, const char *path);
SettingsMessage SETTINGS_SaveMessage(SettingsFileResult result, const char *path);
