#include "appstate.h"
#include "workeractions.h"
#include "workerring.h"

#include "sysevent.h"
#include "sysmutex.h"
#include "testsemaphore.h"

#include <QTest>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

#include <pthread.h>

namespace {

constexpr auto kHandlerOnly = static_cast<JobKind>(99);
constexpr std::chrono::seconds kLimit{20}; // only a failure waits so long

TestSemaphore g_blocked; // released by the worker once it sits in a blocking job
TestSemaphore g_unblock; // lets it go on
TestSemaphore g_done;
std::vector<std::uint64_t> g_order; // written by the worker, read after g_done

Job HandlerJob(void (*handler)(Job *), std::uint64_t number = 0)
{
    // The number travels in the context, which the worker never looks at.
    return {kHandlerOnly, 0, handler, {}, reinterpret_cast<void *>(number)};
}

void NoteOrder(Job *job)
{
    g_order.push_back(reinterpret_cast<std::uint64_t>(job->context));
    g_done.Release();
}

void Block(Job *)
{
    g_blocked.Release();
    g_unblock.Acquire();
}

} // namespace

/// The ring is tested with jobs that only run a handler: no probe, no window.
class WorkerRingTest : public QObject {
    Q_OBJECT

private slots:
    void init() { g_order.clear(); }

    void whatTheSystemRefusesHoldsNobodyUp() // the first one here: there is no worker yet
    {
        Job job = HandlerJob(NoteOrder);
        const auto postsFail = [&job] {
            for (unsigned i = 0; i < 2 * kRingSlots; ++i) {
                WORKER_PostConnectionCheck(); // the leak sanitizer sees whether its job stays
                if (WORKER_PostJob(&job) != SYS_WAIT_ERROR)
                    return false;
            }
            return true;
        };
        pthread_attr_t usual;
        pthread_attr_t endless; // no system has room for such a stack
        QCOMPARE(pthread_getattr_default_np(&usual), 0);
        QCOMPARE(pthread_getattr_default_np(&endless), 0);
        QCOMPARE(pthread_attr_setstacksize(&endless, std::size_t{1} << 60), 0);
        QCOMPARE(pthread_setattr_default_np(&endless), 0);
        QVERIFY(postsFail());
        QCOMPARE(pthread_setattr_default_np(&usual), 0);

        std::vector<SYS_MUTEX_HANDLE> mutexes;
        while (SYS_MUTEX_HANDLE mutex = SYS_CreateUnnamedMutex())
            mutexes.push_back(mutex);
        QVERIFY(postsFail());
        for (SYS_MUTEX_HANDLE &mutex : mutexes)
            SYS_CloseMutex(&mutex);

        std::vector<SYS_EVENT_HANDLE> events;
        for (;;) {
            const SYS_EVENT_HANDLE event = SYS_CreateEvent(nullptr, 0, 0);
            if (event == SYS_EVENT_ERROR)
                break;
            events.push_back(event);
        }
        QVERIFY(postsFail());
        for (const SYS_EVENT_HANDLE event : events)
            SYS_CloseEvent(event);

        QCOMPARE(WORKER_PostJob(&job), SYS_WAIT_OK);
        QVERIFY(g_done.Acquire(1, kLimit));
        QCOMPARE(g_order.size(), 1U);
    }

    void jobsRunInTheOrderOfTheirPosts()
    {
        constexpr unsigned count = 3 * kRingSlots + 5;
        std::vector<Job> jobs;
        for (std::uint64_t i = 0; i < count; ++i)
            jobs.push_back(HandlerJob(NoteOrder, i));
        for (Job &job : jobs)
            WORKER_PostJob(&job);
        QVERIFY(g_done.Acquire(count, kLimit));
        for (std::uint64_t i = 0; i < count; ++i)
            QCOMPARE(g_order[i], i);
    }

