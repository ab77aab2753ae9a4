#include "backendtools.h"
#include "fakestub.h"
#include "faketclserver.h"
#include "gdbbackend.h"
#include "loopback.h"
#include "peerprocess.h"
#include "probelibrary.h"

#include <QtTest>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

using namespace OpenProbe;

/// Peers that keep to no protocol, at the start and in the middle, on both kinds of connection.
class BadPeersTest : public QObject {
    Q_OBJECT
private slots:
    void aBadPeerGetsAText_data();
    void aBadPeerGetsAText();
    void aPlaceWithoutPeersGetsAText();
    void aSilentPlaceGetsAText();
    void aPeerThatTurnsBadIsGivenUp_data();
    void aPeerThatTurnsBadIsGivenUp();
};

static std::unique_ptr<Backend> BackendAt(TargetKind kind, quint16 port)
{
    TargetChoice choice = At(port);
    choice.kind = kind;
    return MakeBackend(choice);
}

Q_DECLARE_METATYPE(ScriptedPeer::Serve)

void BadPeersTest::aBadPeerGetsAText_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<ScriptedPeer::Serve>("serve");
    QTest::addColumn<QString>("text");
    const QString noStub = "%1 accepted the connection but does not answer as a debug stub"
                           " (another debugger may hold it).";
    const QString noServer = "%1 accepted the connection but does not answer as OpenOCD's Tcl "
                             "server. For a debug stub use gdb:HOST:PORT.";
    enum After { Waits, HangsUp, GoesOn };
    const auto row = [&](const char *name, const QByteArray &says, After after) {
        const ScriptedPeer::Serve serve = [=](ScriptedPeer &peer) {
            peer.Send(says);
            if (after == Waits)
                peer.AwaitClient();
            while (after == GoesOn && peer.Send(says.right(4096))) { }
        };
        QTest::addRow("stub: %s", name) << int(TargetKind::Gdb) << serve << noStub;
        QTest::addRow("server: %s", name) << int(TargetKind::Tcl) << serve << noServer;
    };
    row("says nothing", "", Waits);
    row("hangs up", "", HangsUp);
    row("another protocol", "HTTP/1.1 400 Bad Request\r\nConnection: close\r\n\r\n", Waits);
    row("endless noise", QByteArray(4096, 'x'), GoesOn);
    row("an endless packet", "$" + QByteArray(4096, 'x'), GoesOn);
    row("endless acknowledgements", QByteArray(4096, '+'), GoesOn);
    row("endless stops", QByteArray("$S05#b8").repeated(100), GoesOn);
    row("endless packets with wrong checksums", "+$OK#00", GoesOn);
    row("half a packet", "+$PacketSi", Waits);
    row("half a packet and gone", "+$PacketSi", HangsUp);
    row("more answers than questions", "Open On-Chip Debugger\x1amore\x1a", Waits);
    const auto server = [](const QByteArray &name, const TclAnswer &answer, const QString &text) {
        const ScriptedPeer::Serve serve = [=](ScriptedPeer &peer) { ServeTcl(peer, answer); };
        QTest::addRow("server: %s", name.constData()) << int(TargetKind::Tcl) << serve << text;
    };
    const TclAnswer noTarget = [](const QByteArray &command) {
        return command == "target names" ? QByteArray("\x1a") : PoliteTclAnswer(command);
    };
    server("no target", noTarget,
        "OpenOCD at %1 has no target. Start it with your chip's file, e.g. -f "
        "target/stm32f4x.cfg.");
    const TclAnswer noBoard = [](const QByteArray &command) {
        const bool asksTheBoard = command.startsWith("read") || command.endsWith("curstate");
        return asksTheBoard ? QByteArray("unknown\x1a") : PoliteTclAnswer(command);
    };
    server("no board", noBoard,
        "OpenOCD at %1 does not reach its target (cpu). Is the board powered and connected?");
    for (const QByteArray last :
        {"target names", "curstate", "-endian", "read_memory 0xe000ed00"}) {
        const TclAnswer hangsUp = [last](const QByteArray &command) {
            return command.contains(last) ? QByteArray() : PoliteTclAnswer(command);
        };
        server("ends at " + last, hangsUp,
            "%1 gave up while its target was asked. See OpenOCD's messages there.");
    }
}

void BadPeersTest::aBadPeerGetsAText()
{
    SetPatience(1);
    QFETCH(int, kind);
    QFETCH(ScriptedPeer::Serve, serve);
    QFETCH(QString, text);
    if (text.contains("target"))
        SetPatience(60); // these answer, if late
    ScriptedPeer peer(serve);
    const auto backend = BackendAt(TargetKind(kind), peer.Port());
    QCOMPARE(OpenError(*backend), text.arg(QString("127.0.0.1:%1").arg(peer.Port())));
    backend->Close();
}

