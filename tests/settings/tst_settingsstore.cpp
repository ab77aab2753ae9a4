#include "settingshost.h"
#include "settingsstore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <climits>
#include <numeric>
#include <vector>

#include <sys/stat.h>

namespace {

QByteArrayList shownErrors;
QByteArrayList quietTexts;

void KeepError(const char *text)
{
    shownErrors.append(text);
}

void KeepQuiet(const char *text)
{
    quietTexts.append(text);
}

} // namespace

class SettingsStoreTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void theDefaultFileLiesUnderItsOldName();
    void everyKindHasItsLine_data();
    void everyKindHasItsLine();
    void valuesOfEveryKindComeBack();
    void damagedValuesAreRefused_data();
    void damagedValuesAreRefused();
    void textsStayInTheirLineAndBuffer();
    void foreignLinesSurviveEveryChange();
    void aFileThatCannotBeReadIsNeverOverwritten();
    void aFailedSaveIsToldAndKeptInMemory();

private:
    void Put(const QByteArray &content) const
    {
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        SETTINGS_CloseStore(); // the next operation loads again
    }
    [[nodiscard]] QByteArray Content() const
    {
        QFile file(m_path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<none>");
    }
    QByteArray SaveError(const char *reason) const
    {
        return "Could not save file [" + m_path.toUtf8() + "]\n" + reason;
    }

    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath("test.ini");
};

void SettingsStoreTest::initTestCase()
{
    SETTINGS_SetHost({&KeepError, nullptr});
    SETTINGS_SetQuietReport(&KeepQuiet);
}

void SettingsStoreTest::init()
{
    QFile::remove(m_path);
    if (qstrcmp(QTest::currentTestFunction(), "theDefaultFileLiesUnderItsOldName") != 0)
        SETTINGS_SetPath(m_path.toUtf8().constData());
    SETTINGS_CloseStore();
    shownErrors.clear();
    quietTexts.clear();
}

void SettingsStoreTest::theDefaultFileLiesUnderItsOldName()
{
    const QString expected = QDir::homePath() + "/.config/TOLVEN\\tst_settingsstoreSettings.ini";
    QCOMPARE(QString::fromUtf8(SETTINGS_GetPath()), expected);
    QCOMPARE(SETTINGS_WriteDecimal("TIF", "Speed", 4000), SETTINGS_OK);
    QFile file(expected);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), "[TIF]\r\nSpeed = 4000\r\n");
    QVERIFY(QFileInfo(QDir::homePath() + "/.config/TOLVEN").isDir());
    QCOMPARE(quietTexts.size(), 1); // a missing file is nobody's concern
    QVERIFY(shownErrors.isEmpty());
}

void SettingsStoreTest::everyKindHasItsLine_data()
{
    using Write = std::function<int()>;
    QTest::addColumn<Write>("write");
    QTest::addColumn<QByteArray>("line");
    static constexpr std::array<std::uint8_t, 3> bytes = {0, 10, 255};
    static constexpr std::array<std::uint32_t, 2> words = {7, 0xFFFFFFFF};
    QTest::newRow("decimal") << Write([] { return SETTINGS_WriteDecimal("S", "K", -12); })
                             << QByteArray("K = -12");
    QTest::newRow("hex") << Write([] { return SETTINGS_WriteHex("S", "K", 5); })
                         << QByteArray("K = 0x05");
    QTest::newRow("long hex") << Write([] { return SETTINGS_WriteHex("S", "K", 123456); })
                              << QByteArray("K = 0x1E240");
    QTest::newRow("text") << Write([] { return SETTINGS_WriteText("S", "K", "a = [b]"); })
                          << QByteArray("K=\"a = [b]\"");
    QTest::newRow("no text") << Write([] { return SETTINGS_WriteText("S", "K", nullptr); })
                             << QByteArray("K=\"\"");
    QTest::newRow("bytes") << Write([] { return SETTINGS_WriteBytes("S", "K", bytes); })
                           << QByteArray("K[3] = 0, 10, 255");
    QTest::newRow("words") << Write([] { return SETTINGS_WriteWords("S", "K", words); })
                           << QByteArray("K[2] = 7, -1");
    QTest::newRow("no words") << Write([] { return SETTINGS_WriteWords("S", "K", {}); })
                              << QByteArray("K[0] = ");
    QTest::newRow("four integers") << Write([] {
        return SETTINGS_WriteFourInts("S", "K", {1, -2, 3, 4});
    }) << QByteArray("K = 1, -2, 3, 4");
    QTest::newRow("hex bytes, small ones with a blank")
        << Write([] { return SETTINGS_WriteHexBytes("S", "K", bytes); })
        << QByteArray("K=\" 0 AFF\"");
}

void SettingsStoreTest::everyKindHasItsLine()
{
    using Write = std::function<int()>;
    QFETCH(Write, write);
    QFETCH(QByteArray, line);
    QCOMPARE(write(), SETTINGS_OK);
    QCOMPARE(Content(), "[S]\r\n" + line + "\r\n");
    QCOMPARE(write(), SETTINGS_OK); // replaces, never doubles
    QCOMPARE(Content(), "[S]\r\n" + line + "\r\n");
    QCOMPARE(SETTINGS_DeleteKey("S", "K"), SETTINGS_OK);
    QCOMPARE(Content(), "[S]\r\n");
}

