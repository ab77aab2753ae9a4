#include "backendtools.h"
#include "randomseed.h"
#include "simbackend.h"

#include <QtTest>

using namespace OpenProbe;

static std::atomic<std::uint64_t> s_nowMs;

static std::uint64_t TestClock()
{
    return s_nowMs;
}

class SimTargetTest : public QObject {
    Q_OBJECT
private slots:
    void init() { s_nowMs = 1000; }
    void everyDeviceSaysThatItIsSimulated();
    void countersFollowTheClockAndKeepWhatIsWritten();
    void theListStaysWholeWhileItsNodesMove();
    void readsAgreeWithSingleBytes();
    void peripheralsAnswerByWidthAndHaveSideEffects();
    void theProtectedStretchCannotBeWritten();
    void probesGoAwayOnTimeOrAtARead();

private:
    static std::unique_ptr<SimBackend> Connected(int index = 0, const char *device = "");
};

std::unique_ptr<SimBackend> SimTargetTest::Connected(int index, const char *device)
{
    auto backend = std::make_unique<SimBackend>(index, TestClock);
    TargetSetup setup;
    setup.device = device;
    if (!OpenError(*backend).isEmpty() || !backend->Connect(setup))
        qFatal("the simulated target does not connect");
    return backend;
}

void SimTargetTest::everyDeviceSaysThatItIsSimulated()
{
    for (int i = 0; i < DeviceCount(); ++i) {
        const DeviceEntry &device = *DeviceAt(i);
        const auto backend = Connected(0, device.name);
        const quint32 ram = device.ramSize != 0 ? device.ramAddress : 0x20000000U;
        QCOMPARE(Bytes(*backend, 0, 16), "SIMULATED TARGET");
        QCOMPARE(Bytes(*backend, ram, 32),
            "SIMULATED TARGET" + QByteArray(device.name).left(16).leftJustified(16));
        QCOMPARE(Bytes(*backend, 0xFFFFFFF0, 16), "LAST 16 BYTES **");
        QCOMPARE(Word(*backend, 0xE000ED00) & 0xFF000000, 0x41000000U);
    }
}

void SimTargetTest::countersFollowTheClockAndKeepWhatIsWritten()
{
    const auto backend = Connected();
    s_nowMs += 1234;
    QCOMPARE(Word(*backend, 0x20000020), 1234U);
    QCOMPARE(Word(*backend, 0x20000024), 123U);
    QCOMPARE(WriteWord(*backend, 0x20000020, 1'000'000), 4);
    QCOMPARE(WriteWord(*backend, 0x38, 0x12345678), 4); // through the mirror at 0
    s_nowMs += 66;
    QCOMPARE(Word(*backend, 0x20000020), 1'000'066U);
    QCOMPARE(Word(*backend, 0x20000024), 130U);
    QCOMPARE(Word(*backend, 0x2000003C), ~0x12345678U);
    QCOMPARE(Bytes(*backend, 0x20000040, 14), "UP 000:00:01.3");
    QCOMPARE(Word(*backend, 0x20000410), 0x20000410U); // it holds its own address
    QCOMPARE(Bytes(*Connected(SimBackend::kBigEndian), 0x20000410, 4).toHex(), "20000410");
    constexpr quint64 kYear = 365ULL * 24 * 3600 * 1000; // is caught up with at once
    s_nowMs += kYear;
    QCOMPARE(Word(*backend, 0x20000020), quint32(1'000'066 + kYear));
    const QByteArray log = Bytes(*backend, 0x20000100, 256);
    for (int line = 0; line < 16; ++line)
        QVERIFY2(log.at(line * 16) != ' ' && log.at(line * 16 + 4) == '.', log.constData());
}

void SimTargetTest::theListStaysWholeWhileItsNodesMove()
{
    const auto backend = Connected();
    QSet<quint32> places;
    for (int round = 0; round < 40; ++round, s_nowMs += 2500) {
        quint32 node = Word(*backend, 0x20000200);
        for (int i = 0; i < 7; ++i) {
            QVERIFY2(node >= 0x20000210 && node < 0x200002D0 && node % 16 == 0, "a stray pointer");
            places.insert(node);
            const quint32 next = Word(*backend, node);
            QCOMPARE(Word(*backend, next + 4), node);
            node = next;
        }
        QCOMPARE(node, Word(*backend, 0x20000200)); // seven nodes, around
    }
    QVERIFY(places.size() > 7); // they really moved
}

