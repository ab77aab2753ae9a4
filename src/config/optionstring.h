#pragma once

#include <array>

struct ConfigState;

/// The command-line options that express a connection, for other tools of the probe's family.
/// Shown to the user only; the program never reads it. A longer text is cut.
///
/// The scan chain has no option of its own, on purpose: those tools know none.
[[nodiscard]] std::array<char, 1024> MakeOptionString(const ConfigState &state);
