#include "ranvoapi.h"

#include <QSet>
#include <QtTest>

class DeviceTableTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { qputenv("OPENPROBE_EXTRA_DEVICES", "10000"); }
    void theListIsLongUniqueAndBeginsWithTheSimulatedOne();
    void aRecordIsFilledOnlyWhenItIsTheRightOne();
};

static RanvoDeviceInfo Device(int index, int *result = nullptr)
{
    RanvoDeviceInfo info;
    memset(&info, 0xA5, sizeof info);
    info.sizeOfStruct = RANVO_DEVICE_INFO_SIZE;
    const int answer = RANVOARM_DEVICE_GetInfo(index, &info);
    if (result != nullptr)
        *result = answer;
    return info;
}

void DeviceTableTest::theListIsLongUniqueAndBeginsWithTheSimulatedOne()
{
    const int count = RANVOARM_DEVICE_GetInfo(-1, nullptr);
    QVERIFY2(count >= 10'060, qPrintable(QString::number(count)));
    QSet<QByteArray> names;
    QSet<QByteArray> makers;
    QSet<quint32> cores;
    for (int i = 0; i < count; ++i) {
        int result = -1;
        const RanvoDeviceInfo info = Device(i, &result);
        QCOMPARE(result, 0);
        names.insert(info.name);
        makers.insert(info.manufacturer);
        cores.insert(info.coreId);
        QVERIFY2(info.byteOrder <= 1 && info.numCores >= 1, info.name);
        const char *const end = reinterpret_cast<const char *>(&info) + sizeof info;
        QVERIFY2(std::all_of(info.reserved, reinterpret_cast<const quint8 *>(end),
                     [](quint8 byte) { return byte == 0; }),
            info.name);
    }
    QCOMPARE(names.size(), count);
    QVERIFY(makers.size() >= 5 && cores.size() >= 10);
    const RanvoDeviceInfo first = Device(0);
    QCOMPARE(first.name, "SIM-M4");
    QCOMPARE(first.manufacturer, "Simulated");
    QCOMPARE(first.ramAddress, 0x20000000U);
}

void DeviceTableTest::aRecordIsFilledOnlyWhenItIsTheRightOne()
{
    for (const int index : {-2, -1, RANVOARM_DEVICE_GetInfo(-1, nullptr), INT_MAX}) {
        int result = 0;
        Device(index, &result);
        QCOMPARE(result, -1);
    }
    RanvoDeviceInfo info{};
    info.sizeOfStruct = RANVO_DEVICE_INFO_SIZE - 4;
    QCOMPARE(RANVOARM_DEVICE_GetInfo(0, &info), -1);
    QVERIFY(info.name == nullptr);
    QCOMPARE(RANVOARM_DEVICE_GetInfo(0, nullptr), -1);
}

QTEST_GUILESS_MAIN(DeviceTableTest)
#include "tst_devicetable.moc"
