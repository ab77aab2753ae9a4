#include "cancelsignal.h"
#include "fakestub.h"
#include "gdbbackend.h"
#include "peerprocess.h"

#include <QtTest>

using namespace OpenProbe;

class GdbBackendTest : public QObject {
    Q_OBJECT
private slots:
    void everyMannerOfStubIsUnderstood_data();
    void everyMannerOfStubIsUnderstood();
    void requestsAreAsLongAndAsWideAsAllowed_data();
    void requestsAreAsLongAndAsWideAsAllowed();
    void theTargetIsLeftAsItWasFound_data();
    void theTargetIsLeftAsItWasFound();
    void longReadsLetTheTargetRunInBetween();
    void writesAskFirstWhereNothingIsKnown();
    void badPeersGetAText_data();
    void badPeersGetAText();
    void aPlaceWithoutPeersGetsAText();
    void aPeerThatTurnsBadIsGivenUp_data();
    void aPeerThatTurnsBadIsGivenUp();

private:
    CancelSignal m_cancel;
};

static Selection At(quint16 port)
{
    Selection selection;
    selection.kind = TargetKind::Gdb;
    selection.host = "127.0.0.1";
    selection.port = port;
    return selection;
}

static int Read(Backend &backend, quint32 address, QByteArray &data, quint32 width = 0)
{
    return backend.Read(
        address, {reinterpret_cast<std::uint8_t *>(data.data()), size_t(data.size())}, width);
}

static int Write(Backend &backend, quint32 address, const QByteArray &data, quint32 width = 0)
{
    return backend.Write(address,
        {reinterpret_cast<const std::uint8_t *>(data.constData()), size_t(data.size())}, width);
}

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
    row("regular", [](M &) {});
    row("it ran before", [](M &m) { m.ranBefore = true; });
    row("answers while it runs", [](M &m) { m.stopAnswer = "S00"; });
    row("without acknowledgements", [](M &m) { m.features = "PacketSize=400;QStartNoAckMode+"; });
    row("tells nothing of itself", [](M &m) { m.features = ""; });
    row("smallest packets", [](M &m) { m.features = "PacketSize=28"; });
    row("packets larger than we use", [](M &m) { m.features = "PacketSize=fffff"; });
    row("run-length encoding", [](M &m) { m.runLength = true; });
    row("a damaged reply", [](M &m) { m.badChecksums = 2; });
    row("a refused request", [](M &m) { m.refusals = 2; });
    row("prints in between", [](M &m) { m.before = "$O48690a#43"; });
    row("tells of a stop in between", [](M &m) { m.before = "%Other:x#4f"; });
}

void GdbBackendTest::everyMannerOfStubIsUnderstood()
{
    QFETCH(FakeStub::Manners, manners);
    FakeStub stub(manners);
    const QByteArray memory = stub.m_memory;
    {
        GdbBackend backend(At(stub.Port()));
        QCOMPARE(QString::fromStdString(backend.Open(m_cancel)), QString());
        QVERIFY(backend.Connect({}) && backend.Alive());
        QByteArray data(3000, '\0');
        QCOMPARE(Read(backend, 0x1001, data), 3000);
        QCOMPARE(data, memory.mid(1, 3000));
        QCOMPARE(Read(backend, 0x1F00, data), 256);
        QCOMPARE(data.left(256), memory.right(256));
        QCOMPARE(Read(backend, 0x0F00, data), -1);
        QCOMPARE(Read(backend, 0x3000, data), 0);
        QCOMPARE(Write(backend, 0x1101, "hello world"), 11);
        QCOMPARE(Write(backend, 0x1FFE, "hello world"), -1);
        QVERIFY(backend.Alive());
        backend.Close();
    }
    QTRY_COMPARE(stub.Runs(), manners.ranBefore);
    QCOMPARE(stub.Offences().join('\n'), QString());
    QCOMPARE(stub.m_memory.mid(0x101, 11), "hello world");
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
    QCOMPARE(QString::fromStdString(backend.Open(m_cancel)), QString());
    const int before = int(stub.Requests().size());
    QByteArray data(count, '\0');
    QCOMPARE(Read(backend, address, data, width), count);
    QTEST(stub.Requests().mid(before).join(' '), "requests");
    backend.Close();
}

