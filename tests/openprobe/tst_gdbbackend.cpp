#include "backendtools.h"
#include "fakestub.h"
#include "gdbbackend.h"

#include <QtTest>

using namespace OpenProbe;

class GdbBackendTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { SetPatience(60); }
    void everyMannerOfStubIsUnderstood_data();
    void everyMannerOfStubIsUnderstood();
    void requestsAreAsLongAndAsWideAsAllowed_data();
    void requestsAreAsLongAndAsWideAsAllowed();
    void theTargetIsLeftAsItWasFound_data();
    void theTargetIsLeftAsItWasFound();
    void aServersHaltForUsIsTakenBack_data();
    void aServersHaltForUsIsTakenBack();
    void aBreakpointThatWasFasterStaysInForce();
    void onlyAnAttachedProcessRunsOnInNonStopMode();
    void aCancelledOpenLeavesTheTargetRunning_data();
    void aCancelledOpenLeavesTheTargetRunning();
    void longReadsLetTheTargetRunAndWritesAskFirst();

private:
    /// A connection with one read in it, from its beginning to its end.
    static void ReadOnce(FakeStub &stub)
    {
        GdbBackend backend(At(stub.Port()));
        QCOMPARE(OpenError(backend), QString());
        QCOMPARE(Bytes(backend, 0x1000, 16).size(), 16);
        backend.Close();
        QTRY_COMPARE_WITH_TIMEOUT(stub.Served(), 1, 60'000);
    }
};

Q_DECLARE_METATYPE(FakeStub::Manners)

void GdbBackendTest::everyMannerOfStubIsUnderstood_data()
{
    QTest::addColumn<FakeStub::Manners>("manners");
    const auto row = [](const char *name, auto change) {
        FakeStub::Manners manners;
        change(manners);
        QTest::newRow(name) << manners;
    };
    using M = FakeStub::Manners;
    row("it ran before", [](M &m) { m.ranBefore = true; });
    row("answers while it runs", [](M &m) { m.stopAnswer = "S00"; });
    row("without acknowledgements", [](M &m) { m.features = "PacketSize=400;QStartNoAckMode+"; });
    row("tells nothing of itself", [](M &m) { m.features = ""; });
    row("smallest packets", [](M &m) { m.features = "PacketSize=28"; });
    row("packets larger than we use", [](M &m) { m.features = "PacketSize=fffff"; });
    row("damaged replies", [](M &m) { m.badChecksums = 2; });
    row("refused requests", [](M &m) { m.refusals = 2; });
    row("prints in between", [](M &m) { m.before = "$O48690a#bb"; });
    row("notifies in between", [](M &m) { m.before = "%Other:x#b4"; });
    row("an emulator that ran", [](M &m) { m.emulator = m.ranBefore = true; });
    row("an emulator that says what it is", [](M &m) {
        m.emulator = m.ranBefore = true;
        m.features += ";vContSupported+;multiprocess+";
    });
    row("a halted emulator", [](M &m) { m.emulator = true; });
    row("prints 200 KiB between reads", [](M &m) {
        m.ranBefore = true;
        m.features = "PacketSize=1000;QStartNoAckMode+";
        m.printedPackets = 100;
    });
}

