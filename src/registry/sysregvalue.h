#pragma once

#include <pugixml.hpp>

#include <cstdint>
#include <span>

// Values of one key's element: the element of the value's name, the element of its type, and for a
// list of texts one element for each text behind the first.

/// Whether a value may have this name: a legal element name that cannot be mistaken for a type or
/// for a further text of another value.
[[nodiscard]] bool SYS_IsRegValueName(const char *name);

/// @return the type code, or 0 when there is no such value or its type is unknown
[[nodiscard]] std::uint32_t SYS_ReadRegType(pugi::xml_node key, const char *name);

/// @param size  receives the value's size
/// @return SYS_REG_OK, SYS_REG_MORE_DATA with nothing copied, or SYS_REG_ERROR for a damaged value
[[nodiscard]] int SYS_ReadRegValue(pugi::xml_node key, const char *name, std::uint32_t type,
    std::span<std::uint8_t> data, std::uint32_t &size);

/// @return SYS_REG_OK, or SYS_REG_ERROR with nothing changed when the data do not fit the type
[[nodiscard]] int SYS_WriteRegValue(
    pugi::xml_node key, const char *name, std::uint32_t type, std::span<const std::uint8_t> data);