// The rule for a range, by single bytes: all, a prefix with nothing behind it, or a failure.
void SimTargetTest::readsAgreeWithSingleBytes()
{
    const auto backend = Connected();
    QCOMPARE(WriteWord(*backend, SimTarget::kPeripherals + 0x4008, 1), 4); // time stands still
    auto random = SeededGenerator();
    const quint32 places[] = {0x7E0, 0x850, 0x8F8, 0x910, 0x20000000 + 0x3FFF0, 0x7FFF7FF0,
        0x7FFFFFF0, 0x80007FF0, 0xFFFEFFF0, 0xFFFFFFC0, 0x00000000, 0x080FFFF0};
    for (int round = 0; round < 3000; ++round) {
        const quint32 address = places[random() % std::size(places)] + quint32(Pick(random, 0, 31));
        const quint32 count
            = quint32(std::min<quint64>(1 + random() % 160, (1ULL << 32) - address));
        QByteArray expected;
        bool behind = false;
        bool hole = false;
        for (quint32 i = 0; i < count; ++i) {
            const QByteArray byte = Bytes(*backend, address + i, 1);
            behind = behind || (hole && byte.size() == 1);
            hole = hole || byte.size() != 1;
            if (!hole)
                expected += byte;
        }
        QByteArray data(int(count), '\0');
        const int got = Read(*backend, address, data);
        const QByteArray where
            = "at " + QByteArray::number(address, 16) + " count " + QByteArray::number(count);
        QVERIFY2(got == (behind ? -1 : expected.size()), where);
        QVERIFY2(behind || data.left(got) == expected, where);
    }
}

void SimTargetTest::peripheralsAnswerByWidthAndHaveSideEffects()
{
    const auto backend = Connected();
    const quint32 base = SimTarget::kPeripherals;
    QCOMPARE(Bytes(*backend, base + 0x3000, 8, 1), QByteArray(8, 1));
    QCOMPARE(Bytes(*backend, base + 0x3001, 7, 4), "\1\2\2\4\4\4\4"); // 1 + 2 + 4
    QCOMPARE(Bytes(*backend, base + 0x3000, 8), QByteArray(8, 4));
    QCOMPARE(char(Word(*backend, base + 0x1000)), 'T'); // each read takes one character out
    QCOMPARE(char(Word(*backend, base + 0x1000)), 'h');
    QCOMPARE(Bytes(*backend, base + 0x1000, 8, 1), "result 0"); // words only
    QCOMPARE(Bytes(*backend, base + 0x1001, 1), "result 0");
    QCOMPARE(Bytes(*backend, base + 0x0FFC, 8, 4), "result -1"); // nor is the register read
    QCOMPARE(char(Word(*backend, base + 0x1000)), 'e');
    s_nowMs += 1000;
    QCOMPARE(Word(*backend, base + 0x4), 8U); // cleared by the read
    QCOMPARE(Word(*backend, base + 0x4), 0U);
    QCOMPARE(Write(*backend, base + 0x2006, "\x34\x12", 2), 2);
    QCOMPARE(Word(*backend, base + 0x2004), 0x12340000U);
    QCOMPARE(WriteWord(*backend, base + 0x200C, 0x02040000), 4);
    QCOMPARE(Word(*backend, base + 0x2004), 0x10300000U);
}

void SimTargetTest::theProtectedStretchCannotBeWritten()
{
    const auto backend = Connected();
    const QByteArray before = Bytes(*backend, 0x200009F8, 16);
    const QByteArray data(16, '.');
    for (const quint32 address : {0x20000A00U, 0x200009F8U, 0x20000AF8U, 0x08000000U, 0xFFFFFFF0U,
             0x20000800U, 0x200007F8U, 0x30000000U})
        QCOMPARE(Write(*backend, address, data), -1);
    QCOMPARE(Bytes(*backend, 0x200009F8, 16), before); // nothing of a refused write arrives
    QCOMPARE(Write(*backend, 0x20000B00, data), 16);
}

void SimTargetTest::probesGoAwayOnTimeOrAtARead()
{
    const auto unplugs = Connected(SimBackend::kUnplugs);
    s_nowMs += SimBackend::kUnplugsAfterMs - 1;
    QCOMPARE(Bytes(*unplugs, 0, 4), "SIMU");
    s_nowMs += 1;
    QVERIFY(!unplugs->Alive());
    QCOMPARE(Bytes(*unplugs, 0, 4), "result -1");
    const auto backend = Connected();
    const quint32 fixture = SimTarget::kPeripherals + 0x4000;
    QCOMPARE(WriteWord(*backend, fixture + 0x8, 1), 4); // time stands still
    const quint32 stopped = Word(*backend, 0x20000020);
    s_nowMs += 5000;
    QCOMPARE(WriteWord(*backend, fixture + 0xC, 77), 4);
    QCOMPARE(Word(*backend, 0x20000020), stopped + 77);
    QCOMPARE(WriteWord(*backend, fixture, 2), 4);
    QCOMPARE(Bytes(*backend, 0, 4), "SIMU");
    QVERIFY(backend->Alive());
    QCOMPARE(Bytes(*backend, 0, 4), "result -1");
    QVERIFY(!backend->Alive());
}

QTEST_GUILESS_MAIN(SimTargetTest)
#include "tst_simtarget.moc"