    void aPostToAFullRingWaitsForTheOldestJobOrItsTimeLimit()
    {
        Job blocker = HandlerJob(Block);
        Job filler = HandlerJob(NoteOrder);
        FillRing(blocker, filler);
        QCOMPARE(WORKER_PostJobWithin(&filler, 5), SYS_WAIT_TIMEOUT);
        TestSemaphore posted;
        std::thread poster([&] {
            WORKER_PostJob(&filler);
            posted.Release();
        });
        QVERIFY(!posted.Acquire(1, std::chrono::milliseconds(50)));
        g_unblock.Release();
        QVERIFY(posted.Acquire(1, kLimit));
        poster.join();
        QVERIFY(g_done.Acquire(kRingSlots, kLimit));
        QVERIFY(!g_done.Acquire(1, std::chrono::milliseconds(20))); // the refused job does not run
    }

    void theWorkerPostsWhileOthersWaitForItWithTheRingsLock()
    {
        static Job own = HandlerJob(NoteOrder, 1);
        Job filler = HandlerJob(NoteOrder, 2);
        Job poster = HandlerJob([](Job *) {
            g_blocked.Release();
            g_unblock.Acquire();
            WORKER_PostJob(&own); // every slot is taken: waiting here would be for ever
            WORKER_PostJob(&own);
        });
        FillRing(poster, filler);
        std::atomic<int> entered = 0;
        std::vector<std::thread> waiting;
        for (int i = 0; i < 3; ++i)
            waiting.emplace_back([&] {
                ++entered;
                WORKER_PostJob(&filler);
            });
        QTRY_COMPARE(entered.load(), 3);
        g_unblock.Release();
        QVERIFY(g_done.Acquire(kRingSlots - 1 + 3 + 2, kLimit));
        for (std::thread &thread : waiting)
            thread.join();
        QCOMPARE(g_order[0] + g_order[1], 2U); // right after the job that posted them
    }

    void anExitLetsWaitingPostersGoAndALaterPostStartsAnew()
    {
        AppState &state = APP_State();
        Job blocker = HandlerJob(Block);
        static Job filler = HandlerJob(nullptr);
        WORKER_PostJob(&blocker);
        QVERIFY(g_blocked.Acquire(1, kLimit));
        state.workerExited = 0;
        QVERIFY(WORKER_PostExit());
        for (unsigned i = 2; i < kRingSlots; ++i)
            WORKER_PostJob(&filler);
        std::thread waiting([] { WORKER_PostJob(&filler); });
        g_unblock.Release();
        QTRY_COMPARE_WITH_TIMEOUT(state.workerExited.load(), 1u, 20'000);
        waiting.join();
        Job last = HandlerJob(NoteOrder, 7);
        WORKER_PostJob(&last);
        QVERIFY(g_done.Acquire(1, kLimit));
    }

    void exitAndPostsFromManyThreadsNeverHang()
    {
        AppState &state = APP_State();
        static Job filler = HandlerJob(nullptr);
        for (int round = 0; round < 30; ++round) {
            std::vector<std::thread> posters;
            for (int i = 0; i < 4; ++i)
                posters.emplace_back([] {
                    for (int post = 0; post < 50; ++post)
                        WORKER_PostJob(&filler);
                });
            state.workerExited = 0;
            const bool exiting = WORKER_PostExit();
            for (std::thread &poster : posters)
                poster.join();
            if (exiting)
                QTRY_COMPARE_WITH_TIMEOUT(state.workerExited.load(), 1u, 20'000);
        }
        g_done.Drain();
        Job last = HandlerJob([](Job *) { g_done.Release(); });
        WORKER_PostJob(&last);
        QVERIFY(g_done.Acquire(1, kLimit));
    }

private:
    /// Fills every slot behind a job that holds the worker and keeps its own.
    static void FillRing(Job &holder, Job &filler)
    {
        WORKER_PostJob(&holder);
        QVERIFY(g_blocked.Acquire(1, kLimit));
        for (unsigned i = 1; i < kRingSlots; ++i)
            QCOMPARE(WORKER_PostJobWithin(&filler, 1), SYS_WAIT_OK);
    }
};

QTEST_GUILESS_MAIN(WorkerRingTest)
#include "tst_workerring.moc"
