#include "cancelsignal.h"
#include "gdbbackend.h"
#include "openocdtarget.h"
#include "scriptedpeer.h"
#include "tclbackend.h"
#include "tclprotocol.h"

#include <QtEndian>
#include <QtTest>

using namespace OpenProbe;

class TclBackendTest : public QObject {
    Q_OBJECT
private slots:
    void onlyExactlyTheNumbersAskedForAreData_data();
    void onlyExactlyTheNumbersAskedForAreData();
    void valuesFollowTheByteOrder();
    void badPeersGetAText_data();
    void badPeersGetAText();
    void aPeerThatTurnsBadIsGivenUp_data();
    void aPeerThatTurnsBadIsGivenUp();
    void aRealServerIsReadLiveWithTheWantedWidth();
    void theGdbPortOfARealServerIsReadLive();

private:
    CancelSignal m_cancel;
};

static Selection At(quint16 port, TargetKind kind = TargetKind::Tcl)
{
    Selection selection;
    selection.kind = kind;
    selection.host = "127.0.0.1";
    selection.port = port;
    return selection;
}

static QByteArray Bytes(Backend &backend, quint32 address, int count, quint32 width = 0)
{
    QByteArray data(count, '\0');
    const int got = backend.Read(
        address, {reinterpret_cast<std::uint8_t *>(data.data()), size_t(count)}, width);
    return got == count ? data : "result " + QByteArray::number(got);
}

static quint32 Word(Backend &backend, quint32 address)
{
    return qFromLittleEndian<quint32>(Bytes(backend, address, 4).constData());
}

void TclBackendTest::onlyExactlyTheNumbersAskedForAreData_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<quint32>("width");
    QTest::addColumn<bool>("good");
    QTest::newRow("words") << QByteArray("0x11223344 0xAABBCCDD") << 4U << true;
    QTest::newRow("bytes") << QByteArray("0x0 0x1 0x2 0x3 0x4 0x5 0x6 0xff\r\n") << 1U << true;
    for (const char *reply : {"", "0x1", "0x1 0x2 0x3", "0x1 0x2 read_memory: failed", "1 2",
             "0x1 0x", "0x1 0x100000000", "0x1 0x2\x01", "read_memory: failed to read memory"})
        QTest::addRow("'%s'", reply) << QByteArray(reply) << 4U << false;
    QTest::newRow("too large a byte")
        << QByteArray("0 0 0 0 0 0 0 0x100").replace(" 0", " 0x0") << 1U << false;
}

void TclBackendTest::onlyExactlyTheNumbersAskedForAreData()
{
    QFETCH(QByteArray, reply);
    QFETCH(quint32, width);
    std::array<std::uint8_t, 8> data{};
    QTEST(ParseTclNumbers(reply.toStdString(), width, data, false), "good");
}

void TclBackendTest::valuesFollowTheByteOrder()
{
    std::array<std::uint8_t, 4> data{};
    QVERIFY(ParseTclNumbers("0x1122 0x3344", 2, data, true));
    QCOMPARE(QByteArray(reinterpret_cast<char *>(data.data()), 4).toHex(), "11223344");
    QCOMPARE(
        TclWriteCommand(0x20000000, 2, data, true), "write_memory 0x20000000 16 {0x1122 0x3344}");
    QCOMPARE(
        TclWriteCommand(0x20000000, 4, data, false), "write_memory 0x20000000 32 {0x44332211}");
    QCOMPARE(TclReadCommand(0xFFFFFFFC, 1, 4), "read_memory 0xfffffffc 8 4");
    QCOMPARE(FirstNumber("adapter speed: 1000 kHz").value_or(0), 1000U);
    QVERIFY(!FirstNumber("none") && !FirstNumber("99999999999"));
}

using Answer = std::function<QByteArray(const QByteArray &command)>;
Q_DECLARE_METATYPE(Answer)

// A polite server: every command gets its answer.
static QByteArray Polite(const QByteArray &command)
{
    if (command == "version")
        return "Open On-Chip Debugger 0.12.0\x1a";
    if (command == "target names")
        return "cpu\x1a";
    if (command.endsWith("curstate"))
        return "running\x1a";
    if (command.startsWith("read_memory"))
        return "0x1\x1a";
    return "\x1a";
}

static void Serve(ScriptedPeer &peer, const Answer &answer)
{
    QByteArray input;
    for (;;) {
        const QByteArray more = peer.Receive();
        if (more.isEmpty())
            return;
        input += more;
        while (input.contains('\x1a')) {
            const QByteArray command = input.left(input.indexOf('\x1a'));
            input.remove(0, command.size() + 1);
            if (!peer.Send(answer(command)))
                return;
        }
    }
}

