#pragma once

#include <cstdint>

/// Any thread.
void SYS_Sleep(std::uint32_t milliseconds);
