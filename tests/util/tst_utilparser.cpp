#include "utilparser.h"

#include <QTest>

#include <array>
#include <climits>
#include <functional>

namespace {

using Read = std::function<void(UtilParseError, const char *&, QByteArrayList &values)>;

/// Into a buffer of six characters with something behind it.
template <typename Reader> Read Text(Reader reader)
{
    return [reader](UtilParseError error, const char *&cursor, QByteArrayList &values) {
        std::array<char, 8> buffer = {'o', 'l', 'd', '\0', '#', '#', '#', '#'};
        reader(error, cursor, std::span<char>(buffer).first(6));
        values << (buffer[6] == '#' ? buffer.data() : "beyond its end");
    };
}

template <typename Number, typename Reader> Read Whole(Reader reader, Number min, Number max)
{
    return [=](UtilParseError error, const char *&cursor, QByteArrayList &values) {
        Number number = 77;
        reader(error, cursor, min, max, number);
        values << QByteArray::number(static_cast<qlonglong>(number));
    };
}

const QMap<char, Read> kReaders = {
    {' ', [](auto e, auto &c, auto &) { UTIL_SkipBlanks(e, c); }},
    {'\n', [](auto e, auto &c, auto &) { UTIL_SkipLine(e, c); }},
    {',', [](auto e, auto &c, auto &) { UTIL_SkipSeparator(e, c); }},
    {'=', [](auto e, auto &c, auto &) { UTIL_ExpectChar(e, c, '='); }},
    {'x', [](auto e, auto &c, auto &) { UTIL_ExpectText(e, c, "0x"); }},
    {'w', Text(&UTIL_ReadWord)},
    {'a', Text(&UTIL_ReadAlphanumeric)},
    {'i', Text(&UTIL_ReadIdentifier)},
    {'q', Text(&UTIL_ReadQuoted)},
    {'l', Text(&UTIL_ReadQuotedLenient)},
    {'h', Whole<std::uint32_t>(&UTIL_ReadHex, 0x1A, 0xAF)},
    {'H', Whole<std::uint32_t>(&UTIL_ReadHex, 0, UINT_MAX)},
    {'d', Whole<std::int32_t>(&UTIL_ReadDecimal, 3, 210)},
    {'D', Whole<std::int32_t>(&UTIL_ReadDecimal, 0, INT_MAX)},
    {'n', Whole<std::int64_t>(&UTIL_ReadInt64, -20, 240)},
    {'N', Whole<std::int64_t>(&UTIL_ReadInt64, LLONG_MIN, LLONG_MAX)},
    {'r',
        [](auto e, auto &c, auto &values) {
            double number = 77;
            UTIL_ReadReal(e, c, number);
            values << QByteArray::number(number);
        }},
};

/// The values that readers take from a text one after the other, what is left of the text, and the
/// error behind a "!".
QByteArray Parsed(const char *readers, const char *text)
{
    std::array<char, 64> error{};
    QByteArrayList values;
    for (const char reader : QByteArray(readers))
        kReaders[reader](error, text, values);
    values << text;
    return values.join('|') + (UTIL_HasFailed(error) ? "!" : "") + error.data();
}

} // namespace

class UtilParserTest : public QObject {
    Q_OBJECT

private slots:
    void readsFollowTheirRules()
    {
        QCOMPARE(Parsed(" =x", " \t=0x0x"), "0x");
        QCOMPARE(Parsed("=", " ="), " =!Expected '=', got ' '");
        QCOMPARE(Parsed("x", "0X1"), "0X1!Expected \"0x\"");
        QCOMPARE(Parsed("\n", "a b\r\n\n\rc"), "c");
        QCOMPARE(Parsed(",,", " \t,1"), "1");
        QCOMPARE(Parsed("wai", " \tAzaZ1a_b9cdef"), "AzaZ|1a|_b9cd|ef");
        QCOMPARE(Parsed("qq", " \"a b\"\"abcd\"\""), "a b|abcd|\"");
        QCOMPARE(Parsed("q", "\"abcde\""), "old|\"abcde\"!\x01");
        QCOMPARE(Parsed("q", " \"abc"), "old|\"abc!\x01");
        QCOMPARE(Parsed("ll", " \"ab\"\"abcdefgh\"i"), "ab|abcde|i");
        QCOMPARE(Parsed("l", "\"ab\r\n"), "ab\r\n|");
        QCOMPARE(Parsed("l", " x"), "old|x!\x01");
        QCOMPARE(Parsed("hh", " 9f 1Ag"), "159|26|g");
        QCOMPARE(Parsed("h", "B0"), "175|");
        QCOMPARE(Parsed("h", "0x20"), "77|0x20!Expected a value >= 1a");
        QCOMPARE(Parsed("h", " g"), "77|g!Expecting a number");
        QCOMPARE(Parsed("H", "10000000000000001"), "4294967295|"); // 1 in 64 bits
        QCOMPARE(
            Parsed("ddd", " 210 -999 -3,"), "210|-210|-3|,"); // min and max act on the magnitude
        QCOMPARE(Parsed("d", " +2"), "77|+2!Expected a value >= 3");
        QCOMPARE(Parsed("d", " x"), "77|x!Expecting a number");
        QCOMPARE(Parsed("D", "18446744073709551617"), "2147483647|"); // 1 in 64 bits
        QCOMPARE(Parsed("DD", "- -99999999999999999999"), "0|-2147483647|");
        QCOMPARE(Parsed("nnn", " 0xF0-20 0X1"), "240|-20|0|X1");
        QCOMPARE(Parsed("n", "0xF1"), "77|0xF1!Expected a value <= 240");
        QCOMPARE(Parsed("n", " -21"), "77|-21!Expected a value >= -20");
        QCOMPARE(Parsed("NN", "-9223372036854775809 0xFFFFFFFFFFFFFFFFF"),
            "-9223372036854775808|9223372036854775807|");
        QCOMPARE(Parsed("rrr", " -12.5 ,3.e5"), "-12.5|3|0|e5");
        QCOMPARE(Parsed("r", ",1"), "0|,1");
    }

    void theFirstErrorSticks()
    {
        QCOMPARE(Parsed("= \n,xwaiqlhHdDnNr", " =1"),
            "old|old|old|old|old|77|77|77|77|77|77|77| =1!Expected '=', got ' '");
        std::array<char, 4> error = {'b', 'a', 'd'};
        UTIL_ClearError(error);
        QVERIFY(!UTIL_HasFailed(error));
    }
};

QTEST_GUILESS_MAIN(UtilParserTest)
#include "tst_utilparser.moc"
