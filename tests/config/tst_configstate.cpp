#include "configstate.h"
#include "configtables.h"
#include "optionstring.h"
#include "recordfixture.h"

#include <QTest>

#include <limits>
#include <string>

class ConfigStateTest : public QObject {
    Q_OBJECT

private slots:
    void init() { CustomSpeedText().fill('\0'); }

    void speedsComeFromTheRecord_data()
    {
        QTest::addColumn<int>("speed");
        QTest::addColumn<uint>("frequency");
        QTest::addColumn<QString>("customText");
        QTest::newRow("row 0's own value") << -1 << 0U << "";
        QTest::newRow("listed and searched") << 5 << 2U << "";
        QTest::newRow("last one searched") << 10 << 3U << "";
        QTest::newRow("listed, not searched: custom") << 4000 << 0U << "4000";
        QTest::newRow("not listed: custom") << 4001 << 0U << "4001";
        QTest::newRow("negative: custom") << -7 << 0U << "-7";
        QTest::newRow("largest: custom") << std::numeric_limits<int>::max() << 0U << "2147483647";
        QTest::newRow("none: 4000 kHz") << 0 << 21U << "";
    }

    void speedsComeFromTheRecord()
    {
        QFETCH(int, speed);
        const ConnectionRecord record = MakeFixedSpeedRecord(speed);
        const ConfigState state = LoadConfigState(record);
        QCOMPARE(state.speedMode, kFixedSpeed);
        QTEST(state.frequencyIndex, "frequency");
        QTEST(QString::fromLatin1(CustomSpeedText().data()), "customText");
        ConnectionRecord stored = record;
        StoreConfigState(state, &stored);
        QCOMPARE(stored.Speed, speed == 0 ? 4000 : speed);
    }

    void theSpeedModeLeavesAStoredSpeedAlone()
    {
        ConnectionRecord record = MakeFixedSpeedRecord(1234);
        record.UseAdaptive = 1;
        record.UseMaxSpeed = 1;
        ConfigState state = LoadConfigState(record);
        QCOMPARE(state.speedMode, kAdaptiveSpeed);
        StoreConfigState(state, &record);
        QCOMPARE(record.UseMaxSpeed, 0U);
        QCOMPARE(record.UseAdaptive, 1U);
        QCOMPARE(record.Speed, 1234);
        state.speedMode = kAutoSpeed;
        StoreConfigState(state, &record);
        QCOMPARE(record.UseMaxSpeed, 1U);
        QCOMPARE(record.UseAdaptive, 0U);
        QCOMPARE(record.Speed, 1234);
    }

    void aCustomSpeedStaysListedUntilTheProgramEnds()
    {
        QCOMPARE(FrequencyOfListRow(0), 1U);
        QCOMPARE(ListRowOfFrequency(0), -1);
        (void)LoadConfigState(MakeFixedSpeedRecord(777));
        (void)LoadConfigState(MakeFixedSpeedRecord(5));
        QCOMPARE(std::string(CustomSpeedText().data()), "777");
        QCOMPARE(FrequencyOfListRow(0), 0U);
        QCOMPARE(ListRowOfFrequency(21), 21);
        QCOMPARE(FrequencyOfListRow(99), 33U);
        QCOMPARE(FrequencyOfListRow(-1), 0U);
    }

    void unknownStoredValuesFallBack_data()
    {
        QTest::addColumn<int>("targetInterface");
        QTest::addColumn<int>("endianMode");
        QTest::addColumn<int>("connectMode");
        QTest::addColumn<int>("drPre");
        QTest::addColumn<int>("storedInterface");
        QTest::addColumn<int>("storedEndian");
        QTest::addColumn<int>("storedMode");
        QTest::addColumn<int>("storedDrPre");
        QTest::newRow("known") << 4 << 1 << 2 << 7 << 4 << 1 << 2 << 7;
        QTest::newRow("the interface left out") << 2 << 0 << 1 << 0 << 1 << 0 << 1 << 0;
        QTest::newRow("too large") << 99 << 2 << 3 << 8 << 1 << 0 << 1 << 0;
        QTest::newRow("negative") << -1 << -1 << -2 << -99 << 1 << 0 << 1 << 0;
    }

    void unknownStoredValuesFallBack()
    {
        QFETCH(int, targetInterface);
        QFETCH(int, endianMode);
        QFETCH(int, connectMode);
        QFETCH(int, drPre);
        ConnectionRecord record = MakeRecord();
        record.TargetIF = targetInterface;
        record.EndianMode = endianMode;
        record.ConnectMode = connectMode;
        record.DRPre = drPre;
        const ConfigState state = LoadConfigState(record);
        StoreConfigState(state, &record);
        QTEST(record.TargetIF, "storedInterface");
        QTEST(record.EndianMode, "storedEndian");
        QTEST(record.ConnectMode, "storedMode");
        QTEST(record.DRPre, "storedDrPre");
    }

    void anUntouchedRecordStaysEqual()
    {
        ConnectionRecord record = MakeFixedSpeedRecord(4000);
        record.InitRegs = 1;
        record.LocalhostOnly = 1;
        record.MultipleTargets = 1;
        record.UseSerialNo = 1;
        record.USBSerialNo = 0xFFFFFFFF;
        record.IRPre = -5;
        SetText(&record.HostName, std::string(127, 'h'));
        SetText(&record.Device, "STM32F407IG");
        record.Device[20] = 'x'; // behind the name: copied as it is
        const ConnectionRecord before = record;
        StoreConfigState(LoadConfigState(record), &record);
        QVERIFY(AreEqual(record, before));
    }

