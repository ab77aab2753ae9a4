// How long the probe library takes to read a running target, and what ten refreshes a second cost
// the target. Needs a target that runs:
//
//   bench_probe SELECTOR ADDRESS [COUNTER]
//
// ADDRESS: 64 KiB of readable memory. COUNTER: a word that the target counts up at a steady rate;
// with it the target's progress under ten refreshes a second is compared with its progress while it
// is left alone. Frozen in between (kill -STOP), the last line tells how long a read and what a
// window makes of a failed page stood still.

#include "ranvoapi.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double MicrosecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

void BenchReads(std::uint32_t address, std::uint32_t count, int rounds)
{
    std::vector<char> data(count);
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        const auto start = Clock::now();
        if (RANVOARM_ReadMemEx(address, count, data.data(), 0) != static_cast<int>(count)) {
            std::printf("%6u bytes: not readable\n", count);
            return;
        }
        times.push_back(MicrosecondsSince(start));
    }
    std::sort(times.begin(), times.end());
    std::printf("%6u bytes: median %9.1f us, 95 %% below %9.1f us, worst %9.1f us\n", count,
        times[times.size() / 2], times[times.size() * 95 / 100], times.back());
}

std::uint32_t Counter(std::uint32_t address)
{
    std::uint32_t value = 0;
    RANVOARM_ReadMemEx(address, sizeof value, &value, 4);
    return value;
}

// Counts per second of wall time, with so many reads of a page in each.
double Progress(std::uint32_t page, std::uint32_t counter, std::uint32_t count, int readsPerSecond)
{
    constexpr int kSeconds = 5;
    std::vector<char> data(count);
    const auto start = Clock::now();
    const std::uint32_t first = Counter(counter);
    for (int i = 0; i < kSeconds * std::max(readsPerSecond, 1); ++i) {
        if (readsPerSecond > 0)
            (void)RANVOARM_ReadMemEx(page, count, data.data(), 0);
        std::this_thread::sleep_until(
            start + (i + 1) * std::chrono::seconds(1) / std::max(readsPerSecond, 1));
    }
    const std::uint32_t last = Counter(counter);
    return (last - first) / (MicrosecondsSince(start) / 1e6);
}

std::uint32_t Number(const char *text)
{
    return static_cast<std::uint32_t>(std::strtoul(text, nullptr, 16));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: bench_probe SELECTOR ADDRESS [COUNTER]\n");
        return EXIT_FAILURE;
    }
    const std::uint32_t address = Number(argv[2]);
    RANVOARM_SelectIP(argv[1], 0);
    const auto start = Clock::now();
    const char *error = RANVOARM_Open();
    if (error != nullptr || RANVOARM_Connect() != 0) {
        std::fprintf(stderr, "%s\n", error != nullptr ? error : "not connected");
        return EXIT_FAILURE;
    }
    std::printf("opened in %.1f us\n", MicrosecondsSince(start));
    for (const auto &[count, rounds] :
        {std::pair{4U, 1000}, {640U, 1000}, {4096U, 300}, {65536U, 50}})
        BenchReads(address, count, rounds);
    if (argc > 3) {
        const std::uint32_t counter = Number(argv[3]);
        const double alone = Progress(address, counter, 640, 0);
        for (const auto &[count, rate] : {std::pair{640U, 10}, {65536U, 10}, {640U, 100}})
            std::printf("%6u bytes %3d times a second: the target counts at x%.4f\n", count, rate,
                Progress(address, counter, count, rate) / alone);
    }
    if (std::getenv("FREEZE") != nullptr && std::system(std::getenv("FREEZE")) == 0) {
        std::vector<char> page(640);
        auto from = Clock::now();
        const int first = RANVOARM_ReadMemEx(address, 640, page.data(), 0);
        const double stood = MicrosecondsSince(from);
        from = Clock::now();
        for (std::uint32_t i = 0; i < 1161; ++i)
            (void)RANVOARM_ReadMemEx(address + i % 640, 1, page.data(), 0);
        std::printf("frozen: the read gave %d after %.0f us, 1161 more took %.0f us\n", first,
            stood, MicrosecondsSince(from));
        from = Clock::now();
        RANVOARM_SelectIP(argv[1], 0);
        error = RANVOARM_Open();
        std::printf("frozen: opening took %.0f us: %s\n", MicrosecondsSince(from),
            error != nullptr ? error : "it opened");
    }
    RANVOARM_Close();
    return EXIT_SUCCESS;
}
