#include "settingshost.h"
#include "settingsstore.h"
#include "sysmutex.h"

#include "testfile.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <climits>
#include <cstdio>
#include <numeric>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

QByteArrayList shownErrors;
QByteArrayList quietTexts;

} // namespace

class SettingsStoreTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        SETTINGS_SetHost({[](const char *text) { shownErrors.append(text); }, nullptr});
        SETTINGS_SetQuietReport([](const char *text) { quietTexts.append(text); });
    }

    void init()
    {
        QFile::remove(m_path);
        if (qstrcmp(QTest::currentTestFunction(), "theDefaultFileLiesUnderItsOldName") != 0)
            SETTINGS_SetPath(m_path.toUtf8().constData());
        SETTINGS_CloseStore();
        shownErrors.clear();
        quietTexts.clear();
    }

    void theDefaultFileLiesUnderItsOldName()
    {
        const QString expected
            = QDir::homePath() + "/.config/TOLVEN\\tst_settingsstoreSettings.ini";
        QCOMPARE(QString::fromUtf8(SETTINGS_GetPath()), expected);
        QCOMPARE(SETTINGS_WriteDecimal("TIF", "Speed", 4000), SETTINGS_OK);
        QCOMPARE(FileContent(expected), "[TIF]\r\nSpeed = 4000\r\n");
        QVERIFY(QFileInfo(QDir::homePath() + "/.config/TOLVEN").isDir());
        QCOMPARE(quietTexts.size(), 1);                // a missing file is nobody's concern
        SETTINGS_SetPath(m_path.toUtf8().constData()); // counts from the next operation on
        std::int32_t value = 0;
        QCOMPARE(SETTINGS_ReadDecimal("TIF", "Speed", value), SETTINGS_ERROR);
        QVERIFY(shownErrors.isEmpty());

        // Where no folder can be made a file that is there is read, and named when it is not saved.
        SETTINGS_SetPath("");
        QVERIFY(QDir(QDir::homePath() + "/.config/TOLVEN").removeRecursively());
        PutFile(QDir::homePath() + "/.config/TOLVEN", "in the way");
        QCOMPARE(SETTINGS_ReadDecimal("TIF", "Speed", value), SETTINGS_OK);
        QCOMPARE(value, 4000);
        chmod(expected.toUtf8().constData(), 0444);
        QCOMPARE(SETTINGS_WriteDecimal("TIF", "Speed", 1), SETTINGS_ERROR);
        QCOMPARE(shownErrors,
            QByteArrayList{
                "Could not save file [" + expected.toUtf8() + "]\nFile has read only attribute!"});
    }

    void everyKindHasItsLine()
    {
        static constexpr std::array<std::uint8_t, 3> bytes = {0, 10, 255};
        static constexpr std::array<std::uint32_t, 2> words = {7, 0xFFFFFFFF};
        const std::pair<std::function<int()>, const char *> kinds[]
            = {{[] { return SETTINGS_WriteDecimal("S", "K", -12); }, "K = -12"},
                {[] { return SETTINGS_WriteHex("S", "K", 5); }, "K = 0x05"},
                {[] { return SETTINGS_WriteHex("S", "K", 123456); }, "K = 0x1E240"},
                {[] { return SETTINGS_WriteText("S", "K", "a = [b]"); }, "K=\"a = [b]\""},
                {[] { return SETTINGS_WriteText("S", "K", nullptr); }, "K=\"\""},
                {[] { return SETTINGS_WriteBytes("S", "K", bytes); }, "K[3] = 0, 10, 255"},
                {[] { return SETTINGS_WriteWords("S", "K", words); }, "K[2] = 7, -1"},
                {[] { return SETTINGS_WriteWords("S", "K", {}); }, "K[0] = "},
                {[] {
                     return SETTINGS_WriteFourInts("S", "K", {1, -2, 3, 4});
                 },
                    "K = 1, -2, 3, 4"},
                // small ones with a blank
                {[] { return SETTINGS_WriteHexBytes("S", "K", bytes); }, "K=\" 0 AFF\""}};
        for (const auto &[write, line] : kinds) {
            for (int time = 0; time < 2;
                 ++time) { // the second replaces the first, never doubles it
                QCOMPARE(write(), SETTINGS_OK);
                QCOMPARE(Content(), "[S]\r\n" + QByteArray(line) + "\r\n");
            }
            QCOMPARE(SETTINGS_DeleteKey("S", "K"), SETTINGS_OK);
            QCOMPARE(Content(), "[S]\r\n");
        }
    }

    void valuesOfEveryKindComeBack()
    {
        std::vector<std::uint8_t> bytes(256);
        std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
        const std::vector<std::uint32_t> words = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
        const std::array<std::int32_t, 4> four = {0, -1, INT_MAX, -INT_MAX};
        QCOMPARE(SETTINGS_WriteBytes("S", "Bytes", bytes), SETTINGS_OK);
        QCOMPARE(SETTINGS_WriteHexBytes("S", "Hexes", bytes), SETTINGS_OK);
        QCOMPARE(SETTINGS_WriteWords("S", "Words", words), SETTINGS_OK);
        QCOMPARE(SETTINGS_WriteFourInts("S", "Four", four), SETTINGS_OK);
        QCOMPARE(SETTINGS_WriteHex("S", "Hex", 0xFFFFFFFF), SETTINGS_OK);
        QCOMPARE(SETTINGS_WriteDecimal("S", "Decimal", -INT_MAX), SETTINGS_OK);
        SETTINGS_CloseStore();

        std::vector<std::uint8_t> bytesRead(300, 0xEE);
        std::vector<std::uint32_t> wordsRead(5);
        std::array<std::int32_t, 4> fourRead{};
        std::uint32_t count = 0;
        std::uint32_t hex = 0;
        std::int32_t decimal = 0;
        for (const auto &[read, key] :
            {std::pair(&SETTINGS_ReadBytes, "Bytes"), std::pair(&SETTINGS_ReadHexBytes, "Hexes")}) {
            std::fill(bytesRead.begin(), bytesRead.end(), 0xEE);
            QCOMPARE(read("S", key, bytesRead, count), SETTINGS_OK);
            QVERIFY(count == 256 && std::equal(bytes.begin(), bytes.end(), bytesRead.begin()));
            QCOMPARE(bytesRead[256], 0xEE);
        }
        QCOMPARE(SETTINGS_ReadWords("S", "Words", wordsRead, count), SETTINGS_OK);
        QCOMPARE(SETTINGS_ReadFourInts("S", "Four", fourRead), SETTINGS_OK);
        QCOMPARE(SETTINGS_ReadHex("S", "Hex", hex), SETTINGS_OK);
        QCOMPARE(SETTINGS_ReadDecimal("S", "Decimal", decimal), SETTINGS_OK);
        QVERIFY(wordsRead == words && fourRead == four);
        QVERIFY(hex == 0xFFFFFFFF && decimal == -INT_MAX);
    }

    void damagedValuesAreRefused()
    {
        const std::pair<QByteArray, const char *> lines[] = {{"", ""}, {"K =", ""}, {"K = x1", ""},
            {"K=40", "decimal"}, {"\t K\t=\t40 ; said who", "decimal"}, {"K = 0X12", ""},
            {"K = 0x", ""}, {"K = 0x1f", "hex"}, {"K = 40x0", ""}, {"K = 4000 kHz", ""},
            {"K = 0x1fg", ""}, {"K=\"ab", "text"}, {"K=\"abc\"", "text"}, {"K=\"xy\"", "text"},
            {"K=\"0102030405\"", "text"}, {"K=\"01 a\"", "text hexes"}, {"K = 1, 2, 3", ""},
            {"K = 1,2 ,3 , 4 # mine", "four"}, {"K = 1, 2, 3, 4, 5", ""}, {"K[3] = 1, 2", ""},
            {"K[5] = 1, 2, 3, 4, 5", ""}, {"K[99999999999] = 1", ""}, {"K[2] = 1, 256", "words"},
            {"K[2] = 1, 2", "bytes words"}, {QByteArray("K = \0001", 6), ""}};
        for (const auto &[line, kinds] : lines) {
            Put("[S]\r\n" + line + "\r\n[T]\r\nK = 1\r\n");
            const QByteArray readable = ReadableKinds();
            QVERIFY2(readable == kinds, line + " was read as " + readable);
        }
        QVERIFY(shownErrors.isEmpty());
    }

    void textsStayInTheirLineAndBuffer()
    {
        Put("[S]\r\nK=\"a\"b\"\r\nOpen=\"c\r\nNext=\"d\"\r\n");
        std::array<char, 4> text{};
        QCOMPARE(SETTINGS_ReadText("S", "K", text), SETTINGS_OK);
        QCOMPARE(text.data(), "a");
        QCOMPARE(SETTINGS_ReadText("S", "Open", text), SETTINGS_OK);
        QCOMPARE(text.data(), "c"); // never the next line
        QCOMPARE(SETTINGS_WriteText("S", "K", "long\r\nNext = 7"), SETTINGS_OK);
        QCOMPARE(Content(), "[S]\r\nK=\"long\"\r\nOpen=\"c\r\nNext=\"d\"\r\n");
        QCOMPARE(SETTINGS_ReadText("S", "K", text), SETTINGS_OK);
        QCOMPARE(text.data(), "lon");
    }

    void foreignLinesSurviveEveryChange()
    {
        const QByteArray before
            = "; comment " + QByteArray(1, '\0') + "\xFF\n[OTHER]\r\n\r\nSpeed = 1\n  [TIF]\r\n";
        const QByteArray behind = "[LAST]\nno end";
        Put(before + "[TIF]\r\nA=1\r\nSpeed=2" + "\r\n" + behind);
        QCOMPARE(SETTINGS_WriteDecimal("TIF", "Speed", 3), SETTINGS_OK);
        QCOMPARE(Content(), before + "[TIF]\r\nSpeed = 3\r\nA=1\r\n" + behind);
        QCOMPARE(SETTINGS_DeleteKey("TIF", "A"), SETTINGS_OK);
        QCOMPARE(SETTINGS_DeleteKey("TIF", "Speed"), SETTINGS_OK);
        QCOMPARE(SETTINGS_DeleteKey("NONE", "Speed"), SETTINGS_OK);
        QCOMPARE(Content(), before + "[TIF]\r\n" + behind);
    }

    void aFileThatCannotBeReadIsNeverOverwritten()
    {
        const QByteArray large = "[TIF]\r\nSpeed = 5\r\n" + QByteArray(30'000, '#');
        Put(large);
        std::int32_t speed = 77;
        QCOMPARE(SETTINGS_ReadDecimal("TIF", "Speed", speed), SETTINGS_ERROR);
        QCOMPARE(SETTINGS_WriteDecimal("TIF", "Speed", 1), SETTINGS_ERROR);
        QCOMPARE(shownErrors, QByteArrayList{SaveError("Failed to write data!")});
        QCOMPARE(Content(), large);

        QFile::remove(m_path); // now it can be written
        QCOMPARE(SETTINGS_WriteDecimal("TIF", "Speed", 1), SETTINGS_OK);
        QCOMPARE(Content(), "[TIF]\r\nSpeed = 1\r\n");

        const QByteArray full = "[S]\r\n" + QByteArray(29'995, '#');
        Put(full);
        QCOMPARE(SETTINGS_WriteDecimal("S", "K", 1), SETTINGS_ERROR);
        QCOMPARE(shownErrors.size(), 2);
        QCOMPARE(Content(), full);
    }

    void aFailedSaveIsToldAndKeptInMemory()
    {
        Put("[S]\r\nK = 1\r\n");
        chmod(m_path.toUtf8().constData(), 0444);
        QCOMPARE(SETTINGS_WriteDecimal("S", "K", 2), SETTINGS_ERROR);
        QCOMPARE(shownErrors, QByteArrayList{SaveError("File has read only attribute!")});
        QCOMPARE(Content(), "[S]\r\nK = 1\r\n");
        std::int32_t value = 0;
        QCOMPARE(SETTINGS_ReadDecimal("S", "K", value), SETTINGS_OK);
        QCOMPARE(value, 2);
        chmod(m_path.toUtf8().constData(), 0644);
        QCOMPARE(SETTINGS_WriteDecimal("S", "L", 3), SETTINGS_OK);
        QCOMPARE(Content(), "[S]\r\nL = 3\r\nK = 2\r\n");
    }

    void aBatchIsMadeAsAWholeOrNotAtAll()
    {
        const QByteArray before = "[S]\r\nA = 1\r\n[T]\r\n" + QByteArray(29'900, '#') + "\r\n";
        Put(before);
        {
            const SettingsBatch batch;
            QCOMPARE(SETTINGS_WriteDecimal("S", "A", 2), SETTINGS_OK);
            const QByteArray longText(200, 'x'); // there is no room for it
            QCOMPARE(SETTINGS_WriteText("S", "B", longText.constData()), SETTINGS_ERROR);
            QCOMPARE(SETTINGS_WriteText("S", "C", longText.constData()), SETTINGS_ERROR);
            QCOMPARE(SETTINGS_DeleteKey("S", "A"), SETTINGS_ERROR);
        }
        QCOMPARE(shownErrors, QByteArrayList{SaveError("Failed to write data!")});
        QCOMPARE(Content(), before);
        std::int32_t value = 0;
        QCOMPARE(SETTINGS_ReadDecimal("S", "A", value), SETTINGS_OK);
        QCOMPARE(value, 1);
        QCOMPARE(SETTINGS_WriteDecimal("S", "A", 3), SETTINGS_OK); // the next one works again
        QVERIFY(Content().startsWith("[S]\r\nA = 3\r\n"));
    }

    void whatOthersMakeOfTheFileIsKept()
    {
        const std::pair<QByteArray, QByteArray> changes[] // by an editor, and what becomes of it
            = {{"[S]\r\nOther = 7\r\nK = 1\r\n", "[S]\r\nK = 2\r\nOther = 7\r\n"},
                {"[S]\r\nK = 9\r\n", "[S]\r\nK = 2\r\n"}, // of the same length
                {"\xEF\xBB\xBF[S]\r\nL = 5\r\n", "\xEF\xBB\xBF[S]\r\nK = 2\r\nL = 5\r\n"},
                {"", "[S]\r\nK = 2\r\n"}};
        for (const auto &[edited, outcome] : changes) {
            for (const bool isReplaced : {false, true}) {
                QCOMPARE(SETTINGS_WriteDecimal("S", "K", 1), SETTINGS_OK);
                PutFile(m_path + (isReplaced ? ".new" : ""), edited);
                if (isReplaced) // as most editors save
                    QCOMPARE(std::rename(qPrintable(m_path + ".new"), qPrintable(m_path)), 0);
                else // whatever the clock's grain
                    QVERIFY(SetTimeOfChange(1'000'000'000));
                QCOMPARE(SETTINGS_WriteDecimal("S", "K", 2), SETTINGS_OK);
                QCOMPARE(Content(), outcome);
            }
        }
        QVERIFY(shownErrors.isEmpty());
    }

    void aByteOrderMarkHidesNoSection()
    {
        Put("\xEF\xBB\xBF[S]\r\nK = 4\r\n");
        std::int32_t value = 0;
        QCOMPARE(SETTINGS_ReadDecimal("S", "K", value), SETTINGS_OK);
        QCOMPARE(value, 4);
    }

    void aLockThatCannotBeMadeIsToldOnce()
    {
        std::vector<SYS_MUTEX_HANDLE> all;
        while (SYS_MUTEX_HANDLE mutex = SYS_CreateUnnamedMutex())
            all.push_back(mutex);
        QCOMPARE(SETTINGS_WriteDecimal("S", "K", 1), SETTINGS_ERROR);
        QCOMPARE(SETTINGS_WriteDecimal("S", "L", 1), SETTINGS_ERROR);
        QCOMPARE(shownErrors, QByteArrayList{SaveError("Invalid file handle!")});
        SYS_CloseMutex(&all.back());
        QCOMPARE(SETTINGS_WriteDecimal("S", "K", 1), SETTINGS_OK);
        for (SYS_MUTEX_HANDLE &mutex : all)
            SYS_CloseMutex(&mutex);
    }

private:
    [[nodiscard]] bool SetTimeOfChange(std::time_t seconds) const
    {
        const std::array<timespec, 2> times = {timespec{seconds, 0}, timespec{seconds, 0}};
        return utimensat(AT_FDCWD, m_path.toUtf8().constData(), times.data(), 0) == 0;
    }

    /// Reads the key as every kind; what is no value of a kind must leave its output alone.
    /// @return the kinds that could be read
    static QByteArray ReadableKinds()
    {
        std::int32_t decimal = 77;
        std::uint32_t hex = 77;
        std::uint32_t count = 77;
        std::array<char, 8> text = {'o', 'l', 'd'};
        std::array<std::uint8_t, 4> bytes = {77, 77, 77, 77};
        std::array<std::uint8_t, 4> hexes = bytes;
        std::array<std::uint32_t, 4> words = {77, 77, 77, 77};
        std::array<std::int32_t, 4> four = {77, 77, 77, 77};
        QByteArrayList kinds;
        const auto note = [&](const char *kind, int result, const auto &isUntouched) {
            if (result == SETTINGS_OK)
                kinds += kind;
            else if (!isUntouched() || count != 77)
                kinds += QByteArray("half of ") + kind;
            count = 77;
        };
        note("decimal", SETTINGS_ReadDecimal("S", "K", decimal), [&] { return decimal == 77; });
        note("hex", SETTINGS_ReadHex("S", "K", hex), [&] { return hex == 77; });
        note("text", SETTINGS_ReadText("S", "K", text), [&] { return text[0] == '\0'; });
        note("bytes", SETTINGS_ReadBytes("S", "K", bytes, count), [&] { return bytes[0] == 77; });
        note(
            "hexes", SETTINGS_ReadHexBytes("S", "K", hexes, count), [&] { return hexes[0] == 77; });
        note("words", SETTINGS_ReadWords("S", "K", words, count), [&] { return words[0] == 77; });
        note("four", SETTINGS_ReadFourInts("S", "K", four), [&] { return four[0] == 77; });
        return kinds.join(' ');
    }

    void Put(const QByteArray &content) const
    {
        PutFile(m_path, content);
        SETTINGS_CloseStore(); // the next operation loads again
    }
    [[nodiscard]] QByteArray Content() const { return FileContent(m_path); }
    QByteArray SaveError(const char *reason) const
    {
        return "Could not save file [" + m_path.toUtf8() + "]\n" + reason;
    }

    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath("test.ini");
};

QTEST_GUILESS_MAIN(SettingsStoreTest)
#include "tst_settingsstore.moc"
