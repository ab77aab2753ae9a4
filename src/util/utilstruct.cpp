#include "utilstruct.h"

#include "utilformat.h"

#include <algorithm>
#include <cstring>

int UTIL_CopyAPIStruct(
    void *destination, const void *source, std::uint32_t size, const char *name, UtilReport report)
{
    std::uint32_t sourceSize = 0;
    std::memcpy(&sourceSize, source, sizeof sourceSize);
    if (sourceSize < sizeof sourceSize || size < sizeof size) {
        std::array<char, 256> text;
        UTIL_Format(
            text, "UTIL_CopyAPIStruct(): Illegal size of struct %s: %d bytes.", name, sourceSize);
        if (report)
            report(text.data());
        return UTIL_COPY_ERROR;
    }
    const std::uint32_t common = std::min(sourceSize, size);
    std::memcpy(destination, source, common);
    std::memset(static_cast<char *>(destination) + common, 0, size - common);
    std::memcpy(destination, &size, sizeof size);
    return UTIL_COPY_OK;
}
