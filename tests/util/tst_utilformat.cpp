#include "utilformat.h"
#include "utilhex.h"

#include <QTest>

#include <limits>
#include <random>
#include <string>
#include <variant>
#include <vector>

namespace {

using Argument = std::variant<std::int32_t, std::int64_t, const char *, const void *>;

std::string Digits(std::uint64_t value, unsigned base, bool upper)
{
    std::string text;
    do {
        const char digit = "0123456789abcdef"[value % base];
        text.insert(text.begin(), upper ? static_cast<char>(std::toupper(digit)) : digit);
        value /= base;
    } while (value > 0);
    return text;
}

/// One conversion of a random format, with the text it must give.
struct Piece {
    std::string format;
    std::string expected;
    std::vector<Argument> arguments; // none or one
};

class PieceMaker {
public:
    explicit PieceMaker(std::uint32_t seed)
        : m_random(seed)
    {
    }

    std::uint32_t Below(std::uint32_t limit)
    {
        return std::uniform_int_distribution<std::uint32_t>(0, limit - 1)(m_random);
    }

    Piece Make()
    {
        switch (Below(8)) {
        case 0:
            return {std::string(Below(4), 'a'), {}, {}};
        case 1:
            return {"%%", "%", {}};
        case 2:
            return {"%" + Number() + std::string(Below(3), 'l') + "feGqnyz"[Below(7)], "", {}};
        case 3:
            return {"%" + std::string(Below(2), '7') + "*.*" + "sdXp"[Below(4)], "", {}};
        case 4:
            return Text();
        default:
            return Numeric();
        }
    }

private:
    std::string Number() { return Below(3) == 0 ? std::to_string(Below(24)) : ""; }

    std::uint64_t Value()
    {
        const std::uint64_t bits = (std::uint64_t{m_random()} << 32) | m_random();
        switch (Below(6)) {
        case 0:
            return 0;
        case 1:
            return 0x8000'0000'8000'0000;
        case 2:
            return ~std::uint64_t{0};
        default:
            return bits >> Below(64);
        }
    }

    Piece Text()
    {
        static constexpr const char *kTexts[] = {"", "x", "some longer text %d", nullptr};
        const char *text = kTexts[Below(4)];
        if (Below(3) == 0) {
            const char c = "az%\x7f\xff"[Below(5)];
            return {"%" + Number() + "c", std::string(1, c), {std::int32_t{c}}};
        }
        return {"%" + Number() + "s", text ? text : "", {text}};
    }

