#pragma once

#include <array>
#include <cstddef>
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

/// In front of the user data of a guarded debug block; behind the data stands one guard byte.
struct SysGuardHeader {
    std::uint32_t userBytes;
    std::uint32_t signature; // kSysGuardSignature while the block is sound
    std::array<std::uint8_t, 12> reserved;
};
static_assert(sizeof(SysGuardHeader) == 20 && offsetof(SysGuardHeader, signature) == 4);

inline constexpr std::uint32_t kSysGuardSignature = 0xDEADBEEF;
inline constexpr std::uint8_t kSysGuardByte = 0xCE;

inline constexpr int SYS_VERIFY_OK = 0;
inline constexpr int SYS_VERIFY_ERROR = -1;

/// Checks a guarded debug block, given by its header's address, and reports damage to the user.
/// For debug builds. Null is sound.
/// @return SYS_VERIFY_OK or SYS_VERIFY_ERROR
int SYS_VerifyBlock(const void *block);
