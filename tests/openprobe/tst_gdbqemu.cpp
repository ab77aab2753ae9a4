#include "backendtools.h"
#include "gdbbackend.h"
#include "probetargets.h"

#include <QtTest>

using namespace OpenProbe;

/// What only a real emulator can show: whether its machine runs, asked through its monitor.
class GdbQemuTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void theFirmwareIsWorthWatching();
    void aMachineIsLeftAsSomebodyElseWantsIt_data();
    void aMachineIsLeftAsSomebodyElseWantsIt();

private:
    QemuTarget m_target;
};

constexpr int kLimitMs = 60'000; // only a failure waits that long
constexpr quint32 kVector = 0x08000000;
constexpr quint32 kStack = 0x20008000; // what stands there

void GdbQemuTest::initTestCase()
{
    SetPatience(60);
    const QString missing = m_target.Missing();
    if (!missing.isEmpty()) {
        printf("WHOLE TEST SKIPPED: %s\n", qPrintable(missing));
        fflush(stdout);
        QSKIP(qPrintable(missing));
    }
}

void GdbQemuTest::theFirmwareIsWorthWatching()
{
    QVERIFY(m_target.Start());
    GdbBackend backend(At(m_target.Port()));
    QCOMPARE(OpenError(backend), QString());
    QCOMPARE(backend.CoreId() & 0xFF0FFFF0U, 0x410FC240U);
    QTRY_COMPARE_WITH_TIMEOUT(
        Bytes(backend, 0x20000000, 32), "DEMO FIRMWARE   CORTEX-M4 LIVE  ", kLimitMs);
    QCOMPARE(Bytes(backend, 0x40, 16), "DEMO FIRMWARE   "); // the flash is mirrored at 0
    for (const quint32 counter : {0x20U, 0x24U, 0x28U, 0x2CU, 0x30U, 0x34U, 0x4CU}) {
        const quint32 before = Word(backend, 0x20000000 + counter);
        QTRY_VERIFY2_WITH_TIMEOUT(Word(backend, 0x20000000 + counter) != before,
            qPrintable(QString::number(counter, 16)), kLimitMs);
    }
    QCOMPARE(WriteWord(backend, 0x20000038, 0x12345678), 4);
    QTRY_COMPARE_WITH_TIMEOUT(Word(backend, 0x2000003C), ~0x12345678U, kLimitMs);
    const quint32 node = Word(backend, 0x20000200);
    QCOMPARE(Word(backend, Word(backend, node) + 4), node); // a list in both directions
    backend.Close();
    QTRY_COMPARE_WITH_TIMEOUT(m_target.RunState(), "running", kLimitMs);
}

void GdbQemuTest::aMachineIsLeftAsSomebodyElseWantsIt_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<bool>("runs");
    QTest::newRow("halted from the start") << QStringList("-S") << QByteArray() << false;
    QTest::newRow("halted meanwhile") << QStringList() << QByteArray("stop") << false;
    QTest::newRow("let run meanwhile") << QStringList("-S") << QByteArray("cont") << true;
}

void GdbQemuTest::aMachineIsLeftAsSomebodyElseWantsIt()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, command);
    QFETCH(bool, runs);
    QVERIFY(m_target.Start(options));
    for (int round = 0; round < 2; ++round) {
        GdbBackend backend(At(m_target.Port()));
        QCOMPARE(OpenError(backend), QString());
        QCOMPARE(Word(backend, kVector), kStack);
        if (round == 0 && !command.isEmpty()) {
            QVERIFY(m_target.Monitor(command).count("\"return\"") == 2);
            QTRY_COMPARE_WITH_TIMEOUT(m_target.Runs(), runs, kLimitMs);
        }
        for (quint32 i = 0; i < 5; ++i) {
            QCOMPARE(Word(backend, kVector), kStack);
            QCOMPARE(WriteWord(backend, 0x20009000, i), 4);
            QCOMPARE(Word(backend, 0x20009000), i);
        }
        QTRY_COMPARE_WITH_TIMEOUT(m_target.Runs(), runs, kLimitMs);
        backend.Close();
        QTRY_COMPARE_WITH_TIMEOUT(m_target.Runs(), runs, kLimitMs);
    }
    const QByteArray state = m_target.RunState();
    QVERIFY2(runs == (state == "running"), state);
}

QTEST_GUILESS_MAIN(GdbQemuTest)
#include "tst_gdbqemu.moc"
