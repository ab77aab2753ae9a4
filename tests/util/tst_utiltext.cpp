#include "utiltext.h"

#include <QTest>

#include <algorithm>
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
};

QTEST_GUILESS_MAIN(UtilTextTest)
#include "tst_utiltext.moc"
