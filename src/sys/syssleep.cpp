#include "syssleep.h"

#include <algorithm>

#include <unistd.h>

void SYS_Sleep(std::uint32_t milliseconds)
{
    // usleep takes 32 bits: what is longer than an hour goes in pieces.
    constexpr std::uint64_t kPieceUs = 3'600'000'000;
    std::uint64_t rest = std::uint64_t{milliseconds} * 1000;
    while (rest > 0) {
        const std::uint64_t piece = std::min(rest, kPieceUs);
        usleep(static_cast<useconds_t>(piece));
        rest -= piece;
    }
}
