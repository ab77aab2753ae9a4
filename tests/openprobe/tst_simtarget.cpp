#include "cancelsignal.h"
#include "simbackend.h"

#include <QtEndian>
#include <QtTest>
#include <random>

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
    void theFirstRowsSayThatItIsSimulated_data();
    void theFirstRowsSayThatItIsSimulated();
    void countersFollowTheClockAndKeepWhatIsWritten();
    void byteOrderFollowsTheIndex();
    void theListStaysWholeWhileItsNodesMove();
    void longPausesAreCaughtUp();
    void readsAgreeWithSingleBytes();
    void peripheralsAnswerByWidthAndHaveSideEffects();
    void theProtectedStretchCannotBeWritten();
    void theUnpluggingProbeGoesAndStaysAway();
    void theFixtureSetsUpFaults();

private:
    static std::unique_ptr<SimBackend> Connected(int index = 0, const char *device = "");
};

static CancelSignal s_cancel;

std::unique_ptr<SimBackend> SimTargetTest::Connected(int index, const char *device)
{
    auto backend = std::make_unique<SimBackend>(index, TestClock);
    TargetSetup setup;
    setup.device = device;
    if (!backend->Open(s_cancel).empty() || !backend->Connect(setup))
        qFatal("the simulated target does not connect");
    return backend;
}

static QByteArray Bytes(Backend &backend, quint32 address, int count, quint32 width = 0)
{
    QByteArray data(count, '\xEE');
    const int got = backend.Read(
        address, {reinterpret_cast<std::uint8_t *>(data.data()), std::size_t(count)}, width);
    return got == count ? data : QByteArray();
}

static quint32 Word(Backend &backend, quint32 address)
{
    const QByteArray data = Bytes(backend, address, 4, 4);
    return data.isEmpty() ? 0xBADBAD : qFromLittleEndian<quint32>(data.constData());
}

static int WriteWord(Backend &backend, quint32 address, quint32 value)
{
    std::array<std::uint8_t, 4> data{};
    qToLittleEndian(value, data.data());
    return backend.Write(address, data, 4);
}

void SimTargetTest::theFirstRowsSayThatItIsSimulated_data()
{
    QTest::addColumn<QByteArray>("device");
    QTest::addColumn<quint32>("ram");
    for (int i = 0; i < DeviceCount(); ++i) {
        const DeviceEntry *device = DeviceAt(i);
        QTest::addRow("%s", device->name) << QByteArray(
            device->name) << (device->ramSize != 0 ? device->ramAddress : 0x20000000U);
    }
}

void SimTargetTest::theFirstRowsSayThatItIsSimulated()
{
    QFETCH(QByteArray, device);
    QFETCH(quint32, ram);
    const auto backend = Connected(0, device);
    QCOMPARE(Bytes(*backend, 0, 16), "SIMULATED TARGET");
    QCOMPARE(Bytes(*backend, ram, 16), "SIMULATED TARGET");
    QCOMPARE(Bytes(*backend, ram + 16, 16), device.left(16).leftJustified(16));
    QCOMPARE(Bytes(*backend, 0xFFFFFFF0, 16), "LAST 16 BYTES **");
    QCOMPARE(Bytes(*backend, SimTarget::kPeripherals + 0x3000, 4, 2), "\2\2\2\2");
    QCOMPARE(Word(*backend, 0xE000ED00) & 0xFF000000, 0x41000000U);
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
}

void SimTargetTest::byteOrderFollowsTheIndex()
{
    const auto little = Connected(0);
    const auto big = Connected(SimBackend::kBigEndian);
    QCOMPARE(Bytes(*little, 0x20000410, 4).toHex(), "10040020");
    QCOMPARE(Bytes(*big, 0x20000410, 4).toHex(), "20000410");
    QCOMPARE(Bytes(*big, 0xE000ED00, 4).toHex(), "410fc241");
    QCOMPARE(Bytes(*big, 0, 16), "SIMULATED TARGET");
}

void SimTargetTest::theListStaysWholeWhileItsNodesMove()
{
    const auto backend = Connected();
    QSet<quint32> places;
    for (int round = 0; round < 40; ++round) {
        const quint32 head = Word(*backend, 0x20000200);
        quint32 node = head;
        QSet<quint32> seen;
        do {
            QVERIFY2(node >= 0x20000210 && node < 0x200002D0 && node % 16 == 0, "a stray pointer");
            const quint32 next = Word(*backend, node);
            QCOMPARE(Word(*backend, next + 4), node);
            seen.insert(node);
            node = next;
        } while (node != head && seen.size() < 20);
        QCOMPARE(seen.size(), qsizetype(Word(*backend, 0x20000204)));
        places += seen;
        s_nowMs += 2500;
    }
    QCOMPARE(Word(*backend, 0x20000208), 40U);
    QVERIFY(places.size() > 7); // they really moved
}

