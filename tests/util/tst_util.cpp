#include "utilformat.h"
#include "utilparser.h"
#include "utiltext.h"

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
    std::array<char, 64> error = {'b', 'a', 'd'};
    UTIL_ClearError(error);
    QByteArrayList values;
    for (const char reader : QByteArray(readers))
        kReaders[reader](error, text, values);
    values << text;
    return values.join('|') + (UTIL_HasFailed(error) ? "!" : "") + error.data();
}

/// Formats into buffers of every size up to a roomy one; nothing else may be touched.
template <typename... Args>
void Check(const QByteArray &format, const QByteArray &expected, Args... args)
{
    for (qsizetype size = 0; size <= expected.size() + 2; ++size) {
        const qsizetype length = std::clamp<qsizetype>(size - 1, 0, expected.size());
        QByteArray memory(size + 4, '#');
        QByteArray model = memory;
        if (size > 0)
            model.replace(0, length + 1, expected.left(length) + '\0');
        const char *const end = UTIL_Format(
            memory.data(), static_cast<std::uint32_t>(size), format.constData(), args...);
        QVERIFY2(memory == model && end == memory.constData() + length,
            format + ", size " + QByteArray::number(size) + ": <" + memory + "> for <" + model
                + ">, end " + QByteArray::number(end - memory.constData()));
    }
}

} // namespace

constexpr const char *none = nullptr;

class UtilTest : public QObject {
    Q_OBJECT

private slots:
    void numbersOfEveryKind()
    {
        Check("%d %d %ld %lld %llld", "0 5 -2147483648 -9223372036854775808 9223372034707292160", 0,
            5, INT_MIN, LLONG_MIN, 0x7FFFFFFF80000000);
        // The sign is not counted in the width.
        Check("%7d|%7.2d|%16.12ld|%.3lld", "-     42|     05|    000000000042|-1234", -42, 5, 42,
            -1234LL);
        Check("%u %7.2lu %21llu", "4294967254      05  18446744073709551574", -42, 5, -42LL);
        Check("%x %7.2lX %20.17llx %llX", "ffffffd6      05    00123456789abcdef FFFFFFFFFFFFFFFF",
            -42, 5, 0x123456789ABCDEF, -1LL);
        void *const pointer = this; // all digits, and at least 8
        const QByteArray digits = QByteArray::number(quintptr(pointer), 16);
        Check("%p|%1p|%.2p", digits + "|       0|      00", pointer, none, none);
    }

    void everythingElse()
    {
        Check("%02X, %.2X, V%d.%.2i", " 5, 05, V6.04", 5, 5, 6, 4);
        Check("a%%b%5c%.3c", "a%bz%", 'z', '%');
        Check("%s|%9s|%.2s|%s|%d", "text|text %d|long||7", "text", "text %d", "long", none, 7);
        for (const char *const unknown : {"5.2llf", "e", "q", "n", "*d", "5*.3p", "0*s"})
            Check(QByteArray("<%") + unknown + ">%d", "<>7", 7); // takes no argument
        for (const char *const broken : {"ab%", "ab%5", "ab%5.3ll", "ab%*"})
            Check(broken, "ab");
        std::array<char, 8> text{};
        UTIL_Format(text, "%4294967301d", 1); // 5 in 32 bits
        QCOMPARE(text.data(), "       ");
    }

    void textsKeepToTheirSizeButForTheAppendThatPathsNeed()
    {
        const auto joined = [](const char *before, const char *source, std::uint32_t size) {
            std::array<char, 32> copied{};
            UTIL_CopyText(copied, before);
            std::array<char, 32> appended = copied;
            UTIL_CopyText(copied.data(), source, size);
            UTIL_AppendText(appended.data(), source, size);
            return QByteArray(copied.data()) + '|' + appended.data();
        };
        QCOMPARE(joined("ab", "cd", 8), "cd|abcd");
        QCOMPARE(joined("ab", "cdef", 5), "cdef|abcd");
        QCOMPARE(joined("abcd", "efgh", 4), "efg|abcd");    // as long as the size
        QCOMPARE(joined("abcd", "efgh", 3), "ef|abcdefgh"); // longer than the size
        QCOMPARE(joined("a/path", "\\", 1), "|a/path\\");   // the separator of a path
        QCOMPARE(joined("ab", "cd", 0), "ab|abcd");
    }

    void readsFollowTheirRules()
    {
        QCOMPARE(Parsed(" =x", " \t=0x0x"), "0x");
        QCOMPARE(Parsed("=", " ="), " =!Expected '=', got ' '");
        QCOMPARE(Parsed("x", "0X1"), "0X1!Expected \"0x\"");
        QCOMPARE(Parsed("\n", "a b\r\n\n\rc"), "c");
        QCOMPARE(Parsed(",,h", " \t,g"), "77|g!Expecting a number");
        QCOMPARE(Parsed("wai", " \tAzaZ1a_b9cdef"), "AzaZ|1a|_b9cd|ef");
        QCOMPARE(Parsed("qq", " \"a b\"\"abcd\"\""), "a b|abcd|\"");
        QCOMPARE(Parsed("q", "\"abcde\""), "old|\"abcde\"!\x01");
        QCOMPARE(Parsed("q", " \"abc"), "old|\"abc!\x01");
        QCOMPARE(Parsed("l", " x"), "old|x!\x01");
        QCOMPARE(Parsed("ll", " \"ab\"\"abcdefgh\"i"), "ab|abcde|i");
        QCOMPARE(Parsed("l", "\"ab\r\n"), "ab\r\n|");
        QCOMPARE(Parsed("hh", " 9f 1Ag"), "159|26|g");
        QCOMPARE(Parsed("h", "0x20"), "77|0x20!Expected a value >= 1a");
        QCOMPARE(Parsed("H", "10000000000000001"), "4294967295|"); // 1 in 64 bits
        QCOMPARE(
            Parsed("ddd", " 210 -999 -3,"), "210|-210|-3|,"); // min and max act on the magnitude
        QCOMPARE(Parsed("d", " +2"), "77|+2!Expected a value >= 3");
        QCOMPARE(Parsed("D", "18446744073709551617"), "2147483647|"); // 1 in 64 bits
        QCOMPARE(Parsed("DD", "- -99999999999999999999"), "0|-2147483647|");
        QCOMPARE(Parsed("nnn", " 0xF0-20 0X1"), "240|-20|0|X1");
        QCOMPARE(Parsed("n", "0xF1"), "77|0xF1!Expected a value <= 240");
        QCOMPARE(Parsed("n", " -21"), "77|-21!Expected a value >= -20");
        QCOMPARE(Parsed("NN", "-9223372036854775809 0xFFFFFFFFFFFFFFFFF"),
            "-9223372036854775808|9223372036854775807|");
        QCOMPARE(Parsed("rrr", " -12.5 ,3.e5"), "-12.5|3|0|e5");
        // After the first error nothing more is read.
        QCOMPARE(Parsed("= \n,xwaiqlhHdDnNr", " =1"),
            "old|old|old|old|old|77|77|77|77|77|77|77| =1!Expected '=', got ' '");
    }
};

QTEST_GUILESS_MAIN(UtilTest)
#include "tst_util.moc"
