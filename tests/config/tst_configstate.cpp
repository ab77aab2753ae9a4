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

    void speedsComeFromTheRecord()
    {
        const std::tuple<int, unsigned, const char *, int> speeds[] = {// and what is stored
            {-1, 0, "", -1}, {5, 2, "", 5}, {10, 3, "", 10},
            // Only the first rows are searched, so any other speed is a custom one.
            {4000, 0, "4000", 4000}, {4001, 0, "4001", 4001}, {-7, 0, "-7", -7},
            {std::numeric_limits<int>::max(), 0, "2147483647", std::numeric_limits<int>::max()},
            {0, 21, "", 4000}};
        for (const auto &[speed, row, customText, storedSpeed] : speeds) {
            CustomSpeedText().fill('\0');
            ConnectionRecord record = MakeFixedSpeedRecord(speed);
            const ConfigState state = LoadConfigState(record);
            QCOMPARE(state.speedMode, kFixedSpeed);
            QCOMPARE(state.frequencyIndex, row);
            QCOMPARE(CustomSpeedText().data(), customText);
            StoreConfigState(state, &record);
            QCOMPARE(record.Speed, storedSpeed);
        }
    }

    void theSpeedModeLeavesAStoredSpeedAlone()
    {
        ConnectionRecord record = MakeFixedSpeedRecord(1234);
        record.UseAdaptive = 1;
        record.UseMaxSpeed = 1;
        ConfigState state = LoadConfigState(record);
        QCOMPARE(state.speedMode, kAdaptiveSpeed); // which beats the other
        for (const bool isAdaptive : {true, false}) {
            state.speedMode = isAdaptive ? kAdaptiveSpeed : kAutoSpeed;
            StoreConfigState(state, &record);
            QCOMPARE(record.UseAdaptive == 1, isAdaptive);
            QCOMPARE(record.UseMaxSpeed == 1, !isAdaptive);
            QCOMPARE(record.Speed, 1234);
        }
    }

    void aCustomSpeedStaysListedUntilTheProgramEnds()
    {
        QCOMPARE(FrequencyOfListRow(0), 1U);
        QCOMPARE(ListRowOfFrequency(0), -1);
        (void)LoadConfigState(MakeFixedSpeedRecord(777));
        (void)LoadConfigState(MakeFixedSpeedRecord(5));
        QCOMPARE(CustomSpeedText().data(), "777");
        QCOMPARE(FrequencyOfListRow(0), 0U);
        QCOMPARE(ListRowOfFrequency(21), 21);
        QCOMPARE(FrequencyOfListRow(99), 33U);
        QCOMPARE(FrequencyOfListRow(-1), 0U);
    }

    void unknownStoredValuesFallBack()
    {
        using Values = std::array<int, 4>; // interface, byte order, connection, position
        const std::pair<Values, Values> values[]
            = {{{4, 1, 2, 7}, {4, 1, 2, 7}}, {{2, 0, 1, 0}, {1, 0, 1, 0}}, // the interface left out
                {{99, 2, 3, 8}, {1, 0, 1, 0}}, {{-1, -1, -2, -99}, {1, 0, 1, 0}}};
        for (const auto &[read, stored] : values) {
            ConnectionRecord record = MakeRecord();
            record.TargetIF = read[0];
            record.EndianMode = read[1];
            record.ConnectMode = read[2];
            record.DRPre = read[3];
            StoreConfigState(LoadConfigState(record), &record);
            QCOMPARE((Values{record.TargetIF, record.EndianMode, record.ConnectMode, record.DRPre}),
                stored);
        }
    }

    void namesAreBoundedAndCleaned()
    {
        const QByteArray umlaut("\xC3\xA4"); // a character of two bytes
        const std::pair<QByteArray, QByteArray> names[]
            = {{"192.168.2.3", "192.168.2.3"}, {" -+ a ", " -+ a "},
                {"a\"\r\n[TIF]\x7F\tb", "a[TIF]b"}, // what would end its line or its quotes
                {QByteArray(10000, 'x'), QByteArray(127, 'x')},
                {QByteArray(126, 'x') + umlaut, QByteArray(126, 'x')},
                {umlaut.repeated(5000), umlaut.repeated(63)}};
        for (const auto &[typed, kept] : names) {
            std::array<char, 128> name;
            name.fill('?');
            SetName(&name, typed.toStdString());
            QCOMPARE(QByteArray(name.data()), kept);
            QVERIFY(std::all_of(
                name.begin() + kept.size(), name.end(), [](char c) { return c == '\0'; }));
        }
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
        state.useSerialNo = state.initRegs = state.localhostOnly = true;
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
