#pragma once

#include "connectionrecord.h"

#include <string_view>

// A target named for one run alone, from outside the settings file. GUI thread.

/// Environment variable with what the dialog's TCP/IP field is to hold for this run.
inline constexpr const char *kPresetHostVariable = "PELIMO_HOST";

/// Whether a text can stand in that variable; any other is ignored. It must be as it comes back out
/// of the field: not empty, at most 63 characters, no blank at either end, no control characters.
[[nodiscard]] bool PRESET_IsUsable(std::string_view host);

/// Puts the preset target, if there is one, into a record that was read from the settings file.
void PRESET_Take(ConnectionRecord &record);

/// Tells a record that is about to be saved. The first one that asks for another target ends the
/// preset: from then on the user's own choice counts, whatever it is.
/// @return whether the record asks for the preset target, so that what is stored of the target
/// stays
[[nodiscard]] bool PRESET_Holds(const ConnectionRecord &record);
