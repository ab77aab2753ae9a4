#include "sysdeadline.h"
#include "sysevent.h"
#include "sysmutex.h"
#include "systhreadtools.h"
#include "systime.h"
#include "systrace.h"

#include <QTest>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <semaphore>
#include <thread>
#include <vector>

namespace {

/// What is traced while `action` runs, on this thread alone.
template <typename Action> QByteArrayList Traced(Action action)
{
    static QByteArrayList texts;
    texts.clear();
    SYS_SetTraceSink([](const char *text) { texts.append(text); });
    action();
    SYS_SetTraceSink(nullptr);
    return texts;
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
    void initTestCase()
    {
        qputenv("SYS_DEBUG_LEVEL", "2"); // read at the first use of the layer
        QCOMPARE(SYS_DebugLevel(), 2);
    }

    void mutexKeepsOthersOutUntilTheLastRelease()
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

    void mutexTableHoldsSixtyFour()
    {
        std::vector<SYS_MUTEX_HANDLE> mutexes;
        while (SYS_MUTEX_HANDLE mutex = SYS_CreateUnnamedMutex())
            mutexes.push_back(mutex);
        QCOMPARE(mutexes.size(), 64U);
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

    void mutexAnswersWrongUse()
    {
        SYS_MUTEX_HANDLE mutex = SYS_CreateUnnamedMutex();
        SYS_MUTEX_HANDLE closed = mutex;
        SYS_CloseMutex(&mutex);
        const SYS_MUTEX_HANDLE before = closed;
        const auto foreign = reinterpret_cast<SYS_MUTEX_HANDLE>(-1);
        const QByteArrayList texts = Traced([&] {
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
            QVERIFY2(texts.contains(text), text);
    }

    void deadlinesLieTheTimeoutAhead()
    {
        const auto nowUs = [] {
            return std::chrono::duration_cast<std::chrono::microseconds>(
                std::chrono::system_clock::now().time_since_epoch())
                .count();
        };
        // Enough start moments for the microseconds to carry into the next second and not to.
        for (std::uint32_t timeoutMs = 0; timeoutMs < 3'000'000'000 - 123'457;
             timeoutMs += 123'457) {
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

    void eventSignalIsOneBit()
    {
        for (const std::uint32_t initial : {0U, 1U}) {
            const SYS_EVENT_HANDLE event = SYS_CreateEvent("ignored", 0, initial);
            QCOMPARE(SYS_WaitForEvent(event, 0), initial == 1 ? SYS_WAIT_OK : SYS_WAIT_TIMEOUT);
            QCOMPARE(SYS_WaitForEvent(event, 0), SYS_WAIT_TIMEOUT);
            SYS_SetEvent(event);
            SYS_SetEvent(event);
            QCOMPARE(SYS_WaitForEvent(event, SYS_WAIT_FOREVER), SYS_WAIT_OK);
            QCOMPARE(SYS_WaitForEvent(event, 0), SYS_WAIT_TIMEOUT);
            SYS_CloseEvent(event);
        }
    }

    void eventWakesEachWaiterOnce()
    {
        // Two threads play ping-pong; a lost or doubled wake-up stops or breaks the count.
        const SYS_EVENT_HANDLE ping = SYS_CreateEvent(nullptr, 0, 0);
        const SYS_EVENT_HANDLE pong = SYS_CreateEvent(nullptr, 0, 0);
        int balls = 0; // guarded by the events
        const auto waitAt = [](SYS_EVENT_HANDLE event, int round) {
            return SYS_WaitForEvent(event, round % 2 == 0 ? SYS_WAIT_FOREVER : kPatienceMs)
                == SYS_WAIT_OK;
        };
        std::thread other([&] {
            for (int i = 0; i < 2000 && waitAt(ping, i); ++i) {
                ++balls;
                SYS_SetEvent(pong);
            }
        });
        int answered = 0;
        do {
            SYS_SetEvent(ping);
        } while (SYS_WaitForEvent(pong, kPatienceMs) == SYS_WAIT_OK && balls == ++answered
            && answered < 2000);
        SYS_SetEvent(ping);
        other.join();
        QCOMPARE(answered, 2000);
        QCOMPARE(balls, 2000);
        SYS_CloseEvent(ping);
        SYS_CloseEvent(pong);
    }

    void eventAnswersWrongUse()
    {
        const QByteArrayList texts
            = Traced([] { QCOMPARE(SYS_CreateEvent(nullptr, 1, 0), SYS_EVENT_ERROR); });
        QCOMPARE(texts, QByteArrayList{"Cannot create event (Manual reset not supported)!\n"});
        const SYS_EVENT_HANDLE closed = SYS_CreateEvent(nullptr, 0, 1);
        SYS_CloseEvent(closed);
        for (const SYS_EVENT_HANDLE wrong : {SYS_EVENT_HANDLE{nullptr}, closed, SYS_EVENT_ERROR}) {
            SYS_SetEvent(wrong);
            SYS_CloseEvent(wrong);
            QCOMPARE(SYS_WaitForEvent(wrong, 0), SYS_WAIT_ERROR);
        }
    }

    void threadsStartWithTheirArguments()
    {
        struct Seen {
            std::binary_semaphore done{0}; // unlike Qt's, seen by the thread sanitizer
            SYS_THREAD_ID id = 0;
        } seen;
        SysThreadTask task{[](void *context) {
                               auto *const where = static_cast<Seen *>(context);
                               where->id = SYS_CurrentThreadId();
                               where->done.release();
                           },
            &seen};
        const SysThreadStart start = [](void *argument) -> void * {
            const auto *const given = static_cast<const SysThreadTask *>(argument);
            given->Run(given->context);
            return nullptr;
        };
        for (const bool fixed : {false, true}) {
            std::uint64_t id = 0;
            const SYS_THREAD_ID started
                = fixed ? SYS_CreateFixedThread(&task, &id) : SYS_CreateThread(start, &task, &id);
            QVERIFY(seen.done.try_acquire_for(kPatience));
            QCOMPARE(seen.id, started);
            QCOMPARE(id, started);
            QVERIFY(started != SYS_CurrentThreadId());
        }
    }
};

QTEST_GUILESS_MAIN(SysSyncTest)
#include "tst_syssync.moc"
