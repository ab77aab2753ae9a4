#include "backendtools.h"
#include "fakeservers.h"
#include "gdbbackend.h"
#include "peerprocess.h"
#include "probelibrary.h"

#include <QTcpSocket>
#include <QtTest>
#include <future>
#include <unistd.h>

using namespace OpenProbe;

/// What opening a peer fails with, without the port.
static QString OpenErrorAt(TargetKind kind, quint16 port)
{
    return OpenError(*MakeBackend(At(port, kind))).remove(QString(":%1").arg(port));
}

using Manners = FakeStub::Manners;

static bool ReadsSixteen(Backend &backend)
{
    return Bytes(backend, 0x1000, 16).size() == 16;
}

/// A connection in which `use` reads and writes, from its beginning to its end.
/// @param kinds  an expression for requests
/// @return "good" or "failed", the requests of these kinds, and whether the target runs afterwards
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

/// Stubs of every manner, and peers that keep to no protocol, at the start and in the middle.
class ScriptedPeersTest : public QObject {
    Q_OBJECT
private slots:
    void init() { SetPatience(60); }
    void everyMannerOfStubIsUnderstood_data()
    {
        QTest::addColumn<Manners>("manners");
        const auto row
            = [](const char *name, const Manners &manners) { QTest::newRow(name) << manners; };
        const auto inFront = [](const QByteArray &bytes) {
            return [bytes](const ScriptedPeer &peer, auto &, auto &reply) {
                return (peer.Send(bytes + reply), true);
            };
        };
        row("it ran before", {.ranBefore = true});
        row("answers while it runs", {.stopAnswer = "S00"});
        const char *const noAcks = "PacketSize=1000;QStartNoAckMode+";
        row("without acknowledgements", {.features = noAcks});
        row("smallest packets", {.features = "PacketSize=28"});
        row("packets larger than we use", {.features = "PacketSize=fffff"});
        row("damaged replies", {.badChecksums = 2});
        row("refused requests", {.refusals = 2});
        row("prints in between", {.deliver = inFront("$O48690a#bb")});
        row("notifies in between", {.deliver = inFront("%Other:x#b4")});
        row("an emulator that ran", {.ranBefore = true, .emulator = true});
        row("a halted emulator", {.emulator = true});
        row("prints 200 KiB", {.features = noAcks, .ranBefore = true, .printedPackets = 100});
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
                && Bytes(backend, 0x2000, 1) == "result 0"
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
        QCOMPARE(course({.ranBefore = true}), "good c interrupt c runs");
        QCOMPARE(course({.ranBefore = true, .interruptAnswer = "T05thread:01;"}),
            "good c interrupt halted"); // a breakpoint that was faster than the interrupt
        const char *const debugServer = "PacketSize=1000;qXfer:memory-map:read+";
        QVERIFY(course({.features = debugServer, .stopAnswer = "T02"})
                    .startsWith("good c ")); // it halted because we connected
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
                peer.Send(half && request == place ? reply.left(3) : reply);
                return true; // requests sent before the client left are still served
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

    void aPeerThatIsNoneGetsAText()
    {
        SetPatience(1);
        const std::map<QString, QByteArray> peers = {{"nothing", ""},
            {"another protocol", "HTTP/1.1 400 Bad Request\r\n\r\n"},
            {"endless noise", QByteArray(4096, 'x')},
            {"endless packet", "$" + QByteArray(4096, 'x')},
            {"endless acknowledgements", QByteArray(4096, '+')},
            {"endless stops", QByteArray("$S05#b8").repeated(100)}, {"half a packet", "+$PacketSi"},
            {"too many answers", "Open On-Chip Debugger\x1amore\x1a"}};
        const auto textOf = [](TargetKind kind, const QString &name, const QByteArray &says) {
            const ScriptedPeer peer([&](const ScriptedPeer &self) {
                for (bool more = self.Send(says); more && name.startsWith("endless");)
                    more = self.Send(says.right(4096));
                self.AwaitClient();
            });
            return name + ": " + OpenErrorAt(kind, peer.Port());
        };
        std::vector<std::future<QString>> texts; // all at once: each waits until its time is over
        QStringList expected;
        for (const auto &[name, says] : peers) {
            const QString here
                = name + ": 127.0.0.1 accepted the connection but does not answer as ";
            texts.push_back(std::async(std::launch::async, textOf, TargetKind::Gdb, name, says));
            expected += here + "a debug stub (another debugger may hold it).";
            texts.push_back(std::async(std::launch::async, textOf, TargetKind::Tcl, name, says));
            expected += here + "OpenOCD's Tcl server. For a debug stub use gdb:HOST:PORT.";
        }
        for (std::size_t i = 0; i < texts.size(); ++i)
            QCOMPARE(texts[i].get(), expected[qsizetype(i)]);
    }

    void aServerInTroubleGetsAText()
    {
        const auto textOf = [](const QByteArray &asked, const QByteArray &answer) {
            ScriptedPeer peer([&](ScriptedPeer &self) {
                ServeTcl(self, [&](const QByteArray &command) {
                    const bool isDead = asked == "curstate" && command.startsWith("read");
                    return command.contains(asked) || isDead ? answer : PoliteTclAnswer(command);
                });
            });
            return OpenErrorAt(TargetKind::Tcl, peer.Port());
        };
        QVERIFY(textOf("target names", "\x1a").startsWith("OpenOCD at 127.0.0.1 has no target. "));
        QVERIFY(textOf("curstate", "unknown\x1a")
                    .startsWith("OpenOCD at 127.0.0.1 does not reach its target (cpu). "));
        for (const char *const last : {"target names", "curstate", "-endian", "read_memory 0xe0"})
            QVERIFY2(textOf(last, {}).startsWith("127.0.0.1 gave up while its target was asked. "),
                last);
    }

    void aPlaceWithoutPeersGetsAText()
    {
        SetPatience(1);
        const auto textOf = [](const QString &selector) {
            return OpenError(*MakeBackend(ParseSelector(selector.toStdString(), 0)));
        };
        const QString here = QString("127.0.0.1:%1").arg(PeerProcess::FreePort());
        const QString refused = "Nothing accepts a connection at " + here + " (refused). Start ";
        QVERIFY(textOf(here).startsWith(refused + "the target, e.g. qemu-system-arm ... -gdb tcp"));
        QVERIFY(textOf("tcl:" + here).startsWith(refused + "OpenOCD for your board, "));
        QVERIFY(textOf("none.invalid").startsWith("No address for host \"none.invalid\". Check "));
        QVERIFY(textOf("255.255.255.255:9").startsWith("255.255.255.255:9 cannot be reached ("));
        // A host that takes no notice of an attempt to connect: its queue of clients is full.
        quint16 port = 0;
        const int listener = ListenOnLoopback(&port, 0);
        QTcpSocket first;
        first.connectToHost("127.0.0.1", port);
        QVERIFY(first.waitForConnected());
        const QString text = textOf(QString("127.0.0.1:%1").arg(port));
        close(listener);
        QVERIFY(text.startsWith(QString("127.0.0.1:%1 does not answer within 2 s. ").arg(port)));
    }

    void aPeerThatTurnsBadIsGivenUp_data()
    {
        QTest::addColumn<QByteArray>("spoiled");
        QTest::addColumn<char>("peer"); // a stub, or one that hangs up, or a server
        QTest::addColumn<bool>("lost");
        const auto row = [](const char *name, const QByteArray &spoiled, char peer = 's',
                             bool lost = true) { QTest::newRow(name) << spoiled << peer << lost; };
        row("hangs up", "$00", 'h');
        row("half a reply", "$0011");
        row("wrong checksums", QByteArray("$0011#00").repeated(5));
        row("the target has ended", "$W00#b7", 'h');
        row("an error", "$E14#aa", 's', false);
        // Each of these may answer another request, and then so may all that follows.
        row("more bytes than asked for", "$001122334455#5e");
        row("an empty reply", "$#00");
        row("an answer to a write", "$OK#9a");
        row("two answers", "$11#62$22#64");
        row("an answer too many, cut off", "$11#62$22#6");
        row("server: half an answer", "0x1", 't');
        row("server: never ends", QByteArray(200'000, '0'), 't');
        row("server: one answer too many", "0x1\x1a 0x2\x1a", 't');
        row("server: an error", "read_memory: failed to read memory\x1a", 't', false);
    }

    void aPeerThatTurnsBadIsGivenUp()
    {
        QFETCH(QByteArray, spoiled);
        QFETCH(char, peer);
        QFETCH(bool, lost);
        FakeStub::Manners manners;
        manners.deliver = [&](const ScriptedPeer &self, auto &request, auto &reply) {
            const bool isSpoiled = request.startsWith("m1");
            return self.Send(isSpoiled ? spoiled : reply) && !(isSpoiled && peer == 'h');
        };
        FakeStub stub(manners);
        ScriptedPeer server([&](ScriptedPeer &self) {
            ServeTcl(self, [&](const QByteArray &command) {
                return command.startsWith("read_memory 0x1000 ") ? spoiled
                                                                 : PoliteTclAnswer(command);
            });
        });
        const auto backend
            = MakeBackend(peer == 't' ? At(server.Port(), TargetKind::Tcl) : At(stub.Port()));
        QCOMPARE(OpenError(*backend), QString());
        if (lost)
            SetPatience(1); // nothing more will come
        QCOMPARE(Bytes(*backend, 0x1000, 1), lost ? "result -1" : "result 0");
        QCOMPARE(backend->Alive(), !lost);
        backend->Close();
    }
};

QTEST_GUILESS_MAIN(ScriptedPeersTest)
#include "tst_scriptedpeers.moc"
