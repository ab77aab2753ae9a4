#include "utilstruct.h"
#include "utiltext.h"
#include "utilvalues.h"

#include <QTest>

#include <algorithm>
#include <bit>
#include <limits>
#include <string>

class UtilTextTest : public QObject {
    Q_OBJECT

private slots:
    void copyNeverLeavesItsBuffer_data();
    void copyNeverLeavesItsBuffer();
    void appendKeepsItsOddArithmetic_data();
    void appendKeepsItsOddArithmetic();
    void valuesReadAsUsersExpect();
    void structuresOfOtherVersionsAreCopied();
};

void UtilTextTest::copyNeverLeavesItsBuffer_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QByteArray>("memory"); // the eight bytes around the copy; '#' is untouched
    QTest::newRow("size 0 writes nothing") << 0 << QByteArray("########", 8);
    QTest::newRow("size 1 only terminates") << 1 << QByteArray("\0#######", 8);
    QTest::newRow("cut") << 3 << QByteArray("ab\0#####", 8);
    QTest::newRow("exactly full") << 4 << QByteArray("abc\0####", 8);
    QTest::newRow("room to spare") << 8 << QByteArray("abc\0####", 8);
}

void UtilTextTest::copyNeverLeavesItsBuffer()
{
    QFETCH(int, size);
    QByteArray memory(8, '#');
    UTIL_CopyText(memory.data(), "abc", static_cast<std::uint32_t>(size));
    QTEST(memory, "memory");
}

void UtilTextTest::appendKeepsItsOddArithmetic_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<int>("size");
    QTest::addColumn<QByteArray>("after");
    const QByteArray path(20, 'p');
    QTest::newRow("fits") << QByteArray("ab") << QByteArray("cd") << 8 << QByteArray("abcd");
    QTest::newRow("cut") << QByteArray("ab") << QByteArray("cdef") << 5 << QByteArray("abcd");
    QTest::newRow("already full") << QByteArray("abcd") << QByteArray("e") << 5
                                  << QByteArray("abcd");
    QTest::newRow("as long as size: nothing")
        << QByteArray("abcd") << QByteArray("e") << 4 << QByteArray("abcd");
    QTest::newRow("longer than size: everything")
        << QByteArray("abcd") << QByteArray("efgh") << 3 << QByteArray("abcdefgh");
    QTest::newRow("size 0 on text: everything")
        << QByteArray("ab") << QByteArray("cd") << 0 << QByteArray("abcd");
    QTest::newRow("separator with size 1")
        << path << QByteArray("\\") << 1 << QByteArray(path + '\\');
}

void UtilTextTest::appendKeepsItsOddArithmetic()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, source);
    QFETCH(int, size);
    std::array<char, 64> text{};
    std::copy(before.cbegin(), before.cend(), text.begin());
    UTIL_AppendText(text.data(), source.constData(), static_cast<std::uint32_t>(size));
    QTEST(QByteArray(text.data()), "after");
}

void UtilTextTest::valuesReadAsUsersExpect()
{
    std::array<char, 64> text{};
    const auto size = static_cast<std::uint32_t>(text.size());
    UTIL_FormatTime(text.data(), size, 0);
    QCOMPARE(text.data(), "0.000 000");
    UTIL_FormatTime(text.data(), size, 59'999'999);
    QCOMPARE(text.data(), "59.999 999");
    UTIL_FormatTime(text.data(), size, 60'000'000 + 5'007'009);
    QCOMPARE(text.data(), "1:05.007 009");
    UTIL_FormatTime(text.data(), size, 26 * 3'600'000'000ULL + 3 * 60'000'000ULL + 4'000'001);
    QCOMPARE(text.data(), "26:03:04.000 001");
    UTIL_FormatIPv4(text.data(), size, 0xFE01A8C0);
    QCOMPARE(text.data(), "192.168.1.254");
    UTIL_FormatMAC(text.data(), size, {0x00, 0x1B, 0xFF, 0x0A, 0x80, 0x05}, '-');
    QCOMPARE(text.data(), "00-1B-FF-0A-80-05");
}

void UtilTextTest::structuresOfOtherVersionsAreCopied()
{
    static QByteArray told;
    const UtilReport report = [](const char *text) { told = text; };
    std::array<std::uint32_t, 3> own = {9, 9, 9};
    const std::array<std::uint32_t, 2> older = {8, 7};
    QCOMPARE(UTIL_CopyAPIStruct(own.data(), older.data(), 12, "Info", report), UTIL_COPY_OK);
    QVERIFY((own == std::array<std::uint32_t, 3>{12, 7, 0}));
    const std::array<std::uint32_t, 4> newer = {16, 1, 2, 3};
    QCOMPARE(UTIL_CopyAPIStruct(own.data(), newer.data(), 12, "Info", report), UTIL_COPY_OK);
    QVERIFY((own == std::array<std::uint32_t, 3>{12, 1, 2}));
    QVERIFY(told.isEmpty());
    const std::uint32_t broken = 3;
    QCOMPARE(UTIL_CopyAPIStruct(own.data(), &broken, 12, "Info", report), UTIL_COPY_ERROR);
    QCOMPARE(told, "UTIL_CopyAPIStruct(): Illegal size of struct Info: 3 bytes.");
    QCOMPARE(own[1], 1U);
}

QTEST_GUILESS_MAIN(UtilTextTest)
#include "tst_utiltext.moc"
