#pragma once

#include <cstdint>

/// Writes the text to standard output, framed by two lines with the title.
void SYS_ShowErrorMessage(const char *text, const char *title);

/// A block of at least `size` bytes from the C heap, or null after telling the user; the caller
/// must handle null. Released with SYS_Free.
[[nodiscard]] void *SYS_Alloc(std::uint32_t size);
/// The same under its second name.
[[nodiscard]] void *SYS_AllocBlock(std::uint32_t size);

/// Releases a block; null is fine.
void SYS_Free(void *block);

/// Releases the block that the caller's pointer holds and sets that pointer to null.
template <typename T> void SYS_FreeAndClear(T **block)
{
    if (!block)
        return;
    SYS_Free(*block);
    *block = nullptr;
}
