#include "backendtools.h"
#include "fakestub.h"
#include "gdbbackend.h"

#include <QtTest>

using namespace OpenProbe;

Q_DECLARE_METATYPE(FakeStub::Manners)

class GdbBackendTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { SetPatience(60); }
    void everyMannerOfStubIsUnderstood_data()
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
        row("without acknowledgements",
            [](M &m) { m.features = "PacketSize=400;QStartNoAckMode+"; });
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

    void everyMannerOfStubIsUnderstood()
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

    void requestsAreAsLongAndAsWideAsAllowed()
    {
        const auto requests = [](const char *features, quint32 address, int count, quint32 width) {
            FakeStub::Manners manners;
            manners.features = features;
            FakeStub stub(manners);
            GdbBackend backend(At(stub.Port()));
            const bool opened = OpenError(backend).isEmpty();
            const qsizetype before = stub.Requests().size();
            const bool good = opened && Bytes(backend, address, count, width).size() == count;
            backend.Close();
            const QStringList asked = stub.Requests().mid(before);
            return good ? asked.filter(QRegularExpression("^m")).join(' ') : "failed";
        };
        const char *const usual = "PacketSize=1000";
        QCOMPARE(requests(usual, 0x1001, 13, 0), "m1001,d");
        QCOMPARE(requests(usual, 0x1000, 2052, 0), "m1000,800 m1800,4");
        QCOMPARE(requests(usual, 0x1000, 3, 1), "m1000,1 m1001,1 m1002,1");
        QCOMPARE(requests(usual, 0x1001, 6, 2), "m1001,1 m1002,2 m1004,2 m1006,1");
        QCOMPARE(requests(usual, 0x1003, 12, 4), "m1003,1 m1004,8 m100c,2 m100e,1");
        QCOMPARE(requests("PacketSize=18", 0x1000, 16, 0), "m1000,c m100c,4");
        QCOMPARE(requests("", 0x1000, 129, 0), "m1000,80 m1080,1");
    }

    void theTargetIsLeftAsItWasFound()
    {
        const CancelSignal cancel;
        const auto asked = [&](auto change) {
            FakeStub::Manners manners;
            change(manners);
            FakeStub stub(manners);
            const QString outcome = ReadOnce(stub, cancel, "interrupt|c");
            return outcome + (stub.Runs() ? " runs" : " halted");
        };
        using M = FakeStub::Manners;
        QCOMPARE(asked([](M &) {}), " halted");
        QCOMPARE(asked([](M &m) { m.ranBefore = true; }), "c interrupt c runs");
        QCOMPARE(asked([](M &m) { // a breakpoint that was faster than the interrupt
            m.ranBefore = true;
            m.interruptAnswer = "T05thread:01;";
        }),
            "c interrupt halted");
        const auto server = [](const char *features, const char *stopAnswer) {
            return [=](M &m) {
                m.features = features;
                m.stopAnswer = stopAnswer;
            };
        };
        const char *const debugServer = "PacketSize=1000;qXfer:memory-map:read+";
        QVERIFY(asked(server(debugServer, "T02")).startsWith("c ")); // its halt was for us
        QCOMPARE(asked(server(debugServer, "T05")), " halted");      // stands at a breakpoint
        QCOMPARE(asked(server("PacketSize=1000", "T02")), " halted");
        for (const bool ranBefore : {false, true}) { // last: cancelled in a read
            QCOMPARE(asked([&](M &m) {
                m.ranBefore = ranBefore;
                m.spoil = [&cancel](const QByteArray &request) {
                    if (request == "m1000,10")
                        cancel.Raise(); // while the reply is on its way, which it then is not
                    return request == "m1000,10" ? QByteArray("$00") : QByteArray();
                };
            }),
                ranBefore ? "failed c interrupt c runs" : "failed  halted");
            cancel.Clear();
        }
    }

    void aCancelledOpenLeavesTheTargetRunning()
    {
        const auto cancelledAt = [](const QByteArray &place, const char *features) {
            const CancelSignal cancel;
            FakeStub::Manners manners;
            manners.ranBefore = true;
            manners.features = features;
            manners.emulator = manners.features.contains("multiprocess");
            manners.spoil = [&](const QByteArray &request) {
                if (request == place)
                    cancel.Raise(); // and the answer comes all the same
                return QByteArray();
            };
            if (place.isEmpty())
                cancel.Raise();
            FakeStub stub(manners);
            const QString outcome = ReadOnce(stub, cancel, "c");
            return stub.Runs() ? outcome : "halted";
        };
        const char *const plain = "PacketSize=1000";
        const char *const emulator = "PacketSize=1000;vContSupported+;multiprocess+";
        // As early as it can come: the stub has seen the connection and stopped its target.
        QCOMPARE(cancelledAt("", plain), "failed c");
        QCOMPARE(cancelledAt("", emulator), "failed c");
        // Later an answer may be faster than the cancel.
        for (const char *const place : {"qSupported", "?"})
            QVERIFY2(cancelledAt(place, plain).endsWith("c"), place);
        for (const char *const place : {"qSupported", "qqemu.sstepbits"})
            QVERIFY2(cancelledAt(place, emulator).endsWith("c"), place);
    }

    void longReadsLetTheTargetRunAndWritesAskFirst()
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
        const QString tail
            = stub.Requests().mid(before).filter(QRegularExpression("^[mM]")).join(' ');
        QCOMPARE(tail, "M1010,4:61626364 m1e00,4 M1e00,4:61626364");
        QCOMPARE(stub.Requests().count("c"), stub.Requests().count("interrupt") + 1);
    }

private:
    /// A connection with one read of 16 bytes in it, from its beginning to its end.
    /// @return how the read went, and the requests of those kinds that the stub was asked
    static QString ReadOnce(FakeStub &stub, const CancelSignal &cancel, const QString &kinds)
    {
        GdbBackend backend(At(stub.Port()));
        const bool opened = backend.Open(cancel).empty();
        const bool good = opened && Bytes(backend, 0x1000, 16) == stub.m_memory.left(16);
        backend.Close();
        const bool over = QTest::qWaitFor([&] { return stub.Served() == 1; }, 60'000);
        const QStringList asked = stub.Requests().filter(QRegularExpression("^(" + kinds + ")$"));
        return (over ? good ? "" : "failed " : "hangs ") + asked.join(' ');
    }
};

QTEST_GUILESS_MAIN(GdbBackendTest)
#include "tst_gdbbackend.moc"
