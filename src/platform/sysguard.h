#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

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