    Piece Numeric()
    {
        const std::string width = Number();
        const std::string precision = Number();
        const std::uint32_t longs = Below(4);
        const char letter = "diuxXp"[Below(6)];
        Piece piece;
        piece.format = "%" + width + (precision.empty() ? "" : "." + precision)
            + std::string(longs, 'l') + letter;
        const std::uint64_t raw = Value();
        const bool wide = longs >= 2;
        std::uint64_t value = wide ? raw : static_cast<std::uint32_t>(raw);
        std::string sign;
        if (letter == 'p') {
            value = raw;
            piece.arguments = {reinterpret_cast<const void *>(raw)};
        } else if (wide) {
            piece.arguments = {static_cast<std::int64_t>(raw)};
        } else {
            piece.arguments = {static_cast<std::int32_t>(raw)};
        }
        if (letter == 'd' || letter == 'i') {
            const bool negative = wide ? (raw >> 63) != 0 : (raw & 0x8000'0000) != 0;
            if (negative) {
                sign = "-";
                value = wide ? 0 - value : (0x1'0000'0000 - value);
            }
        }
        const bool hex = letter == 'x' || letter == 'X' || letter == 'p';
        std::string digits = Digits(value, hex ? 16 : 10, letter == 'X');
        while (!precision.empty() && digits.size() < std::stoul(precision))
            digits.insert(0, "0");
        const std::size_t cells = letter == 'p' ? 8 : width.empty() ? 0 : std::stoul(width);
        while (digits.size() < cells)
            digits.insert(0, " ");
        piece.expected = sign + digits;
        return piece;
    }

    std::mt19937 m_random;
};

/// Passes the arguments, whose types are known at run time only, to the variadic function.
template <typename... Args>
char *FormatWith(char *destination, std::uint32_t size, const std::string &format,
    const std::vector<Argument> &rest, std::size_t index, Args... args)
{
    if (index == rest.size())
        return UTIL_Format(destination, size, format.c_str(), args...);
    if constexpr (sizeof...(args) < 3) {
        return std::visit(
            [&](auto next) {
                return FormatWith(destination, size, format, rest, index + 1, args..., next);
            },
            rest[index]);
    }
    return nullptr;
}

} // namespace

class UtilFormatTest : public QObject {
    Q_OBJECT

private slots:
    void theRulesThatOthersRelyOn();
    void randomFormatsAgreeWithASlowModel();
    void endlessWidthsAndBrokenFormatsEndInTheBuffer();
    void hexRowsEqualTheFormatter();
};

void UtilFormatTest::theRulesThatOthersRelyOn()
{
    std::array<char, 32> text{};
    const auto of = [&](const char *format, auto... args) {
        UTIL_Format(text, format, args...);
        return QByteArray(text.data());
    };
    QCOMPARE(of("%02X", 5), " 5");
    QCOMPARE(of("%.2X", 5), "05");
    QCOMPARE(of("%5d", -42), "-   42");
    QCOMPARE(of("%.8X", 0x1234), "00001234");
    QCOMPARE(of("%p", reinterpret_cast<void *>(0x1234)), "    1234");
    QCOMPARE(of("%d", std::numeric_limits<int>::min()), "-2147483648");
    QCOMPARE(of("%lld", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    QCOMPARE(of("V%d.%.2d", 6, 4), "V6.04");
    QCOMPARE(of("<%0*p> %d", 7), "<> 7");
}

void UtilFormatTest::randomFormatsAgreeWithASlowModel()
{
    const std::uint32_t seed = std::random_device{}();
    PieceMaker maker(seed);
    for (int round = 0; round < 200'000; ++round) {
        std::string format;
        std::string expected;
        std::vector<Argument> arguments;
        for (std::uint32_t pieces = maker.Below(5); pieces > 0 && arguments.size() < 3; --pieces) {
            Piece piece = maker.Make();
            if (piece.format.find('%') == std::string::npos)
                piece.expected = piece.format;
            format += piece.format;
            expected += piece.expected;
            arguments.insert(arguments.end(), piece.arguments.begin(), piece.arguments.end());
        }
        // Sizes around the exact fit matter most.
        const auto fit = static_cast<std::uint32_t>(expected.size()) + 1;
        const std::uint32_t size = maker.Below(2) == 0 ? maker.Below(40) : maker.Below(3) + fit - 1;
        std::string memory(size + 4, '#');
        char *const end = FormatWith(memory.data(), size, format, arguments, 0);
        std::string model(size + 4, '#');
        std::size_t length = 0;
        if (size > 0) {
            length = std::min<std::size_t>(size - 1, expected.size());
            model.replace(0, length, expected, 0, length);
            model[length] = '\0';
        }
        if (memory != model || end != memory.data() + length) {
            QFAIL(qPrintable(
                QStringLiteral("seed %1 round %2 size %3 format \"%4\": \"%5\" != \"%6\"")
                    .arg(seed)
                    .arg(round)
                    .arg(size)
                    .arg(format.c_str(), memory.c_str(), model.c_str())));
        }
    }
}

void UtilFormatTest::endlessWidthsAndBrokenFormatsEndInTheBuffer()
{
    std::array<char, 8> text{};
    QCOMPARE(UTIL_Format(text, "%99999999999999999999d", 1), text.data() + 7);
    QCOMPARE(text.data(), "       ");
    UTIL_Format(text, "%.99999999999999999999d", 1);
    QCOMPARE(text.data(), "0000000");
    for (const char *broken : {"ab%", "ab%5", "ab%5.", "ab%5.3ll", "ab%*"}) {
        UTIL_Format(text, broken);
        QCOMPARE(text.data(), "ab");
    }
    UTIL_Format(text, nullptr);
    QCOMPARE(text.data(), "");
}

void UtilFormatTest::hexRowsEqualTheFormatter()
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

QTEST_GUILESS_MAIN(UtilFormatTest)
#include "tst_utilformat.moc"
