// How long the probe library takes to read a running target, and what ten refreshes a second cost
// the target. Needs a target that runs:
//
//   bench_probe SELECTOR ADDRESS [COUNTER]
//
// ADDRESS: 64 KiB of readable memory. COUNTER: a word that counts at a steady rate as long as the
// target runs, slowly enough not to wrap within a second; with it seconds with refreshes are
// compared with seconds in which the target is left alone.

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

struct Moment {
    std::uint32_t counter;
    Clock::time_point time;
};

Moment Look(std::uint32_t address)
{
    const auto before = Clock::now();
    std::uint32_t value = 0;
    (void)RANVOARM_ReadMemEx(address, sizeof value, reinterpret_cast<char *>(&value), 4);
    return {value, before + (Clock::now() - before) / 2};
}

// Counts per second of wall time during one second with so many reads.
double Progress(std::uint32_t page, std::uint32_t counter, std::uint32_t count, int reads)
{
    std::vector<char> data(count);
    const Moment first = Look(counter);
    for (int i = 1; i <= reads; ++i) {
        (void)RANVOARM_ReadMemEx(page, count, data.data(), 0);
        std::this_thread::sleep_until(first.time + i * std::chrono::seconds(1) / reads);
    }
    std::this_thread::sleep_until(first.time + std::chrono::seconds(1));
    const Moment last = Look(counter);
    return (last.counter - first.counter)
        / std::chrono::duration<double>(last.time - first.time).count();
}

// Seconds with and without reads alternate, so that other load of the machine affects both alike.
void BenchCost(std::uint32_t page, std::uint32_t counter, std::uint32_t count, int reads)
{
    constexpr int kPairs = 7;
    std::vector<double> ratios;
    for (int i = 0; i < kPairs; ++i) {
        const double alone = Progress(page, counter, count, 0);
        ratios.push_back(Progress(page, counter, count, reads) / alone);
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("%6u bytes %3d times a second: it counts at x%.5f (quartiles %.5f, %.5f)\n", count,
        reads, ratios[kPairs / 2], ratios[kPairs / 4], ratios[kPairs * 3 / 4]);
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
        for (const auto &[count, reads] : {std::pair{640U, 10}, {65536U, 10}, {640U, 100}})
            BenchCost(address, counter, count, reads);
    }
    RANVOARM_Close();
    return EXIT_SUCCESS;
}
