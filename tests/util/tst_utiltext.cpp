#include "utilformat.h"
#include "utiltext.h"

#include <QTest>

namespace {

/// What the conversion of a number shows. The sign is not counted in the width.
QByteArray Shown(char letter, std::int64_t value, int width, int precision)
{
    const bool isNegative = letter == 'd' && value < 0;
    const int base = letter == 'd' || letter == 'u' ? 10 : 16;
    QByteArray digits = QByteArray::number(quint64(isNegative ? -value : value), base);
    if (letter == 'X')
        digits = digits.toUpper();
    digits = digits.rightJustified(precision, '0').rightJustified(width, ' ');
    return '<' + QByteArray(isNegative ? "-" : "") + digits + '>';
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

class UtilTextTest : public QObject {
    Q_OBJECT

private slots:
    void numbersOfEveryKind_data()
    {
        QTest::addColumn<char>("letter");
        QTest::addColumn<qint64>("value");
        for (const char letter : QByteArray("duxXp")) {
            for (const qint64 value : {0LL, 5LL, -42LL, 0x7FFFFFFF80000000LL, 0x123456789ABCDEFLL})
                QTest::addRow("%c of %lld", letter, value) << letter << value;
        }
    }

    void numbersOfEveryKind()
    {
        QFETCH(char, letter);
        QFETCH(qint64, value);
        for (const auto &[size, width, precision] :
            {std::tuple("", 0, 0), {"7", 7, 0}, {"7.2", 7, 2}, {"21.12", 21, 12}}) {
            const QByteArray start = QByteArray("<%") + size;
            for (const QByteArray &end : {start + letter + '>', start + 'l' + letter + '>'}) {
                if (letter == 'p') // always the whole pointer, always 8 wide
                    Check(end, Shown('x', value, 8, precision), reinterpret_cast<void *>(value));
                else if (letter == 'd')
                    Check(end, Shown(letter, qint32(value), width, precision), qint32(value));
                else
                    Check(end, Shown(letter, quint32(value), width, precision), quint32(value));
            }
            if (letter != 'p')
                Check(start + "lll" + letter + '>', Shown(letter, value, width, precision), value);
        }
    }

    void everythingElse()
    {
        const char *const none = nullptr;
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
        QCOMPARE(joined("abcd", "efgh", 5), "efgh|abcd");
        QCOMPARE(joined("abcd", "efgh", 4), "efg|abcd");    // as long as the size
        QCOMPARE(joined("abcd", "efgh", 3), "ef|abcdefgh"); // longer than the size
        QCOMPARE(joined("a/path", "\\", 1), "|a/path\\");   // the separator of a path
        QCOMPARE(joined("ab", "cd", 0), "ab|abcd");
    }
};

QTEST_GUILESS_MAIN(UtilTextTest)
#include "tst_utiltext.moc"
