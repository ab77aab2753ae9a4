#include "connectionsettings.h"

#include "presethost.h"
#include "ranvoapi.h"
#include "settingsstore.h"
#include "utiltext.h"

#include "testfile.h"

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
    void initTestCase()
    {
        SETTINGS_SetHost({nullptr, [] { ++reconnects; }});
        SETTINGS_SetPath(m_path.toUtf8().constData());
    }

    void init()
    {
        firstDeviceName = "FIRST";
        firstDeviceResult = 0;
        reconnects = 0;
    }

    void anEmptyFileGivesTheDefaults()
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

    void theFirstDeviceComesFromTheLibrary()
    {
        const auto device = [this](const QByteArray &content, const char *name, int result) {
            firstDeviceName = name;
            firstDeviceResult = result;
            return QByteArray(Load(content).Device.data());
        };
        QCOMPARE(device("[CPU]\r\nDevice=\"STORED\"\r\n", "LIB", 0), "STORED");
        QCOMPARE(device("[CPU]\r\nDevice=\"\"\r\n", "LIB", 0), "LIB");
        QCOMPARE(device("", "LIB", -1), "");
        QCOMPARE(device("", nullptr, 0), "");
        QCOMPARE(device("", QByteArray(500, 'n'), 0), QByteArray(127, 'n'));
    }

    void speedsAndInterfacesFollowTheirRules()
    {
        constexpr std::array<const char *, 2> kRules[]
            = {// keys, then TargetIF, UseMaxSpeed, UseAdaptive, Speed
                {"TargetIF = 0\r\nUseAdaptive = 1\r\nUseMaxSpeed = 1", "0 0 1 4000"},
                {"TargetIF = 0\r\nUseAdaptive = 1", "0 0 1 4000"},
                {"TargetIF = 1\r\nUseAdaptive = 1\r\nUseMaxSpeed = 0", "1 0 0 4000"},
                {"Speed = -5", "1 1 0 4000"}, {"Speed = 0", "1 1 0 0"},
                {"Speed = fast", "1 1 0 4000"}, {"Speed = 99999999999", "1 1 0 2147483647"}};
        for (const auto &[keys, outcome] : kRules) {
            const ConnectionRecord record = Load(QByteArray("[TIF]\r\n") + keys);
            QCOMPARE(QStringLiteral("%1 %2 %3 %4")
                         .arg(record.TargetIF)
                         .arg(record.UseMaxSpeed)
                         .arg(record.UseAdaptive)
                         .arg(record.Speed),
                QLatin1String(outcome));
        }
    }

    void applyingSavesReplacesAndReconnects()
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

    void everyFieldComesBack()
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

    void aPresetTargetCountsForOneRunAndIsNotSaved()
    {
        const QByteArray stored = "[GENERAL]\r\nHostName=\"kept\"\r\nConnectMode = 1\r\n";
        for (const QByteArray &refused : {QByteArray(""), QByteArray(" x"), QByteArray("x "),
                 QByteArray("a\nb"), QByteArray(64, 'x')}) {
            qputenv(kPresetHostVariable, refused);
            QCOMPARE(Load(stored).ConnectMode, kConnectModeUsb);
        }
        qputenv(kPresetHostVariable, "gdb:board:1");
        ConnectionRecord record = Load(stored);
        QCOMPARE(record.ConnectMode, kConnectModeTcpIp);
        QCOMPARE(record.HostName.data(), "gdb:board:1");
        QVERIFY(!SETTINGS_Apply(&record)); // OK in the first dialog
        QCOMPARE(Content(), stored);

        record.EndianMode = 1;
        SETTINGS_Apply(&record);
        QVERIFY(Content().startsWith("[GENERAL]\r\nUSBSerialNo = 0x00\r\nUseSerialNo = 0\r\n"
                                     "HostName=\"kept\"\r\nConnectMode = 1\r\n"));
        QVERIFY(Content().contains("EndianMode = 1"));

        UTIL_CopyText(record.HostName, "sim");
        SETTINGS_Apply(&record);
        QVERIFY(Content().contains("HostName=\"sim\"\r\n"));
        UTIL_CopyText(record.HostName, "gdb:board:1"); // chosen by the user this time
        SETTINGS_Apply(&record);
        qunsetenv(kPresetHostVariable);
        QCOMPARE(Load(Content()).HostName.data(), "gdb:board:1");
    }

    void snapshotsAreNeverTorn()
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

private:
    ConnectionRecord Load(const QByteArray &content)
    {
        PutFile(m_path, content);
        SETTINGS_Release();
        ConnectionRecord record;
        std::memset(&record, 0xEE, sizeof record);
        SETTINGS_Load(&record);
        const ConnectionRecord global = SETTINGS_Snapshot();
        if (std::memcmp(&record, &global, sizeof record) != 0)
            qFatal("the global record differs");
        return record;
    }
    [[nodiscard]] QByteArray Content() const { return FileContent(m_path); }

    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath("test.ini");
};

QTEST_GUILESS_MAIN(ConnectionSettingsTest)
#include "tst_connectionsettings.moc"
