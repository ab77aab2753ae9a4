#include "cancelsignal.h"
#include "gdbbackend.h"
#include "qemutarget.h"

#include <QtEndian>
#include <QtTest>

using namespace OpenProbe;

/// What only a real emulator can show: whether its machine runs, asked through its monitor.
class GdbQemuTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void theFirmwareIsWorthWatching();
    void aHaltedMachineStaysHalted();
    void aStopBySomebodyElseStays();
    void aMachineContinuedBySomebodyElseRunsOn();
    void theCoreTellsItsIdentity();

private:
    std::unique_ptr<GdbBackend> Opened();
    QemuTarget m_target;
    CancelSignal m_cancel;
};

static quint32 Word(Backend &backend, quint32 address)
{
    std::array<std::uint8_t, 4> data{};
    return backend.Read(address, data, 4) == 4 ? qFromLittleEndian<quint32>(data.data()) : 0xBADBAD;
}

static bool PutWord(Backend &backend, quint32 address, quint32 value)
{
    std::array<std::uint8_t, 4> data{};
    qToLittleEndian(value, data.data());
    return backend.Write(address, data, 4) == 4;
}

std::unique_ptr<GdbBackend> GdbQemuTest::Opened()
{
    Selection selection;
    selection.kind = TargetKind::Gdb;
    selection.host = "127.0.0.1";
    selection.port = m_target.Port();
    auto backend = std::make_unique<GdbBackend>(selection);
    const std::string error = backend->Open(m_cancel);
    if (!error.empty())
        qWarning("%s", error.c_str());
    return backend;
}

void GdbQemuTest::initTestCase()
{
    if (!QemuTarget::Missing().isEmpty()) {
        printf("WHOLE TEST SKIPPED: %s\n", qPrintable(QemuTarget::Missing()));
        fflush(stdout);
        QSKIP("no emulator");
    }
}

void GdbQemuTest::theFirmwareIsWorthWatching()
{
    QVERIFY(m_target.Start());
    const auto backend = Opened();
    const auto text = [&](quint32 address) {
        QByteArray bytes(32, '\0');
        const std::span data(reinterpret_cast<std::uint8_t *>(bytes.data()), 32);
        return backend->Read(address, data, 0) == 32 ? bytes : "unreadable";
    };
    QTRY_COMPARE(text(0x20000000), "DEMO FIRMWARE   CORTEX-M4 LIVE  ");
    QCOMPARE(text(0x40), "DEMO FIRMWARE   The data that   "); // the flash is mirrored at 0
    for (const quint32 counter : {0x20U, 0x24U, 0x28U, 0x2CU, 0x30U, 0x34U, 0x4CU}) {
        const quint32 before = Word(*backend, 0x20000000 + counter);
        QTRY_VERIFY2(Word(*backend, 0x20000000 + counter) != before,
            qPrintable(QString::number(counter, 16)));
    }
    QVERIFY(PutWord(*backend, 0x20000038, 0x12345678));
    QTRY_COMPARE(Word(*backend, 0x2000003C), ~0x12345678U);
    quint32 node = Word(*backend, 0x20000200);
    for (int i = 0; i < 3; ++i) {
        const quint32 next = Word(*backend, node);
        QCOMPARE(Word(*backend, next + 4), node);
        node = next;
    }
    backend->Close();
    QTRY_COMPARE(m_target.RunState(), "running");
}

void GdbQemuTest::aHaltedMachineStaysHalted()
{
    QVERIFY(m_target.Start(true));
    QCOMPARE(m_target.RunState(), "prelaunch");
    for (int round = 0; round < 3; ++round) {
        const auto backend = Opened();
        QCOMPARE(Word(*backend, 0x08000000), 0x20008000U);
        QVERIFY(PutWord(*backend, 0x20009000, quint32(round)));
        QCOMPARE(Word(*backend, 0x20009000), quint32(round));
        backend->Close();
        QVERIFY2(m_target.RunState() != "running", "somebody let it run");
    }
}

void GdbQemuTest::aStopBySomebodyElseStays()
{
    QVERIFY(m_target.Start());
    const auto backend = Opened();
    QVERIFY(Word(*backend, 0x20000000) != 0xBADBAD);
    QVERIFY(m_target.Monitor("stop"));
    QCOMPARE(m_target.RunState(), "paused");
    for (int i = 0; i < 5; ++i)
        QVERIFY(Word(*backend, 0x20000020) != 0xBADBAD);
    QCOMPARE(m_target.RunState(), "paused");
    backend->Close();
    QCOMPARE(m_target.RunState(), "paused");
}

void GdbQemuTest::aMachineContinuedBySomebodyElseRunsOn()
{
    QVERIFY(m_target.Start(true));
    const auto backend = Opened();
    QCOMPARE(Word(*backend, 0x08000000), 0x20008000U);
    QVERIFY(m_target.Monitor("cont"));
    QTRY_COMPARE(m_target.RunState(), "running");
    QCOMPARE(Word(*backend, 0x08000000), 0x20008000U);
    QTRY_COMPARE(m_target.RunState(), "running");
    const quint32 before = Word(*backend, 0x20000020);
    QTRY_VERIFY(Word(*backend, 0x20000020) != before);
    backend->Close();
    QTRY_COMPARE(m_target.RunState(), "running");
}

void GdbQemuTest::theCoreTellsItsIdentity()
{
    QVERIFY(m_target.Start());
    const auto backend = Opened();
    QCOMPARE(backend->CoreId() & 0xFF0FFFF0U, 0x410FC240U);
    backend->Close();
}

QTEST_GUILESS_MAIN(GdbQemuTest)
#include "tst_gdbqemu.moc"
