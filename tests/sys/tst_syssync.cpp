#include "sysdeadline.h"
#include "sysevent.h"
#include "syslock.h"
#include "sysmutex.h"
#include "systhread.h"
#include "systime.h"
#include "systrace.h"

#include <QTest>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <mutex>
#include <semaphore>
#include <thread>
#include <vector>

namespace {

std::mutex traceMutex;
std::vector<QByteArray> traceTexts;

void KeepTrace(const char *text)
{
    const std::lock_guard lock(traceMutex);
    traceTexts.emplace_back(text);
}

/// What is traced while `action` runs.
template <typename Action> std::vector<QByteArray> Traced(Action action)
{
    traceTexts.clear();
    SYS_SetTraceSink(&KeepTrace);
    action();
    SYS_SetTraceSink(nullptr);
    return std::exchange(traceTexts, {});
}

/// Runs a function on a thread of its own and waits for its end.
template <typename Function> auto OnOtherThread(Function function)
{
    decltype(function()) result{};
    std::thread([&] { result = function(); }).join();
    return result;
}

/// Releasing once too often must be refused; the thread sanitizer takes the attempt for a fault.
bool IsHeldByNobody(SYS_MUTEX_HANDLE mutex)
{
#ifdef __SANITIZE_THREAD__
    return mutex != nullptr;
#else
    return SYS_ReleaseMutex(mutex) == SYS_RELEASE_ERROR;
#endif
}

constexpr std::uint32_t kPatienceMs = 60'000; // reached by a fault only
constexpr std::chrono::milliseconds kPatience{kPatienceMs};

} // namespace

class SysSyncTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void mutexKeepsOthersOutUntilTheLastRelease();
    void mutexCountsEachStepOfManyThreads();
    void mutexTableHoldsSixtyFour();
    void mutexAnswersWrongUse();
    void mutexTracesItsCalls();
    void lockReleasesOnlyWhatItHolds();
    void deadlinesLieTheTimeoutAhead();
    void eventSignalIsOneBit();
    void eventWakesEachWaiterOnce();
    void eventTableHoldsSixtyFour();
    void eventAnswersWrongUse();
    void threadsStartWithTheirArguments();
    void aCancelledThreadEnds();
    void clocksRunForward();
    void calendarsAgreeWithTheSystem();
};

void SysSyncTest::initTestCase()
{
    qputenv("SYS_DEBUG_LEVEL", "2"); // read at the first use of the layer
    QCOMPARE(SYS_DebugLevel(), 2);
}

void SysSyncTest::mutexKeepsOthersOutUntilTheLastRelease()
{
    SYS_MUTEX_HANDLE mutex = SYS_CreateMutex("state");
    QCOMPARE(SYS_WaitForMutexForever(mutex), SYS_WAIT_OK);
    QCOMPARE(SYS_WaitForMutex(mutex, 0), SYS_WAIT_OK); // recursion
    const auto tryOnce = [&] { return SYS_WaitForMutex(mutex, 0); };
    QCOMPARE(OnOtherThread(tryOnce), SYS_WAIT_TIMEOUT);
    QCOMPARE(SYS_ReleaseMutex(mutex), SYS_RELEASE_OK);
    QCOMPARE(OnOtherThread(tryOnce), SYS_WAIT_TIMEOUT);
    QCOMPARE(OnOtherThread([&] { return SYS_WaitForMutex(mutex, 1); }), SYS_WAIT_TIMEOUT);
    QCOMPARE(SYS_ReleaseMutex(mutex), SYS_RELEASE_OK);
    QCOMPARE(OnOtherThread([&] {
        const int result = SYS_WaitForMutex(mutex, kPatienceMs);
        return result == SYS_WAIT_OK ? SYS_ReleaseMutex(mutex) : result;
    }),
        SYS_RELEASE_OK);
    QVERIFY(IsHeldByNobody(mutex));
    SYS_CloseMutex(&mutex);
}

