#include "utilparser.h"

#include <QTest>

#include <array>
#include <climits>
#include <functional>

namespace {

using Read = std::function<void(UtilParseError, const char *&, QByteArray &value)>;

/// Into a buffer of six characters with something behind it.
template <typename Reader> Read Text(Reader reader)
{
    return [reader](UtilParseError error, const char *&cursor, QByteArray &value) {
        std::array<char, 8> buffer = {'o', 'l', 'd', '\0', '#', '#', '#', '#'};
        reader(error, cursor, std::span<char>(buffer).first(6));
        value = buffer[6] == '#' ? buffer.data() : "beyond its end";
    };
}

template <typename Number, typename Reader> Read Whole(Reader reader, Number min, Number max)
{
    return [=](UtilParseError error, const char *&cursor, QByteArray &value) {
        Number number = 77;
        reader(error, cursor, min, max, number);
        value = QByteArray::number(static_cast<qlonglong>(number));
    };
}

const Read kBlanks = [](auto e, auto &c, auto &) { UTIL_SkipBlanks(e, c); };
const Read kLine = [](auto e, auto &c, auto &) { UTIL_SkipLine(e, c); };
const Read kSeparator = [](auto e, auto &c, auto &) { UTIL_SkipSeparator(e, c); };
const Read kEquals = [](auto e, auto &c, auto &) { UTIL_ExpectChar(e, c, '='); };
const Read kPrefix = [](auto e, auto &c, auto &) { UTIL_ExpectText(e, c, "0x"); };
const Read kWord = Text(&UTIL_ReadWord);
const Read kAlphanumeric = Text(&UTIL_ReadAlphanumeric);
const Read kIdentifier = Text(&UTIL_ReadIdentifier);
const Read kQuoted = Text(&UTIL_ReadQuoted);
const Read kLenient = Text(&UTIL_ReadQuotedLenient);
const Read kHex = Whole<std::uint32_t>(&UTIL_ReadHex, 0x1A, 0xAF);
const Read kAnyHex = Whole<std::uint32_t>(&UTIL_ReadHex, 0, UINT_MAX);
const Read kDecimal = Whole<std::int32_t>(&UTIL_ReadDecimal, 3, 210);
const Read kAnyDecimal = Whole<std::int32_t>(&UTIL_ReadDecimal, 0, INT_MAX);
const Read kInt64 = Whole<std::int64_t>(&UTIL_ReadInt64, -20, 0xF0);
const Read kAnyInt64 = Whole<std::int64_t>(&UTIL_ReadInt64, LLONG_MIN, LLONG_MAX);
const Read kReal = [](auto e, auto &c, auto &value) {
    double number = 77;
    UTIL_ReadReal(e, c, number);
    value = QByteArray::number(number, 'g', 12);
};

struct Case {
    const Read &read;
    const char *text;
    int consumed;
    const char *value;
    const char *error = "";
};

const Case kCases[] = {
    {kBlanks, " \t =", 3, ""},
    {kBlanks, "\r\n", 0, ""},
    {kLine, "a b\r\n\n\rc", 7, ""},
    {kLine, "to the end", 10, ""},
    {kSeparator, " \t,,1", 3, ""},
    {kSeparator, " 1", 1, ""},
    {kEquals, "==", 1, ""},
    {kEquals, " =", 0, "", "Expected '=', got ' '"},
    {kPrefix, "0x0x", 2, ""},
    {kPrefix, "0X1", 0, "", "Expected \"0x\""},
    {kPrefix, "0", 0, "", "Expected \"0x\""},
    {kWord, " \tAzaZ1", 6, "AzaZ"},
    {kWord, "abcdefg", 5, "abcde"},
    {kWord, "@[`{1_", 0, ""},
    {kAlphanumeric, "a0Z9_", 4, "a0Z9"},
    {kAlphanumeric, "/:", 0, ""},
    {kIdentifier, "_a9-", 3, "_a9"},
    {kIdentifier, "\xE4", 0, ""},
    {kQuoted, " \"a b\"\"", 6, "a b"},
    {kQuoted, "\"\"", 2, ""},
    {kQuoted, "\"abcd\"", 6, "abcd"},
    {kQuoted, "\"abcde\"", 0, "old", "\x01"},
    {kQuoted, " \"abc", 1, "old", "\x01"},
    {kQuoted, "  a\"", 2, "old", "\x01"},
    {kLenient, "\"abc\"d", 5, "abc"},
    {kLenient, "\"abcdefgh\"i", 10, "abcde"},
    {kLenient, "\"ab\r\n", 5, "ab\r\n"},
    {kLenient, " x", 1, "old", "\x01"},
    {kHex, " 9fg", 3, "159"},
    {kHex, "0x20", 0, "77", "Expected a value >= 1a"},
    {kHex, "0019", 0, "77", "Expected a value >= 1a"},
    {kHex, "1A", 2, "26"},
    {kHex, "B0", 2, "175"},
    {kHex, " g", 1, "77", "Expecting a number"},
    {kAnyHex, "FFFFFFFF0", 9, "4294967295"},
    {kAnyHex, "10000000000000001", 17, "4294967295"}, // 1 in 64 bits
    {kDecimal, " 210,", 4, "210"},
    {kDecimal, "211", 3, "210"},
    {kDecimal, "-999 ", 4, "-210"},
    {kDecimal, "+3", 2, "3"},
    {kDecimal, "-3", 2, "-3"}, // min acts on the magnitude
    {kDecimal, " 2", 1, "77", "Expected a value >= 3"},
    {kDecimal, "-", 0, "77", "Expected a value >= 3"},
    {kDecimal, " x", 1, "77", "Expecting a number"},
    {kAnyDecimal, "-99999999999999999999", 21, "-2147483647"},
    {kAnyDecimal, "18446744073709551617", 20, "2147483647"}, // 1 in 64 bits
    {kInt64, " 0xF0g", 5, "240"},
    {kInt64, "0xF1", 0, "77", "Expected a value <= 240"},
    {kInt64, " -20", 4, "-20"},
    {kInt64, " -21", 1, "77", "Expected a value >= -20"},
    {kInt64, "+7", 2, "7"},
    {kInt64, "0X1", 1, "0"},
    {kInt64, "0x", 2, "0"},
    {kInt64, "x", 0, "0"},
    {kAnyInt64, "-9223372036854775808", 20, "-9223372036854775808"},
    {kAnyInt64, "-9223372036854775809", 20, "-9223372036854775808"},
    {kAnyInt64, "9223372036854775808", 19, "9223372036854775807"},
    {kAnyInt64, "0xFFFFFFFFFFFFFFFFF", 19, "9223372036854775807"},
    {kReal, " -12.5 ,3", 8, "-12.5"},
    {kReal, "+.25", 4, "0.25"},
    {kReal, "1.e5", 2, "1"},
    {kReal, ",1", 0, "0"},
    {kReal, " ,1", 2, "0"},
};

} // namespace

