#include "appstate.h"
#include "workeractions.h"
#include "workerring.h"

#include "testsemaphore.h"

#include <QTest>

#include <numeric>
#include <thread>
#include <vector>

namespace {

constexpr std::chrono::seconds kLimit{20}; // only a failure waits so long

TestSemaphore g_blocked; // released by the worker when it has begun a blocking job
TestSemaphore g_unblock; // lets it go on
TestSemaphore g_done;
std::vector<int> g_order; // written by the worker, read after g_done

Job HandlerJob(void (*handler)(Job *), int number = 0)
{
    // The worker knows no job of this kind. The result carries the number, for the checks.
    return {static_cast<JobKind>(99), number, handler, {}, nullptr};
}

void NoteOrder(Job *job)
{
    g_order.push_back(job->result);
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
    void jobsRunInOrderWhoeverWaitsForASlot()
    {
        constexpr int kWaiting = 3;
        static Job own = HandlerJob(NoteOrder, -1);
        Job holder = HandlerJob([](Job *) {
            Block(nullptr);
            WORKER_PostJob(&own); // every slot is taken: the worker would wait for itself
            WORKER_PostJob(&own);
        });
        Job refused = HandlerJob(NoteOrder, -2);
        std::vector<Job> jobs;
        for (int i = 0; i < int(kRingSlots) - 1 + kWaiting; ++i)
            jobs.push_back(HandlerJob(NoteOrder, i));
        for (int round = 0; round < 6; ++round) {
            g_order.clear();
            WORKER_PostJob(&holder);
            QVERIFY(g_blocked.Acquire(1, kLimit));
            for (unsigned i = 0; i < kRingSlots - 1; ++i) // the running job occupies one slot
                QCOMPARE(WORKER_PostJobWithin(&jobs[i], 1), SYS_WAIT_OK);
            QCOMPARE(WORKER_PostJobWithin(&refused, 5), SYS_WAIT_TIMEOUT);
            TestSemaphore entered;
            const auto postMore = [&] { // waits for a slot with the ring's lock
                entered.Release();
                for (std::size_t i = kRingSlots - 1; i < jobs.size(); ++i)
                    WORKER_PostJob(&jobs[i]);
            };
            std::thread waiting;
            if (round % 2 == 0) { // else nobody waits when the worker posts
                waiting = std::thread(postMore);
                QVERIFY(entered.Acquire(1, kLimit));
            }
            g_unblock.Release();
            QVERIFY(g_done.Acquire(2, kLimit)); // right after the job that posted them
            waiting.joinable() ? waiting.join() : postMore();
            QVERIFY(g_done.Acquire(unsigned(jobs.size()), kLimit));
            std::vector<int> order(jobs.size() + 2, -1);
            std::iota(order.begin() + 2, order.end(), 0);
            QCOMPARE(g_order, order);
        }
    }

    void anExitLetsPostersGoAndALaterPostStartsAnew()
    {
        std::atomic<std::uint32_t> &workerExited = APP_State().workerExited;
        Job holder = HandlerJob(Block);
        static Job filler = HandlerJob(nullptr);
        WORKER_PostJob(&holder);
        QVERIFY(g_blocked.Acquire(1, kLimit));
        for (int round = 0; round < 20; ++round) {
            workerExited = 0;
            bool exiting = round == 0 && WORKER_PostExit(); // and all of them wait for a slot
            std::vector<std::thread> posters;
            for (int i = 0; i < 4; ++i)
                posters.emplace_back([] {
                    for (int post = 0; post < 50; ++post)
                        WORKER_PostJob(&filler);
                });
            if (round == 0)
                g_unblock.Release();
            else
                exiting = WORKER_PostExit();
            for (std::thread &poster : posters)
                poster.join();
            if (exiting)
                QTRY_COMPARE_WITH_TIMEOUT(workerExited.load(), 1U, 20'000);
        }
        g_order.clear();
        Job last = HandlerJob(NoteOrder, 7);
        WORKER_PostJob(&last);
        QVERIFY(g_done.Acquire(1, kLimit));
        QCOMPARE(g_order, std::vector{7});
    }
};

QTEST_GUILESS_MAIN(WorkerRingTest)
#include "tst_workerring.moc"
