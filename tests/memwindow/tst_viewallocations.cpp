#include "memtestwindow.h"

#include <atomic>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define PELIMO_COUNTS_ALLOCATIONS 0 // the sanitizers have an allocator of their own
#else
#define PELIMO_COUNTS_ALLOCATIONS 1
#endif

namespace {

std::atomic<bool> s_counting = false;
std::atomic<int> s_allocations = 0;

} // namespace

#if PELIMO_COUNTS_ALLOCATIONS
// Qt's containers call these, and operator new calls malloc.
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);

void *malloc(size_t size)
{
    s_allocations += s_counting;
    return __libc_malloc(size);
}
void *calloc(size_t count, size_t size)
{
    s_allocations += s_counting;
    return __libc_calloc(count, size);
}
void *realloc(void *block, size_t size)
{
    s_allocations += s_counting;
    return __libc_realloc(block, size);
}
}
#endif

namespace {

using Step = void (*)(MemTestWindow &);

int AllocationsOf(MemTestWindow &w, Step step)
{
    s_allocations = 0;
    s_counting = true;
    step(w);
    s_counting = false;
    return s_allocations;
}

/// The usual cost of a step and its paint once every glyph has been seen.
int SteadyAllocations(int heightPx, Step step)
{
    MemTestWindow w;
    w.target.logs = false;
    w.window.resize(900, heightPx);
    QApplication::processEvents();
    w.window.OnResizeTimerTimeout();
    int least = INT_MAX;
    for (int round = 0; round < 300; ++round)
        least = std::min(least, AllocationsOf(w, step));
    return least;
}

} // namespace

/// Ticks, scrolls and paints allocate nothing for a byte, an item or a row: a page of four times
/// as many rows costs as many allocations.
class ViewAllocationsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (!PELIMO_COUNTS_ALLOCATIONS)
            QSKIP("allocations cannot be counted under a sanitizer");
    }

    void aLargePageCostsNoMoreThanASmallOne()
    {
        const std::tuple<const char *, int, Step> steps[] = {{"every byte changes", 60,
                                                                 [](MemTestWindow &w) {
                                                                     w.target.ChangeAll();
                                                                     w.Tick();
                                                                 }},
            {"every byte is painted", 60,
                [](MemTestWindow &w) {
                    w.window.InvalidateView();
                    QApplication::processEvents();
                }},
            {"every row scrolls", 120,
                [](MemTestWindow &w) {
                    w.window.ScrollRows(w.window.BaseAddress() == 0 ? -2 : 2);
                    QApplication::processEvents();
                }},
            {"some rows change", 40, [](MemTestWindow &w) {
                 for (std::uint64_t address = 0; address < w.window.BytesPerPage(); address += 97)
                     w.target.Set(address, std::uint8_t(w.target.ByteAt(address) + 1));
                 w.window.UpdateFromTarget();
                 QApplication::processEvents();
             }}};
        for (const auto &[name, most, step] : steps) {
            const int small = SteadyAllocations(300, step);
            const int large = SteadyAllocations(1200, step);
            qInfo("%s: %d allocations on a small page, %d on a large one", name, small, large);
            QVERIFY2(large <= most && large - small <= 8, name);
        }
    }

    void aTickOnUnchangedMemoryAllocatesNothing()
    {
        MemTestWindow w;
        w.target.logs = false;
        w.GoTo(0x2000'0000);
        w.window.OnAutoUpdateTimerTimeout();
        const Step tick = [](MemTestWindow &idle) { idle.window.OnAutoUpdateTimerTimeout(); };
        QCOMPARE(AllocationsOf(w, tick), 0);
    }
};

QTEST_MAIN(ViewAllocationsTest)
#include "tst_viewallocations.moc"
