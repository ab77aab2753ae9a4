#include "operationgate.h"

#include <QtTest>
#include <future>
#include <semaphore>

using namespace OpenProbe;
using namespace std::chrono_literals;

static void BringUp(OperationGate &gate)
{
    const std::uint64_t mark = gate.BeginOpen();
    gate.Enter();
    QVERIFY(gate.ClearForOpen(mark) && gate.SetUp(mark));
    gate.Leave();
}

class OperationGateTest : public QObject {
    Q_OBJECT
private slots:
    void aCloseCancelsAnOpenThatWaits()
    {
        OperationGate gate;
        const std::uint64_t mark = gate.BeginOpen();
        gate.Cancel(); // comes while the Open still waits for the gate
        gate.Enter();
        QVERIFY(!gate.ClearForOpen(mark) && !gate.SetUp(mark));
        gate.Leave();
        BringUp(gate); // a later one is not cancelled
    }

    void whoWaitsLeavesWhenTheProbeGoesDown()
    {
        const std::function<void(OperationGate &)> ways[]
            = {&OperationGate::BeginOpen, &OperationGate::Cancel, &OperationGate::SetDown};
        for (const auto &goDown : ways) {
            OperationGate gate;
            BringUp(gate);
            QVERIFY(gate.EnterWhileUp());
            QVERIFY(!gate.EnterWithin(1ms));
            std::binary_semaphore started(0);
            auto reader = std::async(std::launch::async, [&] {
                started.release();
                return gate.EnterWhileUp();
            });
            started.acquire();
            goDown(gate);
            const auto ended = reader.wait_for(60s); // the gate is still held
            gate.Leave();
            QCOMPARE(ended, std::future_status::ready);
            QVERIFY(!reader.get());
        }
    }
};

QTEST_GUILESS_MAIN(OperationGateTest)
#include "tst_operationgate.moc"