void SettingsStoreTest::valuesOfEveryKindComeBack()
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

    std::vector<std::uint8_t> bytesRead(300);
    std::uint32_t count = 0;
    for (const auto &[read, key] :
        {std::pair(&SETTINGS_ReadBytes, "Bytes"), std::pair(&SETTINGS_ReadHexBytes, "Hexes")}) {
        std::fill(bytesRead.begin(), bytesRead.end(), 0xEE);
        QCOMPARE(read("S", key, bytesRead, count), SETTINGS_OK);
        QCOMPARE(count, 256U);
        QVERIFY(std::equal(bytes.begin(), bytes.end(), bytesRead.begin()));
        QCOMPARE(bytesRead[256], 0xEE);
    }
    std::vector<std::uint32_t> wordsRead(5);
    QCOMPARE(SETTINGS_ReadWords("S", "Words", wordsRead, count), SETTINGS_OK);
    QCOMPARE(wordsRead, words);
    std::array<std::int32_t, 4> fourRead{};
    QCOMPARE(SETTINGS_ReadFourInts("S", "Four", fourRead), SETTINGS_OK);
    QVERIFY(fourRead == four);
    std::uint32_t hex = 0;
    QCOMPARE(SETTINGS_ReadHex("S", "Hex", hex), SETTINGS_OK);
    QCOMPARE(hex, 0xFFFFFFFF);
    std::int32_t decimal = 0;
    QCOMPARE(SETTINGS_ReadDecimal("S", "Decimal", decimal), SETTINGS_OK);
    QCOMPARE(decimal, -INT_MAX);
}

void SettingsStoreTest::damagedValuesAreRefused_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("good"); // the kinds that can be read from it all the same
    QTest::newRow("missing") << QByteArray() << QByteArray();
    QTest::newRow("nothing behind =") << QByteArray("K =") << QByteArray();
    QTest::newRow("no number") << QByteArray("K = x1") << QByteArray();
    QTest::newRow("number without blanks") << QByteArray("K=40") << QByteArray("decimal");
    QTest::newRow("tabs") << QByteArray("\t K\t=\t40 ; said who") << QByteArray("decimal");
    QTest::newRow("capital prefix") << QByteArray("K = 0X12") << QByteArray("decimal");
    QTest::newRow("prefix alone") << QByteArray("K = 0x") << QByteArray("decimal");
    QTest::newRow("open text") << QByteArray("K=\"ab") << QByteArray("text");
    QTest::newRow("odd hex string") << QByteArray("K=\"abc\"") << QByteArray("text");
    QTest::newRow("no hex string") << QByteArray("K=\"xy\"") << QByteArray("text");
    QTest::newRow("long hex string") << QByteArray("K=\"0102030405\"") << QByteArray("text");
    QTest::newRow("hex string") << QByteArray("K=\"01 a\"") << QByteArray("text hexes");
    QTest::newRow("three of four") << QByteArray("K = 1, 2, 3") << QByteArray("decimal");
    QTest::newRow("four") << QByteArray("K = 1,2 ,3 , 4") << QByteArray("decimal four");
    QTest::newRow("too few elements") << QByteArray("K[3] = 1, 2") << QByteArray();
    QTest::newRow("too many elements") << QByteArray("K[5] = 1, 2, 3, 4, 5") << QByteArray();
    QTest::newRow("endless count") << QByteArray("K[99999999999] = 1") << QByteArray();
    QTest::newRow("element out of range") << QByteArray("K[1] = 256") << QByteArray("words");
    QTest::newRow("array") << QByteArray("K[2] = 1, 2") << QByteArray("bytes words");
    QTest::newRow("NUL") << QByteArray("K = \0001", 6) << QByteArray();
}

void SettingsStoreTest::damagedValuesAreRefused()
{
    QFETCH(QByteArray, line);
    Put("[S]\r\n" + line + "\r\n[T]\r\nK = 1\r\n");
    std::int32_t decimal = 77;
    std::uint32_t hex = 77;
    std::uint32_t count = 77;
    std::uint32_t hexCount = 77;
    std::uint32_t wordCount = 77;
    std::array<char, 8> text = {'o', 'l', 'd'};
    std::array<std::uint8_t, 4> bytes = {77, 77, 77, 77};
    std::array<std::uint32_t, 4> words = {77, 77, 77, 77};
    std::array<std::int32_t, 4> four = {77, 77, 77, 77};
    QByteArrayList good;
    const auto note = [&](const char *kind, int result, const auto &isUntouched) {
        if (result == SETTINGS_OK)
            good += kind;
        else
            QVERIFY2(isUntouched(), kind);
    };
    note("decimal", SETTINGS_ReadDecimal("S", "K", decimal), [&] { return decimal == 77; });
    note("hex", SETTINGS_ReadHex("S", "K", hex), [&] { return hex == 77; });
    note("text", SETTINGS_ReadText("S", "K", text), [&] { return text[0] == '\0'; });
    note("bytes", SETTINGS_ReadBytes("S", "K", bytes, count),
        [&] { return bytes[0] == 77 && count == 77; });
    bytes[0] = 77;
    note("hexes", SETTINGS_ReadHexBytes("S", "K", bytes, hexCount),
        [&] { return bytes[0] == 77 && hexCount == 77; });
    note("words", SETTINGS_ReadWords("S", "K", words, wordCount),
        [&] { return words[0] == 77 && wordCount == 77; });
    note("four", SETTINGS_ReadFourInts("S", "K", four), [&] { return four[0] == 77; });
    QTEST(good.join(' '), "good");
    QVERIFY(shownErrors.isEmpty());
}

void SettingsStoreTest::textsStayInTheirLineAndBuffer()
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

void SettingsStoreTest::foreignLinesSurviveEveryChange()
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

void SettingsStoreTest::aFileThatCannotBeReadIsNeverOverwritten()
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

void SettingsStoreTest::aFailedSaveIsToldAndKeptInMemory()
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

QTEST_GUILESS_MAIN(SettingsStoreTest)
#include "tst_settingsstore.moc"
