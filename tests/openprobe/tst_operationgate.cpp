#include "operationgate.h"

#include <QtTest>
#include <future>
#include <semaphore>
#include <thread>

using namespace OpenProbe;
using namespace std::chrono_literals;

class OperationGateTest : public QObject {
    Q_OBJECT
private slots:
    void onlyALaterCloseCancelsAnOpen();
    void aWaitingReaderLeavesWhenTheProbeGoesDown_data();
    void aWaitingReaderLeavesWhenTheProbeGoesDown();
    void theStateIsAnsweredWhileAnOperationRuns();
};

static void BringUp(OperationGate &gate)
{
    const std::uint64_t mark = gate.BeginOpen();
    gate.Enter();
    QVERIFY(gate.ClearForOpen(mark));
    QVERIFY(gate.SetUp(mark));
    gate.Leave();
}

void OperationGateTest::onlyALaterCloseCancelsAnOpen()
{
    OperationGate gate;
    gate.Cancel();
    QVERIFY(gate.Cancelled().IsRaised());
    const std::uint64_t mark = gate.BeginOpen();
    gate.Enter();
    QVERIFY(gate.ClearForOpen(mark)); // the earlier one is forgotten
    QVERIFY(!gate.Cancelled().IsRaised());
    gate.Cancel();
    QVERIFY(gate.Cancelled().IsRaised());
    QVERIFY(!gate.SetUp(mark));
    gate.Leave();
    const std::uint64_t waiting = gate.BeginOpen();
    gate.Cancel(); // comes while the Open still waits for the gate
    gate.Enter();
    QVERIFY(!gate.ClearForOpen(waiting));
    gate.Leave();
    BringUp(gate);
}

void OperationGateTest::aWaitingReaderLeavesWhenTheProbeGoesDown_data()
{
    QTest::addColumn<int>("how");
    QTest::newRow("an Open begins") << 0;
    QTest::newRow("a Close comes") << 1;
    QTest::newRow("the link is lost") << 2;
}

void OperationGateTest::aWaitingReaderLeavesWhenTheProbeGoesDown()
{
    QFETCH(int, how);
    OperationGate gate;
    BringUp(gate);
    QVERIFY(gate.EnterWhileUp());
    std::binary_semaphore started(0);
    auto reader = std::async(std::launch::async, [&] {
        started.release();
        return gate.EnterWhileUp();
    });
    started.acquire();
    if (how == 0)
        (void)gate.BeginOpen();
    else if (how == 1)
        gate.Cancel();
    else
        gate.SetDown();
    QCOMPARE(reader.wait_for(20s), std::future_status::ready); // the gate is still held
    QVERIFY(!reader.get());
    gate.Leave();
}

void OperationGateTest::theStateIsAnsweredWhileAnOperationRuns()
{
    OperationGate gate;
    BringUp(gate);
    QVERIFY(gate.EnterWhileUp());
    QVERIFY(gate.WithState([](bool up) { return up; }));
    QVERIFY(!gate.EnterWithin(1ms));
    gate.Leave();
    QVERIFY(gate.EnterWithin(1ms));
    gate.Leave();
}

QTEST_GUILESS_MAIN(OperationGateTest)
#include "tst_operationgate.moc"
