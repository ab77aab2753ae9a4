#include "backendtools.h"
#include "gdbbackend.h"
#include "probetargets.h"
#include "tclbackend.h"
#include "tclprotocol.h"

#include <QtTest>

using namespace OpenProbe;

class TclBackendTest : public QObject {
    Q_OBJECT
private slots:
    void onlyExactlyTheNumbersAskedForAreData_data();
    void onlyExactlyTheNumbersAskedForAreData();
    void valuesFollowTheByteOrder();
    void aRealServerIsReadLiveWithTheWantedWidth();
    void theGdbPortOfARealServerIsReadLive();

private:
    void StartServer();
    OpenOcdTarget m_target;
};

constexpr int kLimitMs = 60'000; // only a failure waits that long

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
        << QByteArray("0x0 0x0 0x0 0x0 0x0 0x0 0x0 0x100") << 1U << false;
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
    QCOMPARE(FirstNumber("adapter speed: 1000 kHz").value_or(0), 1000U);
    QVERIFY(!FirstNumber("none") && !FirstNumber("99999999999"));
}

void TclBackendTest::StartServer()
{
    SetPatience(60);
    if (!m_target.Missing().isEmpty())
        QSKIP(qPrintable(m_target.Missing()));
    QVERIFY(m_target.Start());
}

void TclBackendTest::aRealServerIsReadLiveWithTheWantedWidth()
{
    StartServer();
    TclBackend backend(At(m_target.TclPort()));
    QCOMPARE(OpenError(backend), QString());
    QCOMPARE(Bytes(backend, 0, 16), "SIMULATED TARGET");
    QCOMPARE(backend.CoreId(), 0x410FC241U);
    const quint32 trace = 0x50003000; // reads as the width of the access
    QCOMPARE(Bytes(backend, trace, 8, 1), QByteArray(8, 1));
    QCOMPARE(Bytes(backend, trace, 8, 2), QByteArray(8, 2));
    QCOMPARE(Bytes(backend, trace + 1, 9, 4), "\1\2\2\4\4\4\4\2\2");
    QCOMPARE(Bytes(backend, trace, 8), QByteArray(8, 4));
    const auto state = [&] { return m_target.Command("[target current] curstate"); };
    QTRY_COMPARE_WITH_TIMEOUT(state(), "running", kLimitMs); // it was never halted
    m_target.Command("halt");
    QTRY_COMPARE_WITH_TIMEOUT(state(), "halted", kLimitMs);
    const quint32 halted = Word(backend, TargetPlaces().counter);
    QCOMPARE(WriteWord(backend, 0x20000038, 0), 4);
    QCOMPARE(Word(backend, TargetPlaces().counter), halted);
    m_target.Board().Kill(); // a core without power is no hole
    QTRY_VERIFY_WITH_TIMEOUT(
        Bytes(backend, 0x20000000, 640) == "result -1" && !backend.Alive(), kLimitMs);
    backend.Close();
}

void TclBackendTest::theGdbPortOfARealServerIsReadLive()
{
    StartServer();
    GdbBackend backend(At(m_target.GdbPort()));
    QCOMPARE(OpenError(backend), QString());
    QCOMPARE(Bytes(backend, 0, 16), "SIMULATED TARGET");
    const quint32 ran = Word(backend, TargetPlaces().counter);
    QTRY_VERIFY_WITH_TIMEOUT( // although connecting halted it
        Word(backend, TargetPlaces().counter) != ran, kLimitMs);
    backend.Close();
}

QTEST_GUILESS_MAIN(TclBackendTest)
#include "tst_tclbackend.moc"
