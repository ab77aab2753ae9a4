#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace OpenProbe {

/// A stub's description of its target's core.
struct TargetDescription {
    /// Whether it is a Cortex-M core. False also when the stub does not say.
    bool isArmM = false;
};

/// Documents longer than that are cut off, which leaves nothing known.
inline constexpr std::size_t kMaxDescriptionBytes = 0x10000;

/// Fetches one document of a description by its name. Empty: there is none.
using DocumentReader = std::function<std::string(const std::string &name)>;

/// Reads the description that begins with "target.xml", and what it includes, up to a fixed number
/// of documents. Nothing is assumed beyond what they say.
[[nodiscard]] TargetDescription ReadTargetDescription(const DocumentReader &reader);

} // namespace OpenProbe
