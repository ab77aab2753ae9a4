#include "shownwindow.h"

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
    void aLargePageCostsNoMoreThanASmallOne_data();
    void aLargePageCostsNoMoreThanASmallOne();
    void aTickOnUnchangedMemoryAllocatesNothing();
};

using Step = void (*)(ShownWindow &);

static int AllocationsOf(ShownWindow &s, Step step)
{
    s_allocations = 0;
    s_counting = true;
    step(s);
    QApplication::processEvents();
    s_counting = false;
    return s_allocations;
}

/// The usual cost of a step once every glyph has been seen.
static int SteadyAllocations(int heightPx, Step step)
{
    ShownWindow s;
    s.target.logs = false;
    s.window.resize(900, heightPx);
    QApplication::processEvents();
    s.window.OnResizeTimerTimeout();
    int least = INT_MAX;
    for (int round = 0; round < 300; ++round)
        least = std::min(least, AllocationsOf(s, step));
    return least;
}

void ViewAllocationsTest::aLargePageCostsNoMoreThanASmallOne_data()
{
    QTest::addColumn<Step>("step");
    QTest::addColumn<int>("most");
    QTest::newRow("every byte changes") << Step([](ShownWindow &s) {
        s.target.ChangeAll();
        s.window.OnAutoUpdateTimerTimeout();
    }) << 60;
    QTest::newRow("every byte is painted")
        << Step([](ShownWindow &s) { s.window.InvalidateView(); }) << 60;
    QTest::newRow("every row scrolls")
        << Step([](ShownWindow &s) { s.window.ScrollRows(s.window.BaseAddress() == 0 ? -2 : 2); })
        << 120;
    QTest::newRow("some rows change") << Step([](ShownWindow &s) {
        for (std::uint64_t address = 0; address < s.window.BytesPerPage(); address += 97)
            s.target.Set(address, std::uint8_t(s.target.ByteAt(address) + 1));
        s.window.UpdateFromTarget();
    }) << 40;
}

void ViewAllocationsTest::aLargePageCostsNoMoreThanASmallOne()
{
    QFETCH(Step, step);
    QFETCH(int, most);
    const int small = SteadyAllocations(300, step);
    const int large = SteadyAllocations(1200, step);
    qInfo("%d allocations on a small page, %d on a large one", small, large);
    QVERIFY2(large <= most, qPrintable(QString::number(large)));
    QVERIFY2(large - small <= 8, qPrintable(QStringLiteral("%1 and %2").arg(small).arg(large)));
}

void ViewAllocationsTest::aTickOnUnchangedMemoryAllocatesNothing()
{
    ShownWindow s;
    s.target.logs = false;
    s.GoTo(0x2000'0000);
    s.window.OnAutoUpdateTimerTimeout();
    s_allocations = 0;
    s_counting = true;
    s.window.OnAutoUpdateTimerTimeout();
    s_counting = false;
    QCOMPARE(s_allocations.load(), 0);
}

QTEST_MAIN(ViewAllocationsTest)
#include "tst_viewallocations.moc"
