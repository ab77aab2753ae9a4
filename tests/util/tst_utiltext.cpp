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
    void copyNeverLeavesItsBuffer()
    {
        const QByteArray copies[]
            = {"########", QByteArray("\0#######", 8), QByteArray("a\0######", 8),
                QByteArray("ab\0#####", 8), QByteArray("abc\0####", 8), QByteArray("abc\0####", 8)};
        for (std::uint32_t size = 0; size < std::size(copies); ++size) {
            QByteArray memory(8, '#');
            UTIL_CopyText(memory.data(), "abc", size);
            QCOMPARE(memory, copies[size]);
        }
    }

    void appendKeepsItsOddArithmetic()
    {
        struct Case {
            const char *before;
            const char *source;
            std::uint32_t size;
            const char *after;
        };
        constexpr Case kCases[] = {{"ab", "cd", 8, "abcd"}, {"ab", "cdef", 5, "abcd"},
            {"abcd", "e", 5, "abcd"}, {"abcd", "e", 4, "abcd"}, // as long as size: nothing
            {"abcd", "efgh", 3, "abcdefgh"},                    // longer than size: everything
            {"ab", "cd", 0, "abcd"}, {"some/path", "\\", 1, "some/path\\"}};
        for (const Case &one : kCases) {
            std::array<char, 64> text{};
            UTIL_CopyText(text, one.before);
            UTIL_AppendText(text.data(), one.source, one.size);
            QCOMPARE(text.data(), one.after);
        }
    }

    void valuesReadAsUsersExpect()
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

    void structuresOfOtherVersionsAreCopied()
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
};

QTEST_GUILESS_MAIN(UtilTextTest)
#include "tst_utiltext.moc"
