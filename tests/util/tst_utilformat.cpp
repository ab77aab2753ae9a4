#include "utilformat.h"
#include "utilhex.h"

#include <QTest>

namespace {

/// What the conversion of a number shows. The sign is not counted in the width.
QByteArray Shown(char letter, bool wide, std::int64_t value, int width, int precision)
{
    QByteArray digits;
    QByteArray sign;
    if (letter == 'd' || letter == 'i') {
        digits = QByteArray::number(wide ? qint64{value} : qint32(value));
        if (digits.startsWith('-')) {
            sign = digits.left(1);
            digits.remove(0, 1);
        }
    } else {
        digits
            = QByteArray::number(wide ? quint64(value) : quint32(value), letter == 'u' ? 10 : 16);
        if (letter == 'X')
            digits = digits.toUpper();
    }
    return sign + digits.rightJustified(precision, '0').rightJustified(width, ' ');
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

class UtilFormatTest : public QObject {
    Q_OBJECT

private slots:
    void numbersOfEveryKind()
    {
        constexpr std::int64_t kValues[]
            = {0, 5, -42, std::int64_t(0x8000'0000'8000'0000), -1, 0x0123'4567'89AB'CDEF};
        for (const char letter : QByteArray("diuxXp")) {
            for (const char *const longs : {"", "l", "ll", "lll"}) {
                for (const int width : {-1, 7, 21}) {
                    for (const int precision : {-1, 2, 12}) {
                        for (const std::int64_t value : kValues) {
                            const bool wide = qstrlen(longs) >= 2;
                            const QByteArray format = "<%"
                                + (width < 0 ? QByteArray() : QByteArray::number(width))
                                + (precision < 0 ? QByteArray()
                                                 : '.' + QByteArray::number(precision))
                                + longs + letter + ">";
                            if (letter == 'p') // always the whole pointer, always 8 wide
                                Check(format, '<' + Shown('x', true, value, 8, precision) + '>',
                                    reinterpret_cast<const void *>(value));
                            else if (wide)
                                Check(format,
                                    '<' + Shown(letter, wide, value, width, precision) + '>',
                                    value);
                            else
                                Check(format,
                                    '<' + Shown(letter, wide, value, width, precision) + '>',
                                    static_cast<std::int32_t>(value));
                        }
                    }
                }
            }
        }
    }

    void everythingElse()
    {
        const char *const none = nullptr;
        Check("%02X, %.2X, V%d.%.2d", " 5, 05, V6.04", 5, 5, 6, 4);
        Check("a%%b%5c%.3c", "a%bz%", 'z', '%');
        Check("%s|%9s|%.2s|%s|%d", "text|text %d|long||7", "text", "text %d", "long", none, 7);
        for (const char unknown : QByteArray("feGqnyz"))
            Check(QByteArray("<%5.2ll") + unknown + ">%d", "<>7", 7); // takes no argument
        for (const char *const starred : {"%*d", "%5.*llX", "%7*.3p", "%*c", "%0*s"})
            Check(QByteArray("<") + starred + ">%d", "<>7", 7); // nor does this
        for (const char *const broken : {"ab%", "ab%5", "ab%5.", "ab%5.3ll", "ab%*"})
            Check(broken, "ab");
        std::array<char, 8> text{};
        UTIL_Format(text, "%4294967301d", 1); // 5 in 32 bits
        QCOMPARE(text.data(), "       ");
        UTIL_Format(text, "%.4294967301d", 1);
        QCOMPARE(text.data(), "0000000");
        UTIL_Format(text, nullptr);
        QCOMPARE(text.data(), "");
    }

    void hexRowsEqualTheFormatter()
    {
        for (std::uint64_t value : {0x0ULL, 0x9AULL, 0xFEDCBA98ULL, 0x0123456789ABCDEFULL}) {
            std::array<char, 32> slow{};
            std::array<char, 32> fast{};
            UTIL_Format(slow, "%.8X%.16llX%.2X", static_cast<std::uint32_t>(value), value,
                static_cast<std::uint8_t>(value));
            char *end = UTIL_PutHex(fast.data(), value, 8);
            end = UTIL_PutHex(end, value, 16);
            end = UTIL_PutHexByte(end, static_cast<std::uint8_t>(value));
            QCOMPARE(QByteArray(fast.data(), end - fast.data()), QByteArray(slow.data()));
        }
    }
};

QTEST_GUILESS_MAIN(UtilFormatTest)
#include "tst_utilformat.moc"
