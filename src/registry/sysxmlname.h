#pragma once

#include <string_view>

/// Whether a UTF-8 text may be the name of an XML element.
[[nodiscard]] bool SYS_IsXmlName(std::string_view name);
