#include "sysheap.h"

#include "utilformat.h"

#include <array>
#include <cstdio>
#include <cstdlib>

void SYS_ShowErrorMessage(const char *text, const char *title)
{
    std::printf("\n\n*** %s ***\n%s\n*** %s ***\n\n", title, text, title);
}

void *SYS_Alloc(std::uint32_t size)
{
    void *const block = std::malloc(size);
    if (!block) {
        std::array<char, 64> text;
        UTIL_Format(text, "Failed to allocate 0x%.8X bytes of memory!", size);
        SYS_ShowErrorMessage(text.data(), "Error");
    }
    return block;
}

void *SYS_AllocBlock(std::uint32_t size)
{
    return SYS_Alloc(size);
}

void SYS_Free(void *block)
{
    std::free(block);
}
