#include "connectionsettings.h"

#include "ranvoapi.h"
#include "settingsstore.h"
#include "utiltext.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <thread>

namespace {

const char *firstDeviceName = "FIRST";
int firstDeviceResult = 0;
int reconnects = 0;

} // namespace

int RANVOARM_DEVICE_GetInfo(int index, RanvoDeviceInfo *info)
{
    if (index != 0 || !info || info->sizeOfStruct != RANVO_DEVICE_INFO_SIZE)
        qFatal("asked for another record");
    info->name = firstDeviceName;
    return firstDeviceResult;
}

class ConnectionSettingsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void anEmptyFileGivesTheDefaults();
    void theFirstDeviceComesFromTheLibrary_data();
    void theFirstDeviceComesFromTheLibrary();
    void speedsAndInterfacesFollowTheirRules_data();
    void speedsAndInterfacesFollowTheirRules();
    void applyingSavesReplacesAndReconnects();
    void everyFieldComesBack();
    void snapshotsAreNeverTorn();

private:
    ConnectionRecord Load(const QByteArray &content)
    {
        QFile file(m_path);
        if (file.open(QIODevice::WriteOnly))
            file.write(content);
        file.close();
        SETTINGS_Release();
        ConnectionRecord record;
        std::memset(&record, 0xEE, sizeof record);
        SETTINGS_Load(&record);
        const ConnectionRecord global = SETTINGS_Snapshot();
        if (std::memcmp(&record, &global, sizeof record) != 0)
            qFatal("the global record differs");
        return record;
    }
    [[nodiscard]] QByteArray Content() const
    {
        QFile file(m_path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<none>");
    }

    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath("test.ini");
};

void ConnectionSettingsTest::initTestCase()
{
    SETTINGS_SetHost({nullptr, [] { ++reconnects; }});
    SETTINGS_SetPath(m_path.toUtf8().constData());
}

void ConnectionSettingsTest::init()
{
    firstDeviceName = "FIRST";
    firstDeviceResult = 0;
    reconnects = 0;
}

void ConnectionSettingsTest::anEmptyFileGivesTheDefaults()
{
    ConnectionRecord expected{};
    expected.ConnectMode = 1;
    expected.TargetIF = 1;
    expected.UseMaxSpeed = 1;
    expected.Speed = 4000;
    UTIL_CopyText(expected.Device, "FIRST");
    const ConnectionRecord record = Load("");
    QVERIFY(std::memcmp(&record, &expected, sizeof record) == 0); // also behind the texts' ends
    QCOMPARE(Content(), "");                                      // loading writes nothing
}

void ConnectionSettingsTest::theFirstDeviceComesFromTheLibrary_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("result");
    QTest::addColumn<QByteArray>("device");
    const QByteArray stored = "[CPU]\r\nDevice=\"STORED\"\r\n";
    QTest::newRow("stored") << stored << QByteArray("LIB") << 0 << QByteArray("STORED");
    QTest::newRow("stored empty") << QByteArray("[CPU]\r\nDevice=\"\"\r\n") << QByteArray("LIB")
                                  << 0 << QByteArray("LIB");
    QTest::newRow("library fails") << QByteArray() << QByteArray("LIB") << -1 << QByteArray();
    QTest::newRow("no name") << QByteArray() << QByteArray() << 0 << QByteArray();
    QTest::newRow("long name") << QByteArray() << QByteArray(500, 'n') << 0 << QByteArray(127, 'n');
}

void ConnectionSettingsTest::theFirstDeviceComesFromTheLibrary()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, name);
    QFETCH(int, result);
    firstDeviceName = name.isNull() ? nullptr : name.constData();
    firstDeviceResult = result;
    QTEST(QByteArray(Load(content).Device.data()), "device");
}

