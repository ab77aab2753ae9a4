#pragma once

#include <array>

struct ConfigState;

/// The command-line options that express a connection. Shown to the user only, to be copied into
/// another tool; the program never reads it. A longer text is cut.
///
/// Deliberate: the scan chain has no option.
[[nodiscard]] std::array<char, 1024> MakeOptionString(const ConfigState &state);
