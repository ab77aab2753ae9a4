#include "ranvoapi.h"

#include <QtTest>

class DeviceTableTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { qputenv("OPENPROBE_EXTRA_DEVICES", "10000"); }
    void theListIsLongUniqueAndBeginsWithTheSimulatedOne();
    void aRecordIsFilledOnlyWhenItIsTheRightOne();
};

void DeviceTableTest::theListIsLongUniqueAndBeginsWithTheSimulatedOne()
{
    const int count = RANVOARM_DEVICE_GetInfo(-1, nullptr);
    QVERIFY2(count >= 10'060, qPrintable(QString::number(count)));
    QSet<QByteArray> names;
    for (int i = count - 1; i >= 0; --i) {
        RanvoDeviceInfo info;
        memset(&info, 0xA5, sizeof info);
        info.sizeOfStruct = RANVO_DEVICE_INFO_SIZE;
        QCOMPARE(RANVOARM_DEVICE_GetInfo(i, &info), 0);
        names.insert(info.name);
        QVERIFY2(info.byteOrder <= 1 && info.numCores >= 1, info.name);
        for (const quint8 byte : info.reserved)
            QCOMPARE(byte, 0);
        if (i == 0)
            QCOMPARE(info.name, "SIM-M4");
    }
    QCOMPARE(names.size(), count);
}

void DeviceTableTest::aRecordIsFilledOnlyWhenItIsTheRightOne()
{
    RanvoDeviceInfo info{};
    info.sizeOfStruct = RANVO_DEVICE_INFO_SIZE;
    for (const int index : {-2, -1, RANVOARM_DEVICE_GetInfo(-1, nullptr), INT_MAX})
        QCOMPARE(RANVOARM_DEVICE_GetInfo(index, &info), -1);
    info.sizeOfStruct = RANVO_DEVICE_INFO_SIZE - 4;
    QCOMPARE(RANVOARM_DEVICE_GetInfo(0, &info), -1);
    QVERIFY(info.name == nullptr);
    QCOMPARE(RANVOARM_DEVICE_GetInfo(0, nullptr), -1);
}

QTEST_GUILESS_MAIN(DeviceTableTest)
#include "tst_devicetable.moc"
