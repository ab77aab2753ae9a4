// A process to look into: memory at fixed places below 4 GiB, a counter that runs.
//   0x20000000  256 KiB; the counter at +0x20; nothing before and behind
//   0x7FFF8000  4 KiB; nothing before

#include <cstdint>
#include <ctime>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

static bool Map(std::uintptr_t address, std::size_t size)
{
    void *const wanted = reinterpret_cast<void *>(address);
    return mmap(wanted, size, PROT_READ | PROT_WRITE,
               MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0)
        == wanted;
}

int main()
{
    if (!Map(0x20000000, 0x40000) || !Map(0x7FFF8000, 0x1000))
        return 1;
    prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY, 0, 0, 0); // where only relatives may look otherwise
    auto *const counter = reinterpret_cast<volatile std::uint32_t *>(0x20000020);
    for (;;) {
        *counter = *counter + 1;
        const timespec pause{0, 1'000'000};
        nanosleep(&pause, nullptr);
    }
}