void TclBackendTest::badPeersGetAText_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QString>("text");
    const QString noServer
        = "%1 accepted the connection but does not answer as OpenOCD's Tcl server.";
    const auto row = [](const char *name, const Answer &answer, const QString &text) {
        QTest::newRow(name) << answer << text;
    };
    row(
        "says nothing", [](const QByteArray &) { return QByteArray(); }, noServer);
    row(
        "another protocol", [](const QByteArray &) { return "HTTP/1.1 400 Bad Request\r\n\r\n"; },
        noServer);
    row(
        "never ends", [](const QByteArray &) { return QByteArray(200'000, 'x'); }, noServer);
    row(
        "two answers",
        [](const QByteArray &) {
            return "Open On-Chip Debugger\x1a"
                   "more\x1a";
        },
        noServer);
    row(
        "no target",
        [](const QByteArray &command) {
            return command == "target names" ? QByteArray("\x1a") : Polite(command);
        },
        "OpenOCD at %1 has no target.");
    row(
        "no board",
        [](const QByteArray &command) {
            return command.contains("curstate") ? QByteArray("unknown\x1a")
                : command.startsWith("read")    ? QByteArray("failed\x1a")
                                                : Polite(command);
        },
        "OpenOCD at %1 does not reach its target (cpu). Is the board powered and connected?");
}

void TclBackendTest::badPeersGetAText()
{
    QFETCH(Answer, answer);
    QFETCH(QString, text);
    ScriptedPeer peer([answer](ScriptedPeer &self) { Serve(self, answer); });
    TclBackend backend(At(peer.Port()));
    QCOMPARE(QString::fromStdString(backend.Open(m_cancel)),
        text.arg(QString("127.0.0.1:%1").arg(peer.Port())));
    backend.Close();
}

void TclBackendTest::aPeerThatTurnsBadIsGivenUp_data()
{
    QTest::addColumn<QByteArray>("spoiled");
    QTest::addColumn<bool>("lost");
    QTest::newRow("silence") << QByteArray() << true;
    QTest::newRow("half an answer") << QByteArray("0x1") << true;
    QTest::newRow("never ends") << QByteArray(200'000, '0') << true;
    QTest::newRow("one answer too many") << QByteArray("0x1\x1a"
                                                       "0x2\x1a")
                                         << true;
    QTest::newRow("an error") << QByteArray("read_memory: failed to read memory\x1a") << false;
    QTest::newRow("too many numbers") << QByteArray("0x1 0x2\x1a") << false;
    QTest::newRow("an empty answer") << QByteArray("\x1a") << false;
}

void TclBackendTest::aPeerThatTurnsBadIsGivenUp()
{
    QFETCH(QByteArray, spoiled);
    QFETCH(bool, lost);
    const Answer answer = [spoiled](const QByteArray &command) {
        return command.startsWith("read_memory 0x1000 ") ? spoiled : Polite(command);
    };
    ScriptedPeer peer([answer](ScriptedPeer &self) { Serve(self, answer); });
    TclBackend backend(At(peer.Port()));
    QCOMPARE(QString::fromStdString(backend.Open(m_cancel)), "");
    QCOMPARE(Bytes(backend, 0x2000, 4), QByteArray("\1\0\0\0", 4));
    // The first byte alone is asked for again; it answers, so a bad one is no hole in front.
    const QByteArray got = Bytes(backend, 0x1000, 1);
    QCOMPARE(got, lost ? "result -1" : "result 0");
    QCOMPARE(backend.Alive(), !lost);
    backend.Close();
}

void TclBackendTest::aRealServerIsReadLiveWithTheWantedWidth()
{
    if (!OpenOcdTarget::Missing().isEmpty())
        QSKIP("openocd is not installed");
    OpenOcdTarget target;
    QVERIFY(target.Start());
    TclBackend backend(At(target.TclPort()));
    QCOMPARE(QString::fromStdString(backend.Open(m_cancel)), "");
    QCOMPARE(Bytes(backend, 0, 16), "SIMULATED TARGET");
    QCOMPARE(backend.CoreId(), 0x410FC241U);
    const quint32 trace = 0x50003000;
    QCOMPARE(Bytes(backend, trace, 8, 1), QByteArray(8, 1));
    QCOMPARE(Bytes(backend, trace, 8, 2), QByteArray(8, 2));
    QCOMPARE(Bytes(backend, trace + 1, 9, 4), "\1\2\2\4\4\4\4\2\2");
    QCOMPARE(Bytes(backend, trace, 8), QByteArray(8, 4));
    const quint32 ran = Word(backend, 0x20000020);
    QTRY_VERIFY(Word(backend, 0x20000020) != ran);
    QTRY_COMPARE(target.Command("[target current] curstate"), "running"); // it was never halted
    target.Command("halt");
    QTRY_COMPARE(target.Command("[target current] curstate"), "halted");
    const quint32 halted = Word(backend, 0x20000020);
    QVERIFY(backend.Write(0x20000038, std::array<std::uint8_t, 4>{}, 4) == 4);
    QCOMPARE(Word(backend, 0x20000020), halted);
    target.Board().Kill();
    QTRY_VERIFY(Bytes(backend, 0x20000000, 640).startsWith("result"));
    QTRY_VERIFY(Bytes(backend, 0x20000000, 640) == "result -1" && !backend.Alive());
    backend.Close();
}

void TclBackendTest::theGdbPortOfARealServerIsReadLive()
{
    if (!OpenOcdTarget::Missing().isEmpty())
        QSKIP("openocd is not installed");
    OpenOcdTarget target;
    QVERIFY(target.Start());
    GdbBackend backend(At(target.GdbPort(), TargetKind::Gdb));
    QCOMPARE(QString::fromStdString(backend.Open(m_cancel)), "");
    QCOMPARE(Bytes(backend, 0, 16), "SIMULATED TARGET");
    const quint32 ran = Word(backend, 0x20000020);
    QTRY_VERIFY(Word(backend, 0x20000020) != ran); // although connecting halted it
    backend.Close();
    QTRY_COMPARE(target.Command("[target current] curstate"), "running");
}

QTEST_GUILESS_MAIN(TclBackendTest)
#include "tst_tclbackend.moc"
