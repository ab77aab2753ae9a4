#include "backendtools.h"
#include "fakestub.h"
#include "gdbbackend.h"

#include <QtTest>

using namespace OpenProbe;

using Manners = FakeStub::Manners;
Q_DECLARE_METATYPE(Manners)

static bool ReadsSixteen(Backend &backend)
{
    return Bytes(backend, 0x1000, 16).size() == 16;
}

/// A connection in which `use` reads and writes, from its beginning to its end.
/// @param kinds  an expression for requests
/// @return how it went, those requests that the stub was asked, and what the target does then
static QString Course(FakeStub &stub, const QString &kinds,
    const std::function<bool(Backend &)> &use = ReadsSixteen, const CancelSignal &cancel = {})
{
    GdbBackend backend(At(stub.Port()));
    const bool good = backend.Open(cancel).empty() && use(backend);
    backend.Close();
    const bool over = QTest::qWaitFor([&] { return stub.Served() == 1; }, 60'000);
    QStringList course = stub.Requests().filter(QRegularExpression("^(" + kinds + ")"));
    course.prepend(over ? good ? "good" : "failed" : "hangs");
    course.append(stub.Runs() ? "runs" : "halted");
    return course.join(' ');
}

class GdbBackendTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { SetPatience(60); }
    void everyMannerOfStubIsUnderstood_data()
    {
        QTest::addColumn<Manners>("manners");
        const auto row
            = [](const char *name, const Manners &manners) { QTest::newRow(name) << manners; };
        const auto inFront = [](const QByteArray &bytes) {
            return [bytes](const ScriptedPeer &peer, auto &, auto &reply) {
                return peer.Send(bytes + reply);
            };
        };
        row("it ran before", {.ranBefore = true});
        row("answers while it runs", {.stopAnswer = "S00"});
        row("without acknowledgements", {.features = "PacketSize=400;QStartNoAckMode+"});
        row("tells nothing of itself", {.features = ""});
        row("smallest packets", {.features = "PacketSize=28"});
        row("packets larger than we use", {.features = "PacketSize=fffff"});
        row("damaged replies", {.badChecksums = 2});
        row("refused requests", {.refusals = 2});
        row("prints in between", {.deliver = inFront("$O48690a#bb")});
        row("notifies in between", {.deliver = inFront("%Other:x#b4")});
        row("an emulator that ran", {.ranBefore = true, .emulator = true});
        row("an emulator that says what it is",
            {.features = "PacketSize=1000;vContSupported+;multiprocess+",
                .ranBefore = true,
                .emulator = true});
        row("a halted emulator", {.emulator = true});
        row("prints 200 KiB between reads",
            {.features = "PacketSize=1000;QStartNoAckMode+",
                .ranBefore = true,
                .printedPackets = 100});
    }

    void everyMannerOfStubIsUnderstood()
    {
        QFETCH(Manners, manners);
        FakeStub stub(manners);
        const QByteArray memory = stub.m_memory;
        const QString course = Course(stub, "OFFENCE", [&](Backend &backend) {
            QByteArray data(3000, '\0');
            return Bytes(backend, 0x1001, 3000) == memory.mid(1, 3000)
                && Read(backend, 0x1F00, data) == 256 && data.startsWith(memory.right(256))
                && Write(backend, 0x1101, "hello world, how are you") == 24
                && Write(backend, 0x1FFE, "hello world") == -1 && backend.Alive();
        });
        QCOMPARE(course, manners.ranBefore ? "good runs" : "good halted");
        QCOMPARE(stub.m_memory, QByteArray(memory).replace(0x101, 24, "hello world, how are you"));
    }

    void requestsAreAsLongAndAsWideAsAllowed()
    {
        const auto requests = [](const char *features, quint32 address, int count, quint32 width) {
            FakeStub stub({.features = features});
            return Course(stub, "m1", [&](Backend &backend) {
                return Bytes(backend, address, count, width).size() == count;
            });
        };
        const char *const usual = "PacketSize=1000";
        QCOMPARE(requests(usual, 0x1001, 13, 0), "good m1001,d halted");
        QCOMPARE(requests(usual, 0x1000, 2052, 0), "good m1000,800 m1800,4 halted");
        QCOMPARE(requests(usual, 0x1000, 3, 1), "good m1000,1 m1001,1 m1002,1 halted");
        QCOMPARE(requests(usual, 0x1001, 6, 2), "good m1001,1 m1002,2 m1004,2 m1006,1 halted");
        QCOMPARE(requests(usual, 0x1003, 12, 4), "good m1003,1 m1004,8 m100c,2 m100e,1 halted");
        QCOMPARE(requests("PacketSize=18", 0x1000, 16, 0), "good m1000,c m100c,4 halted");
        QCOMPARE(requests("", 0x1000, 129, 0), "good m1000,80 m1080,1 halted");
    }

    void theTargetIsLeftAsItWasFound()
    {
        const auto course = [](const Manners &manners) {
            FakeStub stub(manners);
            return Course(stub, "interrupt|c$");
        };
        QCOMPARE(course({}), "good halted");
        QCOMPARE(course({.ranBefore = true}), "good c interrupt c runs");
        QCOMPARE(course({.ranBefore = true, .interruptAnswer = "T05thread:01;"}),
            "good c interrupt halted"); // a breakpoint that was faster than the interrupt
        const char *const debugServer = "PacketSize=1000;qXfer:memory-map:read+";
        QVERIFY(course({.features = debugServer, .stopAnswer = "T02"})
                    .startsWith("good c ")); // its halt was for us
        QCOMPARE(course({.features = debugServer, .stopAnswer = "T05"}), "good halted");
        QCOMPARE(course({.stopAnswer = "T02"}), "good halted");
    }

    void aCancelledCallLeavesTheTargetAsItWas()
    {
        // Raised when that is asked; the answer is half sent, or comes all the same.
        const auto cancelled = [](const QByteArray &place, const char *features,
                                   bool ranBefore = true, bool half = false) {
            const CancelSignal cancel;
            Manners manners{.features = features, .ranBefore = ranBefore};
            manners.emulator = manners.features.contains("multiprocess");
            manners.deliver = [&](const ScriptedPeer &peer, auto &request, auto &reply) {
                if (request == place)
                    cancel.Raise();
                return peer.Send(half && request == place ? reply.left(3) : reply);
            };
            if (place.isEmpty())
                cancel.Raise();
            FakeStub stub(manners);
            return Course(stub, "interrupt|c$", ReadsSixteen, cancel);
        };
        const char *const plain = "PacketSize=1000";
        const char *const emulator = "PacketSize=1000;vContSupported+;multiprocess+";
        QCOMPARE(cancelled("m1000,10", plain, false, true), "failed halted");
        QCOMPARE(cancelled("m1000,10", plain, true, true), "failed c interrupt c runs");
        // As early as it can come: the stub has seen the connection and stopped its target.
        QCOMPARE(cancelled("", plain), "failed c runs");
        QCOMPARE(cancelled("", emulator), "failed c runs");
        // Later an answer may be faster than the cancel.
        for (const char *const place : {"qSupported", "?"})
            QVERIFY2(cancelled(place, plain).endsWith("c runs"), place);
        for (const char *const place : {"qSupported", "qqemu.sstepbits"})
            QVERIFY2(cancelled(place, emulator).endsWith("c runs"), place);
    }

    void longReadsLetTheTargetRunAndWritesAskFirst()
    {
        FakeStub stub({.ranBefore = true});
        const QString course = Course(stub, "interrupt|c$|m1e|M", [](Backend &backend) {
            return Bytes(backend, 0x1000, 2048, 1).size() == 2048
                && Write(backend, 0x1010, "abcd") == 4 // what has just been displayed
                && Write(backend, 0x1E00, "abcd") == 4;
        });
        const QString pauses = " c interrupt";
        QVERIFY2(course.startsWith("good" + pauses.repeated(4)), qPrintable(course));
        QCOMPARE(QString(course).remove(pauses),
            "good M1010,4:61626364 m1e00,4 M1e00,4:61626364 c runs");
    }
};

QTEST_GUILESS_MAIN(GdbBackendTest)
#include "tst_gdbbackend.moc"