void SimTargetTest::longPausesAreCaughtUp()
{
    const auto backend = Connected();
    const quint64 year = 365ULL * 24 * 3600 * 1000;
    s_nowMs += year;
    QCOMPARE(Word(*backend, 0x20000020), quint32(year));
    const QByteArray log = Bytes(*backend, 0x20000100, 256);
    for (int line = 0; line < 16; ++line)
        QVERIFY2(log.at(line * 16) != ' ' && log.at(line * 16 + 4) == '.', log.constData());
}

// The rule for a range, by single bytes: all, a prefix with nothing behind it, or a failure.
void SimTargetTest::readsAgreeWithSingleBytes()
{
    const auto backend = Connected();
    QCOMPARE(WriteWord(*backend, SimTarget::kPeripherals + 0x4008, 1), 4); // time stands still
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    std::mt19937 random(seed);
    const quint32 places[] = {0x7E0, 0x850, 0x8F8, 0x910, 0x20000000 + 0x3FFF0, 0x7FFF7FF0,
        0x7FFFFFF0, 0x80007FF0, 0xFFFEFFF0, 0xFFFFFFC0, 0x00000000, 0x080FFFF0};
    for (int round = 0; round < 3000; ++round) {
        const quint32 address = places[random() % std::size(places)] + random() % 32;
        const quint32 count
            = quint32(std::min<quint64>(1 + random() % 160, (1ULL << 32) - address));
        QByteArray expected;
        bool behind = false;
        bool hole = false;
        for (quint32 i = 0; i < count; ++i) {
            const QByteArray byte = Bytes(*backend, address + i, 1);
            hole = hole || byte.isEmpty();
            behind = behind || (hole && !byte.isEmpty());
            if (!hole)
                expected += byte;
        }
        QByteArray data(int(count), '\0');
        const int got
            = backend->Read(address, {reinterpret_cast<std::uint8_t *>(data.data()), count}, 0);
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
    std::array<std::uint8_t, 8> data{};
    QCOMPARE(backend->Read(base + 0x1000, data, 1), 0); // words only
    QCOMPARE(backend->Read(base + 0x1001, {data.data(), 1}, 0), 0);
    QCOMPARE(backend->Read(base + 0x0FFC, data, 4), -1); // refused: the register is not read either
    QCOMPARE(char(Word(*backend, base + 0x1000)), 'e');
    s_nowMs += 1000;
    QCOMPARE(Word(*backend, base + 0x4), 8U); // cleared by the read
    QCOMPARE(Word(*backend, base + 0x4), 0U);
    const std::array<std::uint8_t, 2> half = {0x34, 0x12};
    QCOMPARE(backend->Write(base + 0x2006, half, 2), 2);
    QCOMPARE(Word(*backend, base + 0x2004), 0x12340000U);
    QCOMPARE(WriteWord(*backend, base + 0x200C, 0x02040000), 4);
    QCOMPARE(Word(*backend, base + 0x2004), 0x10300000U);
}

void SimTargetTest::theProtectedStretchCannotBeWritten()
{
    const auto backend = Connected();
    const QByteArray before = Bytes(*backend, 0x200009F8, 16);
    const std::array<std::uint8_t, 16> data{};
    for (const quint32 address : {0x20000A00U, 0x200009F8U, 0x20000AF8U, 0x08000000U, 0xFFFFFFF0U,
             0x20000800U, 0x200007F8U, 0x30000000U})
        QCOMPARE(backend->Write(address, data, 0), -1);
    QCOMPARE(Bytes(*backend, 0x200009F8, 16), before); // nothing of a refused write arrives
    QCOMPARE(backend->Write(0x20000B00, data, 0), 16);
}

void SimTargetTest::theUnpluggingProbeGoesAndStaysAway()
{
    const auto backend = Connected(SimBackend::kUnplugs);
    s_nowMs += SimBackend::kUnplugsAfterMs - 1;
    QVERIFY(backend->Alive());
    QCOMPARE(Bytes(*backend, 0, 4), "SIMU");
    s_nowMs += 1;
    QVERIFY(!backend->Alive());
    std::array<std::uint8_t, 4> data{};
    QCOMPARE(backend->Read(0, data, 0), -1);
}

void SimTargetTest::theFixtureSetsUpFaults()
{
    const auto backend = Connected();
    const quint32 fixture = SimTarget::kPeripherals + 0x4000;
    QCOMPARE(WriteWord(*backend, fixture + 0x8, 1), 4);
    const quint32 stopped = Word(*backend, 0x20000020);
    s_nowMs += 5000;
    QCOMPARE(Word(*backend, 0x20000020), stopped);
    QCOMPARE(WriteWord(*backend, fixture + 0xC, 77), 4);
    QCOMPARE(Word(*backend, 0x20000020), stopped + 77);
    QCOMPARE(WriteWord(*backend, fixture, 2), 4);
    QCOMPARE(Bytes(*backend, 0, 4), "SIMU");
    QVERIFY(backend->Alive());
    QCOMPARE(Bytes(*backend, 0, 4), "");
    QVERIFY(!backend->Alive());
}

QTEST_GUILESS_MAIN(SimTargetTest)
#include "tst_simtarget.moc"