void GdbBackendTest::everyMannerOfStubIsUnderstood()
{
    QFETCH(FakeStub::Manners, manners);
    FakeStub stub(manners);
    const QByteArray memory = stub.m_memory;
    {
        GdbBackend backend(At(stub.Port()));
        QCOMPARE(OpenError(backend), QString());
        QCOMPARE(Bytes(backend, 0x1001, 3000), memory.mid(1, 3000));
        QByteArray data(3000, '\0');
        QCOMPARE(Read(backend, 0x1F00, data), 256);
        QCOMPARE(data.left(256), memory.right(256));
        QCOMPARE(Write(backend, 0x1101, "hello world, how are you"), 24);
        QCOMPARE(Write(backend, 0x1FFE, "hello world"), -1);
        QVERIFY(backend.Alive());
        backend.Close();
    }
    QTRY_COMPARE_WITH_TIMEOUT(stub.Served(), 1, 60'000);
    QCOMPARE(stub.Runs(), manners.ranBefore);
    QCOMPARE(stub.Requests().filter("OFFENCE"), QStringList());
    QCOMPARE(stub.m_memory.mid(0x101, 24), "hello world, how are you");
    QCOMPARE(stub.m_memory.right(2), memory.right(2));
}

void GdbBackendTest::requestsAreAsLongAndAsWideAsAllowed_data()
{
    QTest::addColumn<QByteArray>("features");
    QTest::addColumn<quint32>("address");
    QTest::addColumn<int>("count");
    QTest::addColumn<quint32>("width");
    QTest::addColumn<QString>("requests");
    const QByteArray usual = "PacketSize=1000";
    QTest::newRow("any width") << usual << 0x1001U << 13 << 0U << "m1001,d";
    QTest::newRow("longest") << usual << 0x1000U << 2052 << 0U << "m1000,800 m1800,4";
    QTest::newRow("bytes") << usual << 0x1000U << 3 << 1U << "m1000,1 m1001,1 m1002,1";
    QTest::newRow("halves") << usual << 0x1001U << 6 << 2U << "m1001,1 m1002,2 m1004,2 m1006,1";
    QTest::newRow("words") << usual << 0x1003U << 12 << 4U << "m1003,1 m1004,8 m100c,2 m100e,1";
    QTest::newRow("small packets")
        << QByteArray("PacketSize=18") << 0x1000U << 16 << 0U << "m1000,c m100c,4";
    QTest::newRow("no size told") << QByteArray() << 0x1000U << 129 << 0U << "m1000,80 m1080,1";
}

void GdbBackendTest::requestsAreAsLongAndAsWideAsAllowed()
{
    QFETCH(QByteArray, features);
    QFETCH(quint32, address);
    QFETCH(int, count);
    QFETCH(quint32, width);
    FakeStub::Manners manners;
    manners.features = features;
    FakeStub stub(manners);
    GdbBackend backend(At(stub.Port()));
    QCOMPARE(OpenError(backend), QString());
    const qsizetype before = stub.Requests().size();
    QCOMPARE(Bytes(backend, address, count, width).size(), count);
    const QStringList asked = stub.Requests().mid(before);
    QTEST(asked.filter(QRegularExpression("^m")).join(' '), "requests");
    backend.Close();
}

void GdbBackendTest::theTargetIsLeftAsItWasFound_data()
{
    QTest::addColumn<bool>("ranBefore");
    QTest::addColumn<bool>("cancelled");
    QTest::newRow("halted") << false << false;
    QTest::newRow("halted, cancelled in a read") << false << true;
    QTest::newRow("ran") << true << false;
    QTest::newRow("ran, cancelled in a read") << true << true;
}

void GdbBackendTest::theTargetIsLeftAsItWasFound()
{
    QFETCH(bool, ranBefore);
    QFETCH(bool, cancelled);
    const CancelSignal cancel;
    FakeStub::Manners manners;
    manners.ranBefore = ranBefore;
    manners.spoil = [&](const QByteArray &request) {
        if (!cancelled || request != "m1000,10")
            return QByteArray();
        cancel.Raise(); // while the reply is on its way, which it then is not
        return QByteArray("$00");
    };
    FakeStub stub(manners);
    GdbBackend backend(At(stub.Port()));
    QCOMPARE(QString::fromStdString(backend.Open(cancel)), QString());
    QByteArray data(16, '\0');
    QCOMPARE(Read(backend, 0x1000, data), cancelled ? -1 : 16);
    backend.Close();
    QTRY_COMPARE_WITH_TIMEOUT(stub.Served(), 1, 60'000);
    QCOMPARE(stub.Runs(), ranBefore);
    QVERIFY(ranBefore || !stub.Requests().contains("c"));
}

void GdbBackendTest::aServersHaltForUsIsTakenBack_data()
{
    QTest::addColumn<QByteArray>("features");
    QTest::addColumn<QByteArray>("stopAnswer");
    QTest::addColumn<int>("continues");
    const QByteArray server = "PacketSize=1000;qXfer:memory-map:read+";
    QTest::newRow("halted for a new client") << server << QByteArray("T02") << 1;
    QTest::newRow("stands at a breakpoint") << server << QByteArray("T05") << 0;
    QTest::newRow("no debug server") << QByteArray("PacketSize=1000") << QByteArray("T02") << 0;
}

void GdbBackendTest::aServersHaltForUsIsTakenBack()
{
    QFETCH(QByteArray, features);
    QFETCH(QByteArray, stopAnswer);
    FakeStub::Manners manners;
    manners.features = features;
    manners.stopAnswer = stopAnswer;
    FakeStub stub(manners);
    ReadOnce(stub);
    QTEST(int(stub.Requests().count("c")), "continues");
}

void GdbBackendTest::aBreakpointThatWasFasterStaysInForce()
{
    FakeStub::Manners manners;
    manners.ranBefore = true;
    manners.interruptAnswer = "T05thread:01;";
    FakeStub stub(manners);
    ReadOnce(stub);
    QCOMPARE(stub.Requests().count("interrupt"), 1);
    QCOMPARE(stub.Requests().count("c"), 1); // from opening, before the breakpoint
}

void GdbBackendTest::onlyAnAttachedProcessRunsOnInNonStopMode()
{
    for (const char *attached : {"0", "1"}) {
        FakeStub::Manners manners;
        manners.features = "PacketSize=1000;QNonStop+";
        manners.spoil = [attached](const QByteArray &request) {
            const QHash<QByteArray, QByteArray> answers{{"QNonStop:1", "OK"},
                {"?", "T00thread:01;"}, {"vStopped", "OK"}, {"qC", "QC01"}, {"Hg01", "OK"},
                {"qAttached", attached}, {"vCont;c", "OK"}};
            return answers.contains(request) ? FakeStub::Packet(answers[request]) : QByteArray();
        };
        FakeStub stub(manners);
        ReadOnce(stub);
        QCOMPARE(stub.Requests().count("vCont;c"), *attached == '1' ? 1 : 0);
        QCOMPARE(stub.Requests().filter(QRegularExpression("^(c|interrupt)$")), QStringList());
    }
}

void GdbBackendTest::aCancelledOpenLeavesTheTargetRunning_data()
{
    QTest::addColumn<bool>("emulator");
    QTest::addColumn<QByteArray>("cancelledAt");
    // As early as it can come: the stub has seen the connection and stopped its target.
    QTest::newRow("before the first question") << false << QByteArray();
    QTest::newRow("while it says what it supports") << false << QByteArray("qSupported");
    QTest::newRow("while it says how it stands") << false << QByteArray("?");
    QTest::newRow("emulator, before the first question") << true << QByteArray();
    QTest::newRow("emulator, while it says what it supports") << true << QByteArray("qSupported");
    QTest::newRow("emulator, when it runs already") << true << QByteArray("qqemu.sstepbits");
}

void GdbBackendTest::aCancelledOpenLeavesTheTargetRunning()
{
    QFETCH(bool, emulator);
    QFETCH(QByteArray, cancelledAt);
    const CancelSignal cancel;
    FakeStub::Manners manners;
    manners.ranBefore = true;
    manners.emulator = emulator;
    manners.features = "PacketSize=1000;vContSupported+;multiprocess+";
    if (!emulator)
        manners.features = "PacketSize=1000";
    manners.spoil = [&](const QByteArray &request) {
        if (request == cancelledAt)
            cancel.Raise(); // and the answer comes all the same
        return QByteArray();
    };
    if (cancelledAt.isEmpty())
        cancel.Raise();
    FakeStub stub(manners);
    GdbBackend backend(At(stub.Port()));
    const bool opened = backend.Open(cancel).empty();
    backend.Close();
    QVERIFY(!opened || !cancelledAt.isEmpty()); // an answer may be faster than the cancel
    QTRY_COMPARE_WITH_TIMEOUT(stub.Served(), 1, 60'000);
    QVERIFY(stub.Runs());
    QCOMPARE(stub.Requests().count("c"), 1);
}

void GdbBackendTest::longReadsLetTheTargetRunAndWritesAskFirst()
{
    FakeStub::Manners manners;
    manners.ranBefore = true;
    FakeStub stub(manners);
    GdbBackend backend(At(stub.Port()));
    QCOMPARE(OpenError(backend), QString());
    QCOMPARE(Bytes(backend, 0x1000, 2048, 1).size(), 2048);
    const qsizetype before = stub.Requests().size();
    QVERIFY(stub.Requests().count("interrupt") >= 4);
    QCOMPARE(Write(backend, 0x1010, "abcd"), 4); // what has just been displayed
    QCOMPARE(Write(backend, 0x1E00, "abcd"), 4);
    backend.Close();
    QTRY_COMPARE_WITH_TIMEOUT(stub.Served(), 1, 60'000);
    QVERIFY(stub.Runs());
    const QString tail = stub.Requests().mid(before).filter(QRegularExpression("^[mM]")).join(' ');
    QCOMPARE(tail, "M1010,4:61626364 m1e00,4 M1e00,4:61626364");
    QCOMPARE(stub.Requests().count("c"), stub.Requests().count("interrupt") + 1);
    QCOMPARE(stub.Requests().filter("OFFENCE"), QStringList());
}

QTEST_GUILESS_MAIN(GdbBackendTest)
#include "tst_gdbbackend.moc"