void SysSyncTest::mutexCountsEachStepOfManyThreads()
{
    SYS_MUTEX_HANDLE mutex = SYS_CreateUnnamedMutex();
    int count = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int step = 0; step < 5000; ++step) {
                const SysLock outer(mutex);
                const SysLock inner(mutex);
                ++count;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(count, 20'000);
    SYS_CloseMutex(&mutex);
}

void SysSyncTest::mutexTableHoldsSixtyFour()
{
    std::vector<SYS_MUTEX_HANDLE> mutexes;
    while (SYS_MUTEX_HANDLE mutex = SYS_CreateUnnamedMutex())
        mutexes.push_back(mutex);
    QCOMPARE(mutexes.size(), std::size_t{SYS_MAX_MUTEXES});
    QCOMPARE(std::ranges::adjacent_find(mutexes), mutexes.end());

    const SYS_MUTEX_HANDLE freed = mutexes[20];
    SYS_CloseMutex(&mutexes[20]);
    QCOMPARE(mutexes[20], nullptr);
    mutexes[20] = SYS_CreateMutex("reuses the entry and cuts this long name");
    QCOMPARE(mutexes[20], freed);
    QCOMPARE(SYS_WaitForMutex(mutexes[20], 0), SYS_WAIT_OK);
    QCOMPARE(SYS_ReleaseMutex(mutexes[20]), SYS_RELEASE_OK);
    for (SYS_MUTEX_HANDLE &mutex : mutexes)
        SYS_CloseMutex(&mutex);
}

void SysSyncTest::mutexAnswersWrongUse()
{
    SYS_MUTEX_HANDLE mutex = SYS_CreateUnnamedMutex();
    SYS_MUTEX_HANDLE closed = mutex;
    SYS_CloseMutex(&mutex);
    const SYS_MUTEX_HANDLE before = closed;
    const auto foreign = reinterpret_cast<SYS_MUTEX_HANDLE>(-1);
    const std::vector<QByteArray> texts = Traced([&] {
        for (const SYS_MUTEX_HANDLE wrong : {SYS_MUTEX_HANDLE{nullptr}, closed, foreign}) {
            QCOMPARE(SYS_WaitForMutex(wrong, 0), SYS_WAIT_ERROR);
            QCOMPARE(SYS_WaitForMutexForever(wrong), SYS_WAIT_ERROR);
            QCOMPARE(SYS_ReleaseMutex(wrong), SYS_RELEASE_ERROR);
        }
        SYS_CloseMutex(&mutex);
        SYS_CloseMutex(&closed);
        SYS_CloseMutex(nullptr);
    });
    QCOMPARE(closed, before);
    for (const char *text : {"SYS_WaitForMutex(): Invalid handle.\n",
             "SYS_WaitForMutex(): Not in use.\n", "SYS_ReleaseMutex(): Invalid handle\n",
             "SYS_ReleaseMutex(): Not in use\n", "Could not close mutex (Invalid value).\n",
             "SYS_CloseMutex(): Could not close mutex (Invalid handle).\n",
             "SYS_CloseMutex(): Could not close mutex (Not in use).\n"})
        QVERIFY2(std::ranges::find(texts, QByteArray(text)) != texts.end(), text);
}

void SysSyncTest::mutexTracesItsCalls()
{
    const std::vector<QByteArray> texts = Traced([] {
        SYS_MUTEX_HANDLE mutex = SYS_CreateUnnamedMutex();
        SYS_WaitForMutex(mutex, 7);
        SYS_ReleaseMutex(mutex);
        SYS_CloseMutex(&mutex);
    });
    QCOMPARE(texts.size(), 9U);
    QCOMPARE(texts[0], "SYS_CreateMutex(sName = <unnamed>) entry\n");
    const QByteArray handle = texts[1].mid(QByteArray("SYS_CreateMutex() exit: ").size()).trimmed();
    QVERIFY2(handle.size() >= 16, texts[1]); // padded with zeros to the width of a pointer
    QCOMPARE(texts[2], "SYS_WaitForMutex(hMutex = " + handle + ", TimeOut = 7) entry\n");
    QCOMPARE(texts[3], "SYS_WaitForMutex() exit\n");
    QCOMPARE(texts[4], "SYS_ReleaseMutex(hMutex = " + handle + ") entry\n");
    QCOMPARE(texts[5], "SYS_ReleaseMutex() exit\n");
    QCOMPARE(texts[7], "SYS_CloseMutex(): *phMutex = " + handle + "\n");
    QCOMPARE(texts[8], "SYS_CloseMutex() exit\n");
}

void SysSyncTest::lockReleasesOnlyWhatItHolds()
{
    SYS_MUTEX_HANDLE mutex = SYS_CreateUnnamedMutex();
    {
        const SysLock lock(mutex);
        QVERIFY(lock.IsLocked());
    }
    QVERIFY(IsHeldByNobody(mutex));
    SYS_CloseMutex(&mutex);
    const SysLock none(mutex);
    QVERIFY(!none.IsLocked());
}

void SysSyncTest::deadlinesLieTheTimeoutAhead()
{
    const auto nowUs = [] {
        return std::chrono::duration_cast<std::chrono::microseconds>(
            std::chrono::system_clock::now().time_since_epoch())
            .count();
    };
    // Enough start moments for the microseconds to carry into the next second and not to.
    for (std::uint32_t timeoutMs = 0; timeoutMs < 3'000'000'000 - 123'457; timeoutMs += 123'457) {
        std::timespec deadline{};
        const std::int64_t before = nowUs();
        QVERIFY(SYS_ComputeDeadline(timeoutMs, deadline));
        const std::int64_t after = nowUs();
        QVERIFY(deadline.tv_nsec >= 0 && deadline.tv_nsec < 1'000'000'000);
        const std::int64_t deadlineUs = deadline.tv_sec * 1'000'000 + deadline.tv_nsec / 1000;
        const std::int64_t aheadUs = std::int64_t{timeoutMs} * 1000;
        QVERIFY(before + aheadUs <= deadlineUs && deadlineUs <= after + aheadUs);
    }
}

void SysSyncTest::eventSignalIsOneBit()
{
    const SYS_EVENT_HANDLE event = SYS_CreateEvent("ignored", 0, 0);
    QCOMPARE(SYS_WaitForEvent(event, 0), SYS_WAIT_TIMEOUT);
    SYS_SetEvent(event);
    SYS_SetEvent(event);
    QCOMPARE(SYS_WaitForEvent(event, SYS_WAIT_FOREVER), SYS_WAIT_OK);
    QCOMPARE(SYS_WaitForEvent(event, 0), SYS_WAIT_TIMEOUT);
    SYS_CloseEvent(event);

    const SYS_EVENT_HANDLE set = SYS_CreateEvent(nullptr, 0, 1);
    QCOMPARE(SYS_WaitForEvent(set, 0), SYS_WAIT_OK);
    QCOMPARE(SYS_WaitForEvent(set, 0), SYS_WAIT_TIMEOUT);
    SYS_CloseEvent(set);
}

void SysSyncTest::eventWakesEachWaiterOnce()
{
    // Two threads play ping-pong; a lost or doubled wake-up stops or breaks the count.
    const SYS_EVENT_HANDLE ping = SYS_CreateEvent(nullptr, 0, 0);
    const SYS_EVENT_HANDLE pong = SYS_CreateEvent(nullptr, 0, 0);
    int balls = 0; // guarded by the events
    std::thread other([&] {
        for (int i = 0; i < 2000; ++i) {
            if (SYS_WaitForEvent(ping, i % 2 == 0 ? SYS_WAIT_FOREVER : kPatienceMs) != SYS_WAIT_OK)
                return;
            ++balls;
            SYS_SetEvent(pong);
        }
    });
    int answered = 0;
    for (int i = 0; i < 2000; ++i) {
        SYS_SetEvent(ping);
        if (SYS_WaitForEvent(pong, kPatienceMs) != SYS_WAIT_OK || balls != i + 1)
            break;
        ++answered;
    }
    SYS_SetEvent(ping);
    other.join();
    QCOMPARE(answered, 2000);
    SYS_CloseEvent(ping);
    SYS_CloseEvent(pong);
}

void SysSyncTest::eventTableHoldsSixtyFour()
{
    std::vector<SYS_EVENT_HANDLE> events;
    for (;;) {
        const SYS_EVENT_HANDLE event = SYS_CreateEvent(nullptr, 0, 0);
        if (event == SYS_EVENT_ERROR)
            break;
        events.push_back(event);
    }
    QCOMPARE(events.size(), std::size_t{SYS_MAX_EVENTS});
    SYS_SetEvent(events[3]);
    SYS_CloseEvent(events[3]);
    QCOMPARE(SYS_CreateEvent(nullptr, 0, 0), events[3]);
    QCOMPARE(SYS_WaitForEvent(events[3], 0), SYS_WAIT_TIMEOUT); // the old signal is gone
    for (const SYS_EVENT_HANDLE event : events)
        SYS_CloseEvent(event);
}

void SysSyncTest::eventAnswersWrongUse()
{
    const std::vector<QByteArray> texts
        = Traced([] { QCOMPARE(SYS_CreateEvent(nullptr, 1, 0), SYS_EVENT_ERROR); });
    QCOMPARE(texts.size(), 1U);
    QCOMPARE(texts[0], "Cannot create event (Manual reset not supported)!\n");
    const SYS_EVENT_HANDLE closed = SYS_CreateEvent(nullptr, 0, 1);
    SYS_CloseEvent(closed);
    for (const SYS_EVENT_HANDLE wrong : {SYS_EVENT_HANDLE{nullptr}, closed, SYS_EVENT_ERROR}) {
        SYS_SetEvent(wrong);
        SYS_CloseEvent(wrong);
        QCOMPARE(SYS_WaitForEvent(wrong, 0), SYS_WAIT_ERROR);
    }
}

void SysSyncTest::threadsStartWithTheirArguments()
{
    struct Seen {
        std::binary_semaphore done{0}; // unlike Qt's, seen by the thread sanitizer
        SYS_THREAD_ID id = 0;
    } seen;
    const auto note = [](void *context) {
        auto *const where = static_cast<Seen *>(context);
        where->id = SYS_CurrentThreadId();
        where->done.release();
    };
    std::uint64_t id = 0;
    const SYS_THREAD_ID started = SYS_CreateThread(
        [](void *context) -> void * {
            auto *const where = static_cast<Seen *>(context);
            where->id = SYS_CurrentThreadId();
            where->done.release();
            return nullptr;
        },
        &seen, &id);
    QVERIFY(seen.done.try_acquire_for(kPatience));
    QCOMPARE(seen.id, started);
    QCOMPARE(id, started);
    QVERIFY(started != SYS_CurrentThreadId());

    SysThreadTask task{note, &seen};
    const SYS_THREAD_ID fixed = SYS_CreateFixedThread(&task, nullptr);
    QVERIFY(seen.done.try_acquire_for(kPatience));
    QCOMPARE(seen.id, fixed);
    QCOMPARE(SYS_CurrentProcessId(), static_cast<int>(QCoreApplication::applicationPid()));
}

void SysSyncTest::aCancelledThreadEnds()
{
    struct Meeting {
        std::binary_semaphore started{0};
        std::binary_semaphore ended{0};
    } meeting;
    const SYS_THREAD_ID thread = SYS_CreateThread(
        [](void *context) -> void * {
            struct AtEnd {
                Meeting *meeting;
                ~AtEnd() { meeting->ended.release(); }
            } atEnd{static_cast<Meeting *>(context)};
            atEnd.meeting->started.release();
            SYS_Sleep(kPatienceMs); // a cancellation point
            return nullptr;
        },
        &meeting, nullptr);
    meeting.started.acquire();
    QCOMPARE(SYS_CancelThread(thread), 0);
    QVERIFY(meeting.ended.try_acquire_for(kPatience / 2));
}

void SysSyncTest::clocksRunForward()
{
    QCOMPARE(SYS_ElapsedMs(), 0U);
    QCOMPARE(SYS_ElapsedUs(), 0U);
    const std::uint32_t tick = SYS_TickMs();
    const std::uint64_t mark = SYS_ElapsedUs();
    SYS_Sleep(3);
    QVERIFY(SYS_TickMs() - tick >= 2);
    QVERIFY(SYS_ElapsedMs() >= 2);
    const std::uint64_t since = SYS_ElapsedUsSince(mark);
    QVERIFY2(since >= 3000 && since < kPatienceMs * 1000ULL, qPrintable(QString::number(since)));
}

void SysSyncTest::calendarsAgreeWithTheSystem()
{
    const auto asTime = [](const SysCalendarTime &t) {
        return QDateTime(QDate(t.year, t.month, t.day), QTime(t.hour, t.minute, t.second), Qt::UTC);
    };
    qputenv("TZ", "TST-5:30");
    SysCalendarTime utc{};
    SysCalendarTime local{};
    local.reserved = 7;
    const QDateTime before = QDateTime::currentDateTimeUtc().addMSecs(-1000);
    SYS_UtcTime(&utc);
    SYS_LocalTime(&local);
    const QDateTime after = QDateTime::currentDateTimeUtc();
    QVERIFY(before <= asTime(utc) && asTime(utc) <= after);
    const QDateTime localAsUtc = asTime(local).addSecs(-19'800);
    QVERIFY(before <= localAsUtc && localAsUtc <= after);
    QCOMPARE(local.reserved, 0);
    SYS_UtcTime(nullptr);
    SYS_LocalTime(nullptr);
}

QTEST_GUILESS_MAIN(SysSyncTest)
#include "tst_syssync.moc"
