#include "backendtools.h"
#include "ranvoapi.h"
#include "simbackend.h"

#include <QtTest>

using namespace OpenProbe;

static std::atomic<std::uint64_t> s_nowMs;

static std::unique_ptr<SimBackend> Connected(int index = 0, const char *device = "")
{
    auto backend = std::make_unique<SimBackend>(index, [] { return s_nowMs.load(); });
    TargetSetup setup;
    setup.device = device;
    if (!OpenError(*backend).isEmpty() || !backend->Connect(setup))
        qFatal("the simulated target does not connect");
    return backend;
}

class SimTargetTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { qputenv("OPENPROBE_EXTRA_DEVICES", "10000"); }
    void init() { s_nowMs = 1000; }

    void theDeviceListIsLongUniqueAndHandsOutWholeRecords()
    {
        const int count = RANVOARM_DEVICE_GetInfo(-1, nullptr);
        QSet<QByteArray> names;
        RanvoDeviceInfo info;
        for (int i = count - 1; i >= 0; --i) {
            memset(&info, 0xA5, sizeof info);
            info.sizeOfStruct = RANVO_DEVICE_INFO_SIZE;
            QCOMPARE(RANVOARM_DEVICE_GetInfo(i, &info), 0);
            names.insert(info.name);
            QVERIFY2(info.byteOrder <= 1 && info.numCores >= 1
                    && std::ranges::count(info.reserved, 0) == sizeof info.reserved,
                info.name);
        }
        QCOMPARE(info.name, "SIM-M4");
        QVERIFY(count >= 10'060 && names.size() == count);
        for (int i = 0; i < DeviceCount() - 10'000; ++i) { // each says that it is simulated
            const DeviceEntry &device = *DeviceAt(i);
            const quint32 ram = device.ramSize != 0 ? device.ramAddress : 0x20000000U;
            QCOMPARE(Bytes(*Connected(0, device.name), ram, 32),
                "SIMULATED TARGET" + QByteArray(device.name).left(16).leftJustified(16));
        }
        for (const int index : {-2, -1, count, INT_MAX})
            QCOMPARE(RANVOARM_DEVICE_GetInfo(index, &info), -1);
        info.sizeOfStruct -= 4;
        QVERIFY(
            RANVOARM_DEVICE_GetInfo(0, &info) == -1 && RANVOARM_DEVICE_GetInfo(0, nullptr) == -1);
    }

    void countersFollowTheClockAndKeepWhatIsWritten()
    {
        const auto backend = Connected();
        s_nowMs += 1234;
        QCOMPARE(Word(*backend, 0x20000020), 1234U);
        QCOMPARE(WriteWord(*backend, 0x20000020, 1'000'000), 4);
        QCOMPARE(WriteWord(*backend, 0x38, 0x12345678), 4); // through the mirror at 0
        s_nowMs += 66;
        QCOMPARE(Word(*backend, 0x20000020), 1'000'066U);
        QCOMPARE(Word(*backend, 0x2000003C), ~0x12345678U);
        QCOMPARE(Word(*backend, 0x20000410), 0x20000410U); // it holds its own address
        QCOMPARE(Bytes(*Connected(SimBackend::kBigEndian), 0x20000410, 4).toHex(), "20000410");
        constexpr quint64 kYear = 365ULL * 24 * 3600 * 1000; // it catches up at once
        s_nowMs += kYear;
        QCOMPARE(Word(*backend, 0x20000020), quint32(1'000'066 + kYear));
    }

    void registersHaveSideEffectsAndSomeMemoryIsProtected()
    {
        const auto backend = Connected();
        const quint32 base = SimTarget::kPeripherals;
        QCOMPARE(Bytes(*backend, base + 0x3001, 7, 4), "\1\2\2\4\4\4\4"); // the access's width
        QCOMPARE(Bytes(*backend, base + 0x0FFC, 8, 4), "result -1"); // the register is not read
        QCOMPARE(char(Word(*backend, base + 0x1000)), 'T'); // each read takes one character out
        s_nowMs += 1000;
        QCOMPARE(Word(*backend, base + 0x4), 8U); // cleared by the read
        QCOMPARE(Word(*backend, base + 0x4), 0U);
        QCOMPARE(Bytes(*backend, 0xFFFFFFF0, 16).size(), 16);   // up to the end of the space
        QCOMPARE(Bytes(*backend, 0xFFFEFFF8, 16), "result -1"); // begins in front of that memory
        // The protected stretch: nothing of a refused write arrives.
        const QByteArray before = Bytes(*backend, 0x200009F8, 16);
        for (const quint32 place : {0x200009F8U, 0x20000AF8U, 0x08000000U, 0x20000800U})
            QCOMPARE(Write(*backend, place, QByteArray(16, '.')), -1);
        QCOMPARE(Bytes(*backend, 0x200009F8, 16), before);
        QCOMPARE(Write(*backend, 0x20000B00, QByteArray(16, '.')), 16);
    }

    void everyRegisterIsReadAtItsPlace()
    {
        const auto backend = Connected(); // its clock starts now
        s_nowMs += 1000;
        const quint32 base = SimTarget::kPeripherals;
        for (const auto &[offset, written] :
            {std::pair{0x8U, 0xABCDU}, {0x2008U, 0x18U}, {0x200CU, 8U}, {0x4004U, 7U}})
            QCOMPARE(WriteWord(*backend, base + offset, written), 4);
        QCOMPARE(Write(*backend, base + 0x2006, "\x34\x12", 2), 2);
        for (const auto &[offset, word] : {std::pair{0x0U, 1000U}, {0x8U, 0xABCDU}, {0xCU, 3U},
                 {0x10U, 0U}, {0x1000U, quint32('T')}, {0x1004U, 0x21U}, {0x1008U, 1U},
                 {0x100CU, 0U}, {0x2000U, 0x10'0010U}, {0x2004U, 0x1234'0010U}, {0x2008U, 0U},
                 {0x3000U, 0x0404'0404U}, {0x4004U, 7U}, {0x4010U, 0U}})
            QCOMPARE(Word(*backend, base + offset), word);
        QVERIFY(Word(*backend, 0xE000E018) < Word(*backend, 0xE000E014)); // the tick counts down
        QCOMPARE(Word(*backend, 0xE000ED00), 0x410FC241U);                // which CPU it is
    }

    void aProbeGoesAwayOnTimeAndTimeStandsStill()
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
    }
};

QTEST_GUILESS_MAIN(SimTargetTest)
#include "tst_simtarget.moc"
