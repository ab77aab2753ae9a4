#include "sysdeadline.h"
#include "sysevent.h"
#include "sysmutex.h"
#include "systrace.h"

#include <QtTest>

#include <future>
#include <thread>

namespace {

constexpr std::uint32_t kPatienceMs = 60'000; // reached only when a test fails

/// The results of a wait for the mutex by another thread, and of its release.
std::pair<int, int> TryOnOtherThread(SYS_MUTEX_HANDLE mutex, std::uint32_t limitMs)
{
    return std::async(std::launch::async, [=] {
        const int result = SYS_WaitForMutex(mutex, limitMs);
        return std::pair(result, result == SYS_WAIT_OK ? SYS_ReleaseMutex(mutex) : SYS_RELEASE_OK);
    }).get();
}

int traced = 0;

} // namespace

class SysSyncTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("SYS_DEBUG_LEVEL", "1"); // errors alone; read at the first use of the layer
        SYS_SetTraceSink([](const char *) { ++traced; });
    }

    void aMutexKeepsOthersOutUntilTheLastRelease()
    {
        SYS_MUTEX_HANDLE mutex = SYS_CreateMutex("a long name, of which the entry keeps the start");
        const std::pair<int, int> held(SYS_WAIT_TIMEOUT, SYS_RELEASE_OK);
        QCOMPARE(SYS_WaitForMutexForever(mutex), SYS_WAIT_OK);
        QCOMPARE(SYS_WaitForMutex(mutex, 0), SYS_WAIT_OK); // recursion
        QCOMPARE(TryOnOtherThread(mutex, 0), held);
        QCOMPARE(SYS_ReleaseMutex(mutex), SYS_RELEASE_OK);
        QCOMPARE(TryOnOtherThread(mutex, 1), held);
        QCOMPARE(SYS_ReleaseMutex(mutex), SYS_RELEASE_OK);
        QCOMPARE(TryOnOtherThread(mutex, kPatienceMs), std::pair(SYS_WAIT_OK, SYS_RELEASE_OK));
        QCOMPARE(traced, 0);
#ifndef __SANITIZE_THREAD__                                   // it takes the attempt for a fault
        QCOMPARE(SYS_ReleaseMutex(mutex), SYS_RELEASE_ERROR); // once too often
#endif
        SYS_CloseMutex(&mutex);
    }

    void wrongHandlesAreRefusedAndTraced()
    {
        SYS_MUTEX_HANDLE mutex = SYS_CreateUnnamedMutex();
        SYS_MUTEX_HANDLE closed = mutex;
        SYS_CloseMutex(&mutex);
        QCOMPARE(mutex, nullptr);
        traced = 0;
        for (auto wrong : {mutex, closed, reinterpret_cast<SYS_MUTEX_HANDLE>(-1)}) {
            QCOMPARE(SYS_WaitForMutex(wrong, 0), SYS_WAIT_ERROR);
            QCOMPARE(SYS_WaitForMutexForever(wrong), SYS_WAIT_ERROR);
            QCOMPARE(SYS_ReleaseMutex(wrong), SYS_RELEASE_ERROR);
            SYS_CloseMutex(&wrong);
        }
        SYS_CloseMutex(nullptr);
        QCOMPARE(SYS_CreateEvent(nullptr, 1, 0), SYS_EVENT_ERROR); // no manual reset
        QCOMPARE(traced, 14);                                      // each of them
        const SYS_EVENT_HANDLE event = SYS_CreateEvent(nullptr, 0, 1);
        SYS_CloseEvent(event);
        for (const auto wrong : {SYS_EVENT_HANDLE{nullptr}, event, SYS_EVENT_ERROR}) {
            SYS_SetEvent(wrong);
            SYS_CloseEvent(wrong);
            QCOMPARE(SYS_WaitForEvent(wrong, 0), SYS_WAIT_ERROR);
        }
    }

    void deadlinesLieTheTimeoutAhead()
    {
        using namespace std::chrono;
        // So many start times that some carry into the next second and others do not.
        for (std::uint32_t timeoutMs = 0; timeoutMs < 2'999'000'000; timeoutMs += 123'457) {
            std::timespec deadline{};
            const auto before = floor<microseconds>(system_clock::now());
            QVERIFY(SYS_ComputeDeadline(timeoutMs, deadline));
            const auto after = floor<microseconds>(system_clock::now());
            const auto sinceEpoch = seconds(deadline.tv_sec) + nanoseconds(deadline.tv_nsec);
            const sys_time<nanoseconds> start(sinceEpoch - milliseconds(timeoutMs));
            QVERIFY(deadline.tv_nsec >= 0 && deadline.tv_nsec < 1'000'000'000);
            QVERIFY(before <= start && start <= after);
        }
    }

    void anEventIsOneBit()
    {
        const SYS_EVENT_HANDLE event = SYS_CreateEvent("ignored", 0, 1);
        QCOMPARE(SYS_WaitForEvent(event, 0), SYS_WAIT_OK);
        QCOMPARE(SYS_WaitForEvent(event, 0), SYS_WAIT_TIMEOUT);
        for (int round = 0; round < 200; ++round) { // sometimes the wait is first
            std::thread setter([=] { SYS_SetEvent(event); });
            const int result
                = SYS_WaitForEvent(event, round % 2 == 0 ? SYS_WAIT_FOREVER : kPatienceMs);
            setter.join();
            QCOMPARE(result, SYS_WAIT_OK);
        }
        SYS_SetEvent(event);
        SYS_SetEvent(event);
        QCOMPARE(SYS_WaitForEvent(event, SYS_WAIT_FOREVER), SYS_WAIT_OK);
        QCOMPARE(SYS_WaitForEvent(event, 1), SYS_WAIT_TIMEOUT);
        SYS_CloseEvent(event);
    }
};

QTEST_GUILESS_MAIN(SysSyncTest)
#include "tst_syssync.moc"