void GdbBackendTest::theTargetIsLeftAsItWasFound_data()
{
    QTest::addColumn<bool>("ranBefore");
    QTest::addColumn<int>("end");
    for (const bool ran : {false, true}) {
        QTest::addRow("%s, closed after the handshake", ran ? "ran" : "halted") << ran << 0;
        QTest::addRow("%s, closed after a read", ran ? "ran" : "halted") << ran << 1;
        QTest::addRow("%s, cancelled in a read", ran ? "ran" : "halted") << ran << 2;
    }
}

void GdbBackendTest::theTargetIsLeftAsItWasFound()
{
    QFETCH(bool, ranBefore);
    QFETCH(int, end);
    FakeStub::Manners manners;
    manners.ranBefore = ranBefore;
    const CancelSignal cancel;
    if (end == 2)
        manners.spoil = [&](const QByteArray &request) {
            if (request == "m1000,10")
                cancel.Raise(); // while the reply is on its way, which it then is not
            return request == "m1000,10" ? QByteArray("$00") : QByteArray();
        };
    FakeStub stub(manners);
    GdbBackend backend(At(stub.Port()));
    QCOMPARE(QString::fromStdString(backend.Open(cancel)), QString());
    QByteArray data(16, '\0');
    if (end != 0)
        QCOMPARE(Read(backend, 0x1000, data), end == 1 ? 16 : -1);
    backend.Close();
    QTRY_COMPARE(stub.Runs(), ranBefore);
    QVERIFY(ranBefore || !stub.Requests().contains("c"));
}

void GdbBackendTest::longReadsLetTheTargetRunInBetween()
{
    FakeStub::Manners manners;
    manners.ranBefore = true;
    FakeStub stub(manners);
    GdbBackend backend(At(stub.Port()));
    QCOMPARE(QString::fromStdString(backend.Open(m_cancel)), QString());
    QByteArray data(2048, '\0');
    QCOMPARE(Read(backend, 0x1000, data, 1), 2048);
    QVERIFY(stub.Requests().count("interrupt") >= 4);
    backend.Close();
    QTRY_COMPARE(stub.Requests().count("c"), stub.Requests().count("interrupt") + 1);
    QCOMPARE(stub.Offences().join('\n'), QString());
}

void GdbBackendTest::writesAskFirstWhereNothingIsKnown()
{
    FakeStub stub({});
    GdbBackend backend(At(stub.Port()));
    QCOMPARE(QString::fromStdString(backend.Open(m_cancel)), QString());
    QByteArray page(640, '\0');
    QCOMPARE(Read(backend, 0x1000, page), 640);
    int before = int(stub.Requests().size());
    QCOMPARE(Write(backend, 0x1010, "abcd"), 4);
    QCOMPARE(stub.Requests().mid(before).join(' '), "M1010,4:61626364"); // it was just displayed
    before = int(stub.Requests().size());
    QCOMPARE(Write(backend, 0x1E00, "abcd"), 4);
    QCOMPARE(stub.Requests().mid(before).join(' '), "m1e00,4 M1e00,4:61626364");
    backend.Close();
}

using Serve = std::function<void(ScriptedPeer &)>;
Q_DECLARE_METATYPE(Serve)

static void SendForEver(ScriptedPeer &peer, const QByteArray &bytes)
{
    while (peer.Send(bytes)) { }
}

