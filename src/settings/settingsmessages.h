#pragma once

#include "sysfile.h"

#include <array>

using SettingsMessage = std::array<char, 1024>;

/// The user's text for a failed load or save. Empty for Ok.
SettingsMessage SETTINGS_LoadMessage(SysFileResult result, const char *path);
SettingsMessage SETTINGS_SaveMessage(SysFileResult result, const char *path);
