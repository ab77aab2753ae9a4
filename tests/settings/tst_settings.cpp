#include "connectionsettings.h"
#include "presethost.h"
#include "ranvoapi.h"
#include "settingshost.h"
#include "settingsstore.h"
#include "utiltext.h"

#include "asuser.h"
#include "testfile.h"

#include <QtTest>

#include <climits>
#include <cstdio>
#include <functional>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

QByteArrayList shownErrors;
QByteArrayList quietTexts;
QByteArray firstDevice; // null: the probe library fails
int reconnects = 0;

bool AreSame(const ConnectionRecord &record, const ConnectionRecord &other)
{
    return std::memcmp(&record, &other, sizeof record) == 0; // also behind the texts' ends
}

/// What the key K of the section S reads as, in every kind.
QByteArray Readings()
{
    QByteArrayList readings;
    std::uint32_t count = 0;
    const auto told = [&](const char *kind, int result, const auto &values) {
        QByteArrayList numbers;
        for (std::uint32_t i = 0; result == SETTINGS_OK && i < count; ++i)
            numbers << QByteArray::number(values[i]);
        if (result == SETTINGS_OK)
            readings << kind + numbers.join(',');
    };
    std::array<std::int32_t, 4> four{};
    std::array<std::uint32_t, 4> words{};
    std::array<std::uint8_t, 4> bytes{};
    std::array<char, 6> text = {'o', 'l', 'd'};
    count = 1;
    told("d", SETTINGS_ReadDecimal("S", "K", four[0]), four);
    told("h", SETTINGS_ReadHex("S", "K", words[0]), words);
    count = 4;
    told("4:", SETTINGS_ReadFourInts("S", "K", four), four);
    told("b", SETTINGS_ReadBytes("S", "K", bytes, count), bytes);
    told("x", SETTINGS_ReadHexBytes("S", "K", bytes, count), bytes);
    told("w", SETTINGS_ReadWords("S", "K", words, count), words);
    if (SETTINGS_ReadText("S", "K", text) == SETTINGS_OK || text[0] != '\0')
        readings << "t" + QByteArray(text.data());
    return readings.join(' ');
}

} // namespace

int RANVOARM_DEVICE_GetInfo(int index, RanvoDeviceInfo *info)
{
    if (index != 0 || !info || info->sizeOfStruct != RANVO_DEVICE_INFO_SIZE)
        qFatal("asked for another record");
    info->name = firstDevice == "nameless" ? nullptr : firstDevice.constData();
    return firstDevice.isNull() ? -1 : 0;
}

class SettingsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        SETTINGS_SetHost(
            {[](const char *text) { shownErrors.append(text); }, [] { ++reconnects; }});
        SETTINGS_SetQuietReport([](const char *text) { quietTexts.append(text); });
    }

    void init()
    {
        QFile::remove(m_path);
        SETTINGS_SetPath(m_path.toUtf8());
        SETTINGS_CloseStore();
        shownErrors.clear();
        quietTexts.clear();
    }

    void theDefaultFileLiesUnderItsOldName()
    {
        const QString folder = QDir::homePath() + "/.config/TOLVEN";
        const QString expected = folder + "\\tst_settingsSettings.ini";
        SETTINGS_SetPath("");
        QCOMPARE(QString::fromUtf8(SETTINGS_GetPath()), expected);
        QCOMPARE(SETTINGS_WriteDecimal("S", "K", 4000), SETTINGS_OK);
        QCOMPARE(FileContent(expected), "[S]\r\nK = 4000\r\n");
        SETTINGS_SetPath(m_path.toUtf8()); // counts from the next operation on
        QCOMPARE(Readings(), "");
        // A file that exists is read although its folder cannot be made.
        QVERIFY(QDir(folder).removeRecursively());
        PutFile(folder, "in the way");
        SETTINGS_SetPath("");
        QCOMPARE(Readings(), "d4000");
    }

    void everyKindIsWrittenInItsFormAndReadBack()
    {
        const std::array<std::uint8_t, 3> bytes = {0, 10, 255};
        const std::array<std::uint32_t, 2> words = {7, 0xFFFFFFFF};
        const std::array<std::uint32_t, 0> noWords = {};
        const std::array<std::int32_t, 4> four = {1, -2, 3, 4};
        const auto written = [this](auto write, const auto &value) {
            Put("[S]\r\n");
            const bool good // the second replaces the first
                = write("S", "K", value) == SETTINGS_OK && write("S", "K", value) == SETTINGS_OK;
            SETTINGS_CloseStore();
            const QByteArray content = Content() + Readings();
            SETTINGS_DeleteKey("S", "K");
            return good && Content() == "[S]\r\n" ? content.mid(5) : "not deleted";
        };
        QCOMPARE(written(&SETTINGS_WriteDecimal, -INT_MAX), "K = -2147483647\r\nd-2147483647");
        QCOMPARE(written(&SETTINGS_WriteHex, 5), "K = 0x05\r\nh5");
        QCOMPARE(written(&SETTINGS_WriteHex, ~0U), "K = 0xFFFFFFFF\r\nh4294967295");
        QCOMPARE(written(&SETTINGS_WriteText, "=[b]\r\nN = 7"),
            "K=\"=[b]\"\r\nt=[b]"); // to its line's end
        QCOMPARE(written(&SETTINGS_WriteText, nullptr), "K=\"\"\r\nx t");
        QCOMPARE(written(&SETTINGS_WriteBytes, bytes), "K[3] = 0, 10, 255\r\nb0,10,255 w0,10,255");
        QCOMPARE(written(&SETTINGS_WriteWords, words), "K[2] = 7, -1\r\nw7,4294967295");
        QCOMPARE(written(&SETTINGS_WriteWords, noWords), "K[0] = \r\nb w");
        QCOMPARE(written(&SETTINGS_WriteFourInts, four), "K = 1, -2, 3, 4\r\n4:1,-2,3,4");
        QCOMPARE(written(&SETTINGS_WriteHexBytes, bytes),
            "K=\" 0 AFF\"\r\nx0,10,255 t 0 AF"); // with blanks
    }

    void whatIsNoValueOfAKindIsRefused()
    {
        const auto readings = [this](const QByteArray &line) {
            Put("[S]\r\n" + line + "\r\n[T]\r\nK = 1\r\n");
            return Readings();
        };
        for (const char *const none : {"", "K =", "K = x1", "K = 0X12", "K = 0x", "K = 4000 kHz",
                 "K = 0x1fg", "K = 1, 2, 3", "K = 1, 2, 3, 4, 5", "K[3] = 1, 2",
                 "K[5] = 1, 2, 3, 4, 5", "K[99999999999] = 1", "K two = 2", "KK = 2"})
            QVERIFY2(readings(none) == "", none);
        QCOMPARE(readings("\t K\t=\t40 ; said who"), "d40");
        QCOMPARE(readings("K=\"ab"), "tab"); // never the next line
        QCOMPARE(readings("K=\"a\"b\""), "ta");
        QCOMPARE(readings("K=\"0102030405\""), "t01020");
        QCOMPARE(readings("K=\"01 a\""), "x1,10 t01 a");
        QCOMPARE(readings("K = 1,2 ,3 , 4 # mine"), "4:1,2,3,4");
        QCOMPARE(readings("K[2] = 1, 256"), "w1,256");
        QCOMPARE(readings(QByteArray("K = \0001", 6)), "");
        QCOMPARE(shownErrors, {});
    }

    void whatCannotBeReadOrWrittenIsToldAndStays()
    {
        // The quiet report about the load, then the one that the user sees about the save.
        const auto problems = [this](const std::function<void(const QByteArray &path)> &prepare) {
            init();
            prepare(m_path.toUtf8());
            const QByteArray before = Content();
            std::optional<AsUser> user(std::in_place);
            const int result = SETTINGS_WriteDecimal("S", "K", 2);
            user.reset();
            const bool good = result == SETTINGS_ERROR && Content() == before;
            const QByteArray place = " file [" + QByteArray(SETTINGS_GetPath()) + "]\n";
            QByteArray told = quietTexts.value(0) + '|' + shownErrors.join();
            return good ? told.replace(place, " ") + Readings() : "saved";
        };
        const auto put = [](const QByteArray &path, const QByteArray &content, mode_t mode = 0666) {
            PutFile(path, content);
            chmod(path, mode);
            AsUser::GiveAway(path);
        };
        chmod(qPrintable(m_folder.path()), 0777);
        QCOMPARE(problems([&](auto &path) { put(path, "[S]\r\nK = 1\r\n", 0444); }),
            "|Could not save File has read only attribute!d2"); // it is kept in memory
        QCOMPARE(problems([&](auto &path) { put(path, "[S]\r\n", 0); }),
            "Could not open Access is denied!|Could not save Access is denied!");
        if (getuid() == 0) // only root can give a file to another user
            QCOMPARE(problems([](auto &path) { PutFile(path, ""); }),
                "|Could not save Access is denied!d2");
        QCOMPARE(problems([&](auto &path) { put(path, QByteArray(30'001, '#')); }),
            "Could not open Failed to read data!|Could not save Failed to write data!");
        QCOMPARE(problems([&](auto &path) { put(path, "[S]\r\n" + QByteArray(29'995, '#')); }),
            "|Could not save Failed to write data!");
        QCOMPARE(
            problems([](auto &path) { AsUser::GiveAway(mkfifo(path, 0600) == 0 ? path : ""); }),
            "Could not open Invalid file handle!|Could not save Invalid file handle!");
        QCOMPARE(problems([](auto &path) { QFile::link(path, path); }),
            "Could not open Filename syntax is incorrect!|"
            "Could not save Filename syntax is incorrect!");
        QCOMPARE(problems([](auto &path) { SETTINGS_SetPath(path + "/none/x"); }),
            "Could not open Path not found!|Could not save Path not found!d2");
        chmod(qPrintable(m_folder.path()), 0700);
    }

    void foreignLinesSurviveEveryChange()
    {
        const QByteArray before
            = "; comment " + QByteArray(1, '\0') + "\xFF\n[OTHER]\r\n\r\nK = 1\n  [S]\r\n";
        const QByteArray behind = "[LAST]\nno end";
        Put(before + "[S]\r\nA=1\r\nK=2\r\n" + behind);
        QCOMPARE(SETTINGS_WriteDecimal("S", "K", 3), SETTINGS_OK);
        QCOMPARE(Content(), before + "[S]\r\nK = 3\r\nA=1\r\n" + behind);
        QCOMPARE(SETTINGS_DeleteKey("S", "A"), SETTINGS_OK);
        QCOMPARE(SETTINGS_DeleteKey("S", "K"), SETTINGS_OK);
        QCOMPARE(SETTINGS_DeleteKey("NONE", "K"), SETTINGS_OK);
        QCOMPARE(Content(), before + "[S]\r\n" + behind);
        QCOMPARE(SETTINGS_WriteHex("LAST", "L", 10), SETTINGS_OK);
        QCOMPARE(SETTINGS_WriteHex("NEW", "N", 11), SETTINGS_OK);
        QCOMPARE(Content(), before + "[S]\r\n[LAST]\nL = 0x0A\r\nno end\r\n[NEW]\r\nN = 0x0B\r\n");
    }

    void aBatchIsMadeAsAWholeOrNotAtAll()
    {
        const QByteArray before = "[S]\r\nK = 1\r\n[T]\r\n" + QByteArray(29'900, '#') + "\r\n";
        Put(before);
        {
            const SettingsBatch batch;
            QCOMPARE(SETTINGS_WriteDecimal("S", "K", 2), SETTINGS_OK);
            const QByteArray longText(200, 'x'); // there is no room for it
            QCOMPARE(SETTINGS_WriteText("S", "B", longText), SETTINGS_ERROR);
            QCOMPARE(SETTINGS_WriteText("S", "C", longText), SETTINGS_ERROR);
            QCOMPARE(SETTINGS_DeleteKey("S", "K"), SETTINGS_ERROR);
        }
        QCOMPARE(shownErrors.size(), 1);
        QCOMPARE(Content(), before);
        QCOMPARE(Readings(), "d1");
        QCOMPARE(SETTINGS_WriteDecimal("S", "K", 3), SETTINGS_OK); // the next one works again
        QVERIFY(Content().startsWith("[S]\r\nK = 3\r\n"));
    }

    void whatOthersMakeOfTheFileIsKept()
    {
        const auto changed = [this](const char *edited, bool isReplaced) {
            SETTINGS_WriteDecimal("S", "K", 1);
            PutFile(m_path + (isReplaced ? ".new" : ""), edited);
            const timespec old[] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
            const int result = isReplaced // as most editors save
                ? std::rename(qPrintable(m_path + ".new"), qPrintable(m_path))
                : utimensat(AT_FDCWD, qPrintable(m_path), old, 0); // for coarse clocks too
            const bool good = result == 0 && SETTINGS_WriteDecimal("S", "K", 2) == SETTINGS_OK;
            return good ? Content() : "failed";
        };
        for (const bool isReplaced : {false, true}) {
            QCOMPARE(changed("[S]\r\nOther = 7\r\nK = 1\r\n", isReplaced),
                "[S]\r\nK = 2\r\nOther = 7\r\n");
            QCOMPARE(changed("\xEF\xBB\xBF[S]\r\nL = 5\r\n", isReplaced),
                "\xEF\xBB\xBF[S]\r\nK = 2\r\nL = 5\r\n");
            QCOMPARE(changed("", isReplaced), "[S]\r\nK = 2\r\n");
        }
    }

    void aFileGivesARecord()
    {
        // Interface, max. speed, adaptive, kHz, device, host.
        const auto loaded = [this](const QByteArray &content, const QByteArray &library = "LIB") {
            firstDevice = library;
            const ConnectionRecord record = Load(content);
            const bool isKept = Content() == content; // loading writes nothing
            return isKept
                ? QString::asprintf("%d %u %u %d %s %s", record.TargetIF, record.UseMaxSpeed,
                    record.UseAdaptive, record.Speed, record.Device.data(), record.HostName.data())
                : "written";
        };
        QCOMPARE(loaded(""), "1 1 0 4000 LIB ");
        QCOMPARE(loaded("[CPU]\r\nDevice=\"MINE\""), "1 1 0 4000 MINE ");
        QCOMPARE(loaded("", QByteArray()), "1 1 0 4000  "); // the library fails
        QCOMPARE(loaded("", "nameless"), "1 1 0 4000  ");
        QCOMPARE(loaded("", QByteArray(500, 'n')), "1 1 0 4000 " + QString(127, 'n') + ' ');
        QCOMPARE(loaded("[TIF]\r\nTargetIF = 0\r\nUseAdaptive = 1"), "0 0 1 4000 LIB ");
        QCOMPARE(loaded("[TIF]\r\nUseAdaptive = 1\r\nUseMaxSpeed = 0"), "1 0 0 4000 LIB ");
        QCOMPARE(loaded("[TIF]\r\nSpeed = -5"), "1 1 0 4000 LIB ");
        QCOMPARE(loaded("[GENERAL]\r\nHostName=\" \tmy host \""), "1 1 0 4000 LIB my host");
    }

    void applyingSavesEveryFieldAndReconnects()
    {
        const QByteArray saved
            = "[GENERAL]\r\nHostName=\"probe.example:19020\"\r\nUSBSerialNo = 0xFEDCBA98\r\n"
              "UseSerialNo = 1\r\nConnectMode = 2\r\n"
              "[CPU]\r\nEndianMode = 1\r\nDevice=\"DEV\"\r\n"
              "[TIF]\r\nIRPre = 9\r\nDRPre = 2\r\nMultipleTargets = 1\r\nSpeed = 12345\r\n"
              "UseAdaptive = 1\r\nUseMaxSpeed = 0\r\nTargetIF = 0\r\n";
        ConnectionRecord record = Load(saved);
        const ConnectionRecord usual = Load("");
        QVERIFY(!SETTINGS_Apply(&usual));
        QVERIFY(reconnects == 0 && Content().isEmpty()); // unchanged: nothing is written
        QVERIFY(SETTINGS_Apply(&record) && AreSame(record, SETTINGS_Snapshot()));
        QCOMPARE(Content(), saved);
        record.LocalhostOnly = 1; // counts as a change, but is not saved
        QVERIFY(SETTINGS_Apply(&record) && reconnects == 2);
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
        record.EndianMode = 1;
        SETTINGS_Apply(&record);
        QVERIFY(Content().startsWith("[GENERAL]\r\nUSBSerialNo = 0x00\r\nUseSerialNo = "
                                     "0\r\nHostName=\"kept\"\r\nConnectMode = 1\r\n"));
        UTIL_CopyText(record.HostName, "sim");
        SETTINGS_Apply(&record);
        QVERIFY(Content().contains("HostName=\"sim\"\r\n"));
        UTIL_CopyText(record.HostName, "gdb:board:1"); // chosen by the user this time
        SETTINGS_Apply(&record);
        qunsetenv(kPresetHostVariable);
        QCOMPARE(Load(Content()).HostName.data(), "gdb:board:1");
    }

private:
    ConnectionRecord Load(const QByteArray &content)
    {
        Put(content);
        ConnectionRecord record;
        std::memset(&record, 0xEE, sizeof record);
        SETTINGS_Load(&record);
        if (!AreSame(record, SETTINGS_Snapshot()))
            qFatal("the global record differs");
        return record;
    }
    void Put(const QByteArray &content) const
    {
        PutFile(m_path, content);
        SETTINGS_CloseStore(); // the next operation loads again
    }
    [[nodiscard]] QByteArray Content() const
    {
        return QFileInfo(m_path).isFile() ? FileContent(m_path) : "<none>"; // a pipe would block
    }

    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath("test.ini");
};

QTEST_GUILESS_MAIN(SettingsTest)
#include "tst_settings.moc"
