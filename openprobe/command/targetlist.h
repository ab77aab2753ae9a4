#pragma once

#include <string>

namespace OpenProbe {

/// The forms of a selector, one a line, each with an example and what the example reaches. Ends
/// with a line end.
[[nodiscard]] std::string TargetList();

} // namespace OpenProbe
