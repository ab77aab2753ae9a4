// Runs one operation of the memory view exactly so many times, with valgrind's counting switched
// on around them, and prints what one of them painted, read and allocated.
//
//   valgrind --tool=callgrind --collect-atstart=no count_view CASE COUNT
#include "viewcases.h"

#include <QApplication>

#include <valgrind/callgrind.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace {

std::atomic<long> s_allocations = 0;

} // namespace

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);

void *malloc(size_t size)
{
    s_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}
void *calloc(size_t count, size_t size)
{
    s_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}
void *realloc(void *block, size_t size)
{
    s_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(block, size);
}
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const auto operation = argc == 3 ? MakeViewCase(argv[1]) : nullptr;
    const int count = argc == 3 ? std::atoi(argv[2]) : 0;
    if (operation == nullptr || count < 1) {
        std::fputs("usage: count_view CASE COUNT\n", stderr);
        return 2;
    }
    constexpr int kWarmUp = 200; // every glyph has been seen then
    for (int run = 0; run < kWarmUp; ++run)
        operation->Run();
    const double rows = operation->PaintedRows();

    const ViewCase::Reads readsBefore = operation->ReadsSoFar();
    const long allocationsBefore = s_allocations;
    CALLGRIND_TOGGLE_COLLECT;
    for (int run = 0; run < count; ++run)
        operation->Run();
    CALLGRIND_TOGGLE_COLLECT;
    const long allocations = s_allocations - allocationsBefore;
    const ViewCase::Reads reads = operation->ReadsSoFar();
    std::printf("rows %.2f paints %ld allocations %.1f calls %.2f bytes %.1f\n", rows,
        operation->PaintEvents(), double(allocations) / count,
        double(reads.calls - readsBefore.calls) / count,
        double(reads.bytes - readsBefore.bytes) / count);
    return 0;
}