void GdbBackendTest::badPeersGetAText_data()
{
    QTest::addColumn<Serve>("serve");
    QTest::newRow("says nothing") << Serve([](ScriptedPeer &peer) { peer.AwaitClient(); });
    QTest::newRow("hangs up") << Serve([](ScriptedPeer &) {});
    QTest::newRow("another protocol") << Serve([](ScriptedPeer &peer) {
        peer.Send("HTTP/1.1 400 Bad Request\r\nConnection: close\r\n\r\n");
        peer.AwaitClient();
    });
    QTest::newRow("endless noise")
        << Serve([](ScriptedPeer &peer) { SendForEver(peer, QByteArray(4096, 'x')); });
    QTest::newRow("endless packet") << Serve([](ScriptedPeer &peer) {
        peer.Send("$");
        SendForEver(peer, QByteArray(4096, 'x'));
    });
    QTest::newRow("endless acknowledgements")
        << Serve([](ScriptedPeer &peer) { SendForEver(peer, QByteArray(4096, '+')); });
    QTest::newRow("endless stops") << Serve(
        [](ScriptedPeer &peer) { SendForEver(peer, QByteArray("$S05#b8").repeated(100)); });
    QTest::newRow("wrong checksums")
        << Serve([](ScriptedPeer &peer) { SendForEver(peer, "+$OK#00"); });
    QTest::newRow("half a packet") << Serve([](ScriptedPeer &peer) {
        peer.Send("+$PacketSi");
        peer.AwaitClient();
    });
    QTest::newRow("half a packet and gone") << Serve([](ScriptedPeer &peer) {
        (void)peer.Receive();
        peer.Send("+$PacketSi");
    });
}

void GdbBackendTest::badPeersGetAText()
{
    QFETCH(Serve, serve);
    ScriptedPeer peer(serve);
    GdbBackend backend(At(peer.Port()));
    QCOMPARE(QString::fromStdString(backend.Open(m_cancel)),
        QString("127.0.0.1:%1 accepted the connection but does not answer as a debug stub"
                " (another debugger may hold it).")
            .arg(peer.Port()));
    backend.Close();
}

void GdbBackendTest::aPlaceWithoutPeersGetsAText()
{
    const quint16 unused = PeerProcess::FreePort();
    GdbBackend nobody(At(unused));
    QCOMPARE(QString::fromStdString(nobody.Open(m_cancel)),
        QString("Nothing accepts a connection at 127.0.0.1:%1 (refused). Start the target, e.g. "
                "qemu-system-arm ... -gdb tcp::%1.")
            .arg(unused));
    Selection selection = At(1);
    selection.host = "no-such-host.invalid";
    GdbBackend nowhere(selection);
    QCOMPARE(QString::fromStdString(nowhere.Open(m_cancel)),
        "No address for host \"no-such-host.invalid\".");
}

void GdbBackendTest::aPeerThatTurnsBadIsGivenUp_data()
{
    QTest::addColumn<QByteArray>("spoiled");
    QTest::addColumn<bool>("hangsUp");
    QTest::addColumn<bool>("lost");
    QTest::newRow("silence") << QByteArray("+") << false << true;
    QTest::newRow("hangs up") << QByteArray("$00") << true << true;
    QTest::newRow("half a reply") << QByteArray("$0011") << false << true;
    QTest::newRow("wrong checksum") << QByteArray("$0011#00").repeated(5) << false << true;
    QTest::newRow("endless") << QByteArray(40'000, '$').replace("$", "x") << false << true;
    QTest::newRow("longer than the packet limit")
        << QByteArray("$" + QByteArray(40'000, '0') + "#00") << false << true;
    QTest::newRow("the target has ended") << QByteArray("$W00#b7") << true << true;
    QTest::newRow("more bytes than asked for") << QByteArray("$001122334455#5e") << false << false;
    QTest::newRow("no hex digits") << QByteArray("$zzzzzzzz#d0") << false << false;
    QTest::newRow("not supported") << QByteArray("$#00") << false << false;
}

void GdbBackendTest::aPeerThatTurnsBadIsGivenUp()
{
    QFETCH(QByteArray, spoiled);
    QFETCH(bool, hangsUp);
    QFETCH(bool, lost);
    FakeStub::Manners manners;
    manners.spoil = [&](const QByteArray &request) {
        return request.startsWith("m1") ? spoiled : QByteArray();
    };
    manners.hangUpAfterSpoiled = hangsUp;
    FakeStub stub(manners);
    GdbBackend backend(At(stub.Port()));
    QCOMPARE(QString::fromStdString(backend.Open(m_cancel)), QString());
    QByteArray data(4, '\0');
    QCOMPARE(Read(backend, 0x1000, data), lost ? -1 : 0);
    QCOMPARE(backend.Alive(), !lost);
    backend.Close();
}

QTEST_GUILESS_MAIN(GdbBackendTest)
#include "tst_gdbbackend.moc"
