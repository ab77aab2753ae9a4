#pragma once

struct MemoryCallbacks;

/// The memory of the little host: 64 KiB at 0x20000000 with a hole of 16 bytes at 0x20000100, and
/// a second memory for the zone "Data". Everything the window asks for is printed, one line each.
[[nodiscard]] MemoryCallbacks HostCallbacks();
