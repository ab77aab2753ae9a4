#include "sysguard.h"

#include "sysheap.h"
#include "utilformat.h"

#include <cstring>

namespace {

constexpr char kVerifyTitle[] = " Debug Error"; // deliberate: with the leading blank

} // namespace

int SYS_VerifyBlock(const void *block)
{
    if (!block)
        return SYS_VERIFY_OK;
    SysGuardHeader header;
    std::memcpy(&header, block, sizeof header);
    if (header.signature != kSysGuardSignature) {
        SYS_ShowErrorMessage("Wrong alloc signature in memory block !", kVerifyTitle);
        return SYS_VERIFY_ERROR;
    }
    const auto *const userData = static_cast<const std::uint8_t *>(block) + sizeof header;
    if (userData[header.userBytes] != kSysGuardByte) {
        std::array<char, 64> text;
        // Deliberate: only the first byte behind the data is examined, so it is always one.
        UTIL_Format(text, "Buffer overflow in memory block. %d bytes overflowed.", 1);
        SYS_ShowErrorMessage(text.data(), kVerifyTitle);
        return SYS_VERIFY_ERROR;
    }
    return SYS_VERIFY_OK;
}
