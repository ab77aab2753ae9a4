#include "connectionsettings.h"

#include "presethost.h"
#include "ranvoapi.h"
#include "settingsstore.h"
#include "utiltext.h"

#include "testfile.h"

#include <QtTest>

#include <cstring>

namespace {

QByteArray firstDevice; // null: the library fails
int reconnects = 0;

bool AreSame(const ConnectionRecord &record, const ConnectionRecord &other)
{
    return std::memcmp(&record, &other, sizeof record) == 0; // also behind the texts' ends
}

} // namespace

int RANVOARM_DEVICE_GetInfo(int index, RanvoDeviceInfo *info)
{
    if (index != 0 || !info || info->sizeOfStruct != RANVO_DEVICE_INFO_SIZE)
        qFatal("asked for another record");
    info->name = firstDevice == "nameless" ? nullptr : firstDevice.constData();
    return firstDevice.isNull() ? -1 : 0;
}

class ConnectionSettingsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        SETTINGS_SetHost({nullptr, [] { ++reconnects; }});
        SETTINGS_SetPath(m_path.toUtf8());
    }

    void aFileGivesARecord()
    {
        // Interface, max. speed, adaptive, kHz, device, host.
        const auto loaded = [this](const QByteArray &content, const QByteArray &library = "LIB") {
            firstDevice = library;
            const ConnectionRecord record = Load(content);
            QByteArray shown;
            for (const auto number :
                {record.TargetIF, int(record.UseMaxSpeed), int(record.UseAdaptive), record.Speed})
                shown += QByteArray::number(number) + ' ';
            if (FileContent(m_path) != content) // loading writes nothing
                shown = "written";
            return shown + record.Device.data() + ' ' + record.HostName.data();
        };
        QCOMPARE(loaded(""), "1 1 0 4000 LIB ");
        QCOMPARE(loaded("[CPU]\r\nDevice=\"MINE\""), "1 1 0 4000 MINE ");
        QCOMPARE(loaded("[CPU]\r\nDevice=\"\""), "1 1 0 4000 LIB ");
        QCOMPARE(loaded("", QByteArray()), "1 1 0 4000  "); // the library fails
        QCOMPARE(loaded("", "nameless"), "1 1 0 4000  ");
        QCOMPARE(loaded("", QByteArray(500, 'n')), "1 1 0 4000 " + QByteArray(127, 'n') + ' ');
        QCOMPARE(loaded("[TIF]\r\nTargetIF = 0\r\nUseAdaptive = 1"), "0 0 1 4000 LIB ");
        QCOMPARE(loaded("[TIF]\r\nUseAdaptive = 1\r\nUseMaxSpeed = 0"), "1 0 0 4000 LIB ");
        QCOMPARE(loaded("[TIF]\r\nSpeed = -5"), "1 1 0 4000 LIB ");
        QCOMPARE(loaded("[TIF]\r\nSpeed = 0"), "1 1 0 0 LIB ");
        QCOMPARE(loaded("[TIF]\r\nSpeed = fast"), "1 1 0 4000 LIB ");
        QCOMPARE(loaded("[GENERAL]\r\nHostName=\" \tmy host \""), "1 1 0 4000 LIB my host");
        QCOMPARE(loaded("[GENERAL]\r\nHostName=\" \t\""), "1 1 0 4000 LIB ");
    }

    void applyingSavesEveryFieldAndReconnects()
    {
        firstDevice = "LIB";
        ConnectionRecord record = Load("");
        QVERIFY(!SETTINGS_Apply(&record));
        QCOMPARE(reconnects, 0);
        QCOMPARE(FileContent(m_path), ""); // unchanged: nothing is written
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
        UTIL_CopyText(record.HostName, "probe.example:19020");
        QVERIFY(SETTINGS_Apply(&record));
        QCOMPARE(reconnects, 1);
        QVERIFY(AreSame(record, SETTINGS_Snapshot()));
        QCOMPARE(FileContent(m_path),
            "[GENERAL]\r\nHostName=\"probe.example:19020\"\r\nUSBSerialNo = 0xFEDCBA98\r\n"
            "UseSerialNo = 1\r\nConnectMode = 2\r\n"
            "[CPU]\r\nEndianMode = 1\r\nDevice=\"LIB\"\r\n"
            "[TIF]\r\nIRPre = 9\r\nDRPre = 2\r\nMultipleTargets = 1\r\nSpeed = 12345\r\n"
            "UseAdaptive = 1\r\nUseMaxSpeed = 0\r\nTargetIF = 0\r\n");
        QVERIFY(AreSame(Load(FileContent(m_path)), record));
        record.LocalhostOnly = 1; // counts as a change, but is not saved
        QVERIFY(SETTINGS_Apply(&record));
        QCOMPARE(reconnects, 2);
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
        QCOMPARE(FileContent(m_path), stored);

        record.EndianMode = 1;
        SETTINGS_Apply(&record);
        QVERIFY(
            FileContent(m_path).startsWith("[GENERAL]\r\nUSBSerialNo = 0x00\r\nUseSerialNo = 0\r\n"
                                           "HostName=\"kept\"\r\nConnectMode = 1\r\n"));
        QVERIFY(FileContent(m_path).contains("EndianMode = 1"));

        UTIL_CopyText(record.HostName, "sim");
        SETTINGS_Apply(&record);
        QVERIFY(FileContent(m_path).contains("HostName=\"sim\"\r\n"));
        UTIL_CopyText(record.HostName, "gdb:board:1"); // chosen by the user this time
        SETTINGS_Apply(&record);
        qunsetenv(kPresetHostVariable);
        QCOMPARE(Load(FileContent(m_path)).HostName.data(), "gdb:board:1");
    }

private:
    ConnectionRecord Load(const QByteArray &content)
    {
        PutFile(m_path, content);
        SETTINGS_Release();
        ConnectionRecord record;
        std::memset(&record, 0xEE, sizeof record);
        SETTINGS_Load(&record);
        if (!AreSame(record, SETTINGS_Snapshot()))
            qFatal("the global record differs");
        return record;
    }

    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath("test.ini");
};

QTEST_GUILESS_MAIN(ConnectionSettingsTest)
#include "tst_connectionsettings.moc"