    void initRegsIsNeverWrittenBack()
    {
        ConnectionRecord record = MakeRecord();
        ConfigState state = LoadConfigState(record);
        state.initRegs = true;
        StoreConfigState(state, &record);
        QCOMPARE(record.InitRegs, 0U);
    }

    void aPositionPresetsTheInstructionBits()
    {
        ConfigState state = LoadConfigState(MakeRecord());
        ChoosePosition(&state, 3);
        QCOMPARE(state.irPrefix, 12);
        ChoosePosition(&state, 8);
        QCOMPARE(state.drPrefixIndex, 3U);
    }

    void namesAreBoundedAndCleaned_data()
    {
        QTest::addColumn<QByteArray>("typed");
        QTest::addColumn<QByteArray>("kept");
        QTest::newRow("plain") << QByteArray("192.168.2.3") << QByteArray("192.168.2.3");
        QTest::newRow("signs and spaces") << QByteArray(" -+ a ") << QByteArray(" -+ a ");
        QTest::newRow("what would end its line or its quotes")
            << QByteArray("a\"\r\n[TIF]\x7F\tb") << QByteArray("a[TIF]b");
        QTest::newRow("10,000 characters") << QByteArray(10000, 'x') << QByteArray(127, 'x');
        QTest::newRow("a character across the bound")
            << QByteArray(126, 'x') + "\xC3\xA4" << QByteArray(126, 'x');
        QTest::newRow("characters of two bytes")
            << QByteArray("\xC3\xA4").repeated(5000) << QByteArray("\xC3\xA4").repeated(63);
    }

    void namesAreBoundedAndCleaned()
    {
        QFETCH(QByteArray, typed);
        std::array<char, 128> name;
        name.fill('?');
        SetName(&name, std::string_view(typed.constData(), static_cast<std::size_t>(typed.size())));
        QTEST(QByteArray(name.data()), "kept");
        QVERIFY(std::all_of(name.begin() + static_cast<long>(strlen(name.data())), name.end(),
            [](char c) { return c == '\0'; }));
    }

    void numbersAreReadWholeOrNotAtAll_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<qint64>("number");
        QTest::newRow("plain") << QByteArray("28100001") << 28100001LL;
        QTest::newRow("blanks and a sign") << QByteArray(" \t+5 ") << 5LL;
        QTest::newRow("zeros in front") << QByteArray("007") << 7LL;
        QTest::newRow("largest") << QByteArray("4294967295") << 4294967295LL;
        for (const char *text : {"", " ", "-", "+", "+-5", "5x", "x5", "0x10", "1.5", "5 6", "-1",
                 "4294967296", "99999999999999999999999"})
            QTest::newRow(text) << QByteArray(text) << 0LL;
        QTest::newRow("10,000 digits") << QByteArray(10000, '9') << 0LL;
    }

    void numbersAreReadWholeOrNotAtAll()
    {
        QFETCH(QByteArray, text);
        QTEST(qint64(ReadNumber(text.toStdString(), 0, 0xFFFFFFFF)), "number");
    }

    void theOptionStringFollowsTheState()
    {
        ConnectionRecord record = MakeFixedSpeedRecord(0);
        SetText(&record.Device, "STM32F407IG");
        SetText(&record.HostName, "192.168.2.3");
        record.USBSerialNo = 28100001;
        ConfigState state = LoadConfigState(record);
        QCOMPARE(OptionsOf(state),
            "-select USB -device STM32F407IG -endian little -if SWD -speed 4000 -noir "
            "-noLocalhostOnly");
        state.useSerialNo = true;
        state.initRegs = true;
        state.localhostOnly = true;
        state.speedMode = kAdaptiveSpeed;
        state.interfaceIndex = 3;
        QCOMPARE(OptionsOf(state),
            "-select USB=28100001 -device STM32F407IG -endian little -if ICSP -speed adaptive -ir "
            "-LocalhostOnly");
        state.connectionIndex = kTcpIpConnection;
        state.endianIndex = 1;
        state.speedMode = kAutoSpeed;
        QCOMPARE(OptionsOf(state),
            "-select IP=192.168.2.3 -device STM32F407IG -endian big -if ICSP -speed auto -ir "
            "-LocalhostOnly");
        state.speedMode = kFixedSpeed;
        state.frequencyIndex = kCustomFrequency; // without a text
        state.hostName.fill('\0');
        state.deviceName.fill('\0');
        QCOMPARE(OptionsOf(state),
            "-select IP -device  -endian big -if ICSP -speed  -ir -LocalhostOnly");
        SetText(&state.hostName, std::string(127, 'h'));
        QVERIFY(OptionsOf(state).starts_with("-select IP=" + std::string(62, 'h') + " -device"));
    }

private:
    static std::string OptionsOf(const ConfigState &state)
    {
        return MakeOptionString(state).data();
    }
};

QTEST_GUILESS_MAIN(ConfigStateTest)
#include "tst_configstate.moc"