class UtilParserTest : public QObject {
    Q_OBJECT

private slots:
    void everyReadFollowsItsRules()
    {
        for (const Case &one : kCases) {
            std::array<char, 64> error{};
            const char *cursor = one.text;
            QByteArray value;
            one.read(error, cursor, value);
            const auto consumed = static_cast<int>(cursor - one.text);
            QVERIFY2(
                consumed == one.consumed && value == one.value && !qstrcmp(error.data(), one.error),
                '<' + QByteArray(one.text) + "> for " + one.value + one.error + ": consumed "
                    + QByteArray::number(consumed) + ", value <" + value + ">, error <"
                    + error.data() + '>');
        }
    }

    void theFirstErrorSticks()
    {
        std::array<char, 64> error{};
        const char *const text = " =1 \"a\"";
        const char *cursor = text;
        UTIL_ExpectChar(error, cursor, '=');
        QByteArray value;
        for (const Case &one : kCases) {
            one.read(error, cursor, value);
            QCOMPARE(error.data(), "Expected '=', got ' '");
            QCOMPARE(cursor, text);
            QVERIFY2(value.isEmpty() || value == "old" || value == "77", value);
        }
        UTIL_ClearError(error);
        UTIL_SkipBlanks(error, cursor);
        UTIL_ExpectChar(error, cursor, '=');
        QVERIFY(!UTIL_HasFailed(error));
    }

    void endlessFractionsAreRead()
    {
        const QByteArray endless = "0." + QByteArray(500, '9');
        double number = 0;
        std::array<char, 8> error{};
        const char *cursor = endless.constData();
        UTIL_ReadReal(error, cursor, number);
        QCOMPARE(number, 1.0);
        QCOMPARE(*cursor, '\0');
    }
};

QTEST_GUILESS_MAIN(UtilParserTest)
#include "tst_utilparser.moc"