void BadPeersTest::aPlaceWithoutPeersGetsAText()
{
    const quint16 port = PeerProcess::FreePort();
    const QString refused
        = QString("Nothing accepts a connection at 127.0.0.1:%1 (refused). ").arg(port);
    QCOMPARE(OpenError(*BackendAt(TargetKind::Gdb, port)),
        refused + QString("Start the target, e.g. qemu-system-arm ... -gdb tcp::%1.").arg(port));
    QCOMPARE(OpenError(*BackendAt(TargetKind::Tcl, port)),
        refused
            + "Start OpenOCD for your board, e.g. openocd -f board.cfg; its Tcl server is at "
              "port 6666.");
    const auto nowhere = MakeBackend(ParseSelector("no-such-host.invalid", 0));
    QCOMPARE(OpenError(*nowhere),
        "No address for host \"no-such-host.invalid\". Check its "
        "spelling or type its number, e.g. 192.168.0.10.");
    const auto unreachable = MakeBackend(ParseSelector("255.255.255.255:9", 0)); // has no host
    QCOMPARE(OpenError(*unreachable),
        QString("255.255.255.255:9 cannot be reached (%1). Check the address and this machine's "
                "network.")
            .arg(qt_error_string(ENETUNREACH)));
}

// A host that takes no notice of an attempt to connect: its queue of clients is full.
void BadPeersTest::aSilentPlaceGetsAText()
{
    SetPatience(1);
    quint16 port = 0;
    const int listener = ListenOnLoopback(&port, 0);
    const int first = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Loopback(port);
    QCOMPARE(::connect(first, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    const QString text = OpenError(*BackendAt(TargetKind::Gdb, port));
    close(first);
    close(listener);
    QCOMPARE(text,
        QString("127.0.0.1:%1 does not answer within 2 s. Check the address, and whether the "
                "machine is on and lets the port through.")
            .arg(port));
}

void BadPeersTest::aPeerThatTurnsBadIsGivenUp_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QByteArray>("spoiled");
    QTest::addColumn<bool>("hangsUp");
    QTest::addColumn<bool>("lost");
    const auto stub = [](const char *name, const QByteArray &spoiled, bool hangsUp, bool lost) {
        QTest::addRow("stub: %s", name) << int(TargetKind::Gdb) << spoiled << hangsUp << lost;
    };
    stub("silence", "+", false, true);
    stub("hangs up", "$00", true, true);
    stub("half a reply", "$0011", false, true);
    stub("wrong checksums", QByteArray("$0011#00").repeated(5), false, true);
    stub("endless", QByteArray(40'000, 'x'), false, true);
    stub("longer than any packet", "$" + QByteArray(40'000, '0') + "#00", false, true);
    stub("the target has ended", "$W00#b7", true, true);
    stub("an error", "$E14#aa", false, false);
    // Each of these may answer another request, and then so may all that follows.
    stub("more bytes than asked for", "$001122334455#5e", false, true);
    stub("no hex digits", "$zzzzzzzz#d0", false, true);
    stub("an empty reply", "$#00", false, true);
    stub("an answer to a write", "$OK#9a", false, true);
    stub("two answers", "$11#62$22#64", false, true);
    stub("an answer too many, cut off", "$11#62$22#6", false, true);
    const auto server = [](const char *name, const QByteArray &spoiled, bool lost) {
        QTest::addRow("server: %s", name) << int(TargetKind::Tcl) << spoiled << false << lost;
    };
    server("silence", "", true);
    server("half an answer", "0x1", true);
    server("never ends", QByteArray(200'000, '0'), true);
    server("one answer too many", "0x1\x1a 0x2\x1a", true);
    server("an error", "read_memory: failed to read memory\x1a", false);
    server("too many numbers", "0x1 0x2\x1a", false);
    server("an empty answer", "\x1a", false);
}

void BadPeersTest::aPeerThatTurnsBadIsGivenUp()
{
    SetPatience(60);
    QFETCH(int, kind);
    QFETCH(QByteArray, spoiled);
    QFETCH(bool, hangsUp);
    QFETCH(bool, lost);
    FakeStub::Manners manners;
    manners.hangUpAfterSpoiled = hangsUp;
    manners.spoil = [&](const QByteArray &request) {
        return request.startsWith("m1") ? spoiled : QByteArray();
    };
    FakeStub stub(manners);
    ScriptedPeer server([&](ScriptedPeer &self) {
        ServeTcl(self, [&](const QByteArray &command) {
            return command.startsWith("read_memory 0x1000 ") ? spoiled : PoliteTclAnswer(command);
        });
    });
    const bool isStub = TargetKind(kind) == TargetKind::Gdb;
    const auto backend = BackendAt(TargetKind(kind), isStub ? stub.Port() : server.Port());
    QCOMPARE(OpenError(*backend), QString());
    if (lost)
        SetPatience(1); // nothing more will come
    QCOMPARE(Bytes(*backend, 0x1000, 1), lost ? "result -1" : "result 0");
    QCOMPARE(backend->Alive(), !lost);
    backend->Close();
}

QTEST_GUILESS_MAIN(BadPeersTest)
#include "tst_badpeers.moc"