void ConnectionSettingsTest::speedsAndInterfacesFollowTheirRules_data()
{
    QTest::addColumn<QByteArray>("keys");
    QTest::addColumn<QByteArray>("outcome"); // TargetIF, UseMaxSpeed, UseAdaptive, Speed
    QTest::newRow("adaptive wins over maximum")
        << QByteArray("TargetIF = 0\r\nUseAdaptive = 1\r\nUseMaxSpeed = 1\r\n")
        << QByteArray("0 0 1 4000");
    QTest::newRow("adaptive by default maximum")
        << QByteArray("TargetIF = 0\r\nUseAdaptive = 1\r\n") << QByteArray("0 0 1 4000");
    QTest::newRow("no adaptive but for JTAG")
        << QByteArray("TargetIF = 1\r\nUseAdaptive = 1\r\nUseMaxSpeed = 0\r\n")
        << QByteArray("1 0 0 4000");
    QTest::newRow("negative speed") << QByteArray("Speed = -5\r\n") << QByteArray("1 1 0 4000");
    QTest::newRow("speed 0") << QByteArray("Speed = 0\r\n") << QByteArray("1 1 0 0");
    QTest::newRow("damaged speed") << QByteArray("Speed = fast\r\n") << QByteArray("1 1 0 4000");
    QTest::newRow("endless speed")
        << QByteArray("Speed = 99999999999\r\n") << QByteArray("1 1 0 2147483647");
}

void ConnectionSettingsTest::speedsAndInterfacesFollowTheirRules()
{
    QFETCH(QByteArray, keys);
    const ConnectionRecord record = Load("[TIF]\r\n" + keys);
    const QByteArray outcome = QByteArray::number(record.TargetIF) + ' '
        + QByteArray::number(record.UseMaxSpeed) + ' ' + QByteArray::number(record.UseAdaptive)
        + ' ' + QByteArray::number(record.Speed);
    QTEST(outcome, "outcome");
}

void ConnectionSettingsTest::applyingSavesReplacesAndReconnects()
{
    ConnectionRecord record = Load("");
    SETTINGS_Apply(&record);
    QCOMPARE(reconnects, 0);
    QCOMPARE(Content(), ""); // unchanged: nothing is written

    record.USBSerialNo = 123456;
    record.LocalhostOnly = 1; // counts as a change, but is not saved
    SETTINGS_Apply(&record);
    QCOMPARE(reconnects, 1);
    const ConnectionRecord global = SETTINGS_Snapshot();
    QVERIFY(std::memcmp(&record, &global, sizeof record) == 0);
    QCOMPARE(Content(),
        "[GENERAL]\r\nHostName=\"\"\r\nUSBSerialNo = 0x1E240\r\nUseSerialNo = 0\r\n"
        "ConnectMode = 1\r\n"
        "[CPU]\r\nEndianMode = 0\r\nDevice=\"FIRST\"\r\n"
        "[TIF]\r\nIRPre = 0\r\nDRPre = 0\r\nMultipleTargets = 0\r\nSpeed = 4000\r\n"
        "UseAdaptive = 0\r\nUseMaxSpeed = 1\r\nTargetIF = 1\r\n");
}

void ConnectionSettingsTest::everyFieldComesBack()
{
    ConnectionRecord record = Load("");
    record.ConnectMode = 2;
    record.UseSerialNo = 1;
    record.USBSerialNo = 0xFEDCBA98;
    record.EndianMode = 1;
    record.TargetIF = 0;
    record.UseMaxSpeed = 0;
    record.UseAdaptive = 1;
    record.Speed = 12345;
    record.MultipleTargets = 1;
    record.DRPre = 2;
    record.IRPre = 9;
    UTIL_CopyText(record.Device, QByteArray(127, 'd').constData());
    UTIL_CopyText(record.HostName, "probe.example:19020");
    SETTINGS_Apply(&record);
    const ConnectionRecord loaded = Load(Content());
    QVERIFY(std::memcmp(&record, &loaded, sizeof record) == 0);
}

void ConnectionSettingsTest::snapshotsAreNeverTorn()
{
    ConnectionRecord record = Load("");
    std::atomic<bool> stop{false};
    int torn = 0;
    std::thread worker([&] {
        while (!stop.load()) {
            const ConnectionRecord snapshot = SETTINGS_Snapshot();
            torn += snapshot.DRPre != snapshot.IRPre ? 1 : 0;
        }
    });
    for (int i = 1; i <= 50; ++i) {
        record.DRPre = i;
        record.IRPre = i;
        SETTINGS_Apply(&record);
    }
    stop = true;
    worker.join();
    QCOMPARE(torn, 0);
    QCOMPARE(SETTINGS_Snapshot().IRPre, 50);
}

QTEST_GUILESS_MAIN(ConnectionSettingsTest)
#include "tst_connectionsettings.moc"
