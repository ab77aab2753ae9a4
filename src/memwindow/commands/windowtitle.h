#pragma once

#include <QString>

#include <cstdint>

/// The title of a memory window: "Memory @ 20000000, 500 ms refresh, Zone: Data".
/// @param address   of the top row; its low 32 bits are shown
/// @param rateText  the refresh rate, empty while there is no periodic refresh
/// @param zone      the zone's name, or empty
QString WindowTitle(std::uint64_t address, const QString &rateText, const QString &zone);
