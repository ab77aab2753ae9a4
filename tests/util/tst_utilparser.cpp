#include "utilparser.h"

#include <QRegularExpression>
#include <QTest>

#include <array>
#include <climits>
#include <functional>
#include <random>

namespace {

/// What one read did: how far the cursor went, the value as text, and the message.
struct Outcome {
    qsizetype consumed = 0;
    QByteArray value;
    QByteArray error;

    bool operator==(const Outcome &) const = default;
};

char *ToString(const Outcome &outcome)
{
    return qstrdup(("consumed " + QByteArray::number(outcome.consumed) + ", value <" + outcome.value
        + ">, error <" + outcome.error + ">")
                       .constData());
}

using Read = std::function<void(UtilParseError, const char *&, QByteArray &value)>;

Outcome Run(const Read &read, const QByteArray &text)
{
    std::array<char, 64> error{};
    const char *cursor = text.constData();
    Outcome outcome;
    read(error, cursor, outcome.value);
    outcome.consumed = cursor - text.constData();
    outcome.error = error.data();
    return outcome;
}

/// Matches at the start of the text only; group 1 is the value.
QRegularExpressionMatch Match(const char *pattern, const QByteArray &text)
{
    static QHash<QByteArray, QRegularExpression> compiled;
    QRegularExpression &expression = compiled[pattern];
    if (expression.pattern().isEmpty())
        expression.setPattern(QLatin1String(pattern));
    return expression.match(QString::fromLatin1(text), 0, QRegularExpression::NormalMatch,
        QRegularExpression::AnchorAtOffsetMatchOption);
}

Outcome Taken(const QRegularExpressionMatch &match, const QByteArray &value)
{
    return {match.capturedLength(), value, {}};
}

/// A failing read stands behind the blanks.
Outcome Refused(const QByteArray &text, const QByteArray &error)
{
    return {Match("[ \\t]*", text).capturedLength(), {}, error};
}

QByteArray First(const QRegularExpressionMatch &match)
{
    return match.captured(1).toLatin1();
}

struct Case {
    const char *name;
    Read read;
    std::function<Outcome(const QByteArray &text)> model;
};

template <typename Reader> Read IntoBuffer(Reader reader)
{
    return [reader](UtilParseError error, const char *&cursor, QByteArray &value) {
        std::array<char, 6> buffer{};
        reader(error, cursor, std::span<char>(buffer));
        value = buffer.data();
    };
}

template <typename Number, typename Reader> Read IntoNumber(Reader reader, Number min, Number max)
{
    return [=](UtilParseError error, const char *&cursor, QByteArray &value) {
        Number number{};
        reader(error, cursor, min, max, number);
        if (!UTIL_HasFailed(error))
            value = QByteArray::number(static_cast<qlonglong>(number));
    };
}

std::function<Outcome(const QByteArray &)> AlwaysTakes(const char *pattern)
{
    return [=](const QByteArray &text) {
        const auto match = Match(pattern, text);
        return Taken(match, First(match));
    };
}

Outcome ModelDecimal(const QByteArray &text)
{
    const auto match = Match("[ \\t]*([-+]?[0-9]*)", text);
    const QByteArray number = First(match);
    if (number.isEmpty())
        return Refused(text, "Expecting a number");
    const bool negative = number.startsWith('-');
    const qlonglong magnitude
        = negative || number.startsWith('+') ? number.mid(1).toLongLong() : number.toLongLong();
    if (magnitude < 3)
        return Refused(text, "Expected a value >= 3");
    const qlonglong clamped = qMin(magnitude, 210LL);
    return Taken(match, QByteArray::number(negative ? -clamped : clamped));
}

Outcome ModelInt64(const QByteArray &text)
{
    const auto hex = Match("[ \\t]*0x([0-9a-fA-F]*)", text);
    const auto decimal = Match("[ \\t]*([-+]?[0-9]*)", text);
    const auto &match = hex.hasMatch() ? hex : decimal;
    const qlonglong number = First(match).toLongLong(nullptr, hex.hasMatch() ? 16 : 10);
    if (number < -20)
        return Refused(text, "Expected a value >= -20");
    if (number > 0xF0)
        return Refused(text, "Expected a value <= 240");
    return Taken(match, QByteArray::number(number));
}

Outcome ModelHex(const QByteArray &text)
{
    const auto match = Match("[ \\t]*([0-9a-fA-F]+)", text);
    if (!match.hasMatch())
        return Refused(text, "Expecting a number");
    const quint64 number = First(match).toULongLong(nullptr, 16);
    if (number < 0x1A)
        return Refused(text, "Expected a value >= 1a");
    return Taken(match, QByteArray::number(qMin<quint64>(number, 0xAF)));
}

Outcome ModelQuoted(const QByteArray &text)
{
    const auto match = Match("[ \\t]*\"([^\"]{0,4})\"", text);
    return match.hasMatch() ? Taken(match, First(match)) : Refused(text, "\x01");
}

Outcome ModelQuotedLenient(const QByteArray &text)
{
    const auto match = Match("[ \\t]*\"([^\"]{0,5})[^\"]*\"?", text);
    return match.hasMatch() ? Taken(match, First(match)) : Refused(text, "\x01");
}

Outcome ModelExpect(const QByteArray &text)
{
    if (text.startsWith('='))
        return {1, {}, {}};
    return {0, {}, QByteArray("Expected '=', got '" + text.left(1) + (text.isEmpty() ? "" : "'"))};
}

Outcome ModelReal(const QByteArray &text)
{
    if (text.startsWith(','))
        return {0, "0", {}};
    const auto match = Match("[ \\t]*([-+]?[0-9]*(?:\\.[0-9]*)?)[ \\t]*,?", text);
    return Taken(match, QByteArray::number(First(match).replace("+", "").toDouble(), 'g', 12));
}

const Case kCases[] = {
    {"blanks", [](auto e, auto &c, auto &) { UTIL_SkipBlanks(e, c); }, AlwaysTakes("[ \\t]*()")},
    {"line", [](auto e, auto &c, auto &) { UTIL_SkipLine(e, c); },
        AlwaysTakes("[^\\r\\n]*[\\r\\n]*()")},
    {"separator", [](auto e, auto &c, auto &) { UTIL_SkipSeparator(e, c); },
        AlwaysTakes("[ \\t]*,?()")},
    {"expected character", [](auto e, auto &c, auto &) { UTIL_ExpectChar(e, c, '='); },
        ModelExpect},
    {"expected text", [](auto e, auto &c, auto &) { UTIL_ExpectText(e, c, "0x"); },
        [](const QByteArray &text) {
            return text.startsWith("0x") ? Outcome{2, {}, {}} : Outcome{0, {}, "Expected \"0x\""};
        }},
    {"word", IntoBuffer(&UTIL_ReadWord), AlwaysTakes("[ \\t]*([A-Za-z]{0,5})")},
    {"alphanumeric", IntoBuffer(&UTIL_ReadAlphanumeric), AlwaysTakes("[ \\t]*([A-Za-z0-9]{0,5})")},
    {"identifier", IntoBuffer(&UTIL_ReadIdentifier), AlwaysTakes("[ \\t]*([A-Za-z0-9_]{0,5})")},
    {"quoted", IntoBuffer(&UTIL_ReadQuoted), ModelQuoted},
    {"quoted, lenient", IntoBuffer(&UTIL_ReadQuotedLenient), ModelQuotedLenient},
    {"hex", IntoNumber<std::uint32_t>(&UTIL_ReadHex, 0x1A, 0xAF), ModelHex},
    {"decimal", IntoNumber<std::int32_t>(&UTIL_ReadDecimal, 3, 210), ModelDecimal},
    {"64 bits", IntoNumber<std::int64_t>(&UTIL_ReadInt64, -20, 0xF0), ModelInt64},
    {"real",
        [](auto e, auto &c, QByteArray &value) {
            double number = -1;
            UTIL_ReadReal(e, c, number);
            value = QByteArray::number(number, 'g', 12);
        },
        ModelReal},
};

} // namespace

class UtilParserTest : public QObject {
    Q_OBJECT

private slots:
    void randomTextsAgreeWithPatterns();
    void theFirstErrorSticks();
    void numbersBeyondTheirTypeReadAsItsLimit();
};

void UtilParserTest::randomTextsAgreeWithPatterns()
{
    const std::uint32_t seed = std::random_device{}();
    std::mt19937 random(seed);
    static constexpr char kAlphabet[] = "  \t+-00x1239aFZz_.,\"\"=\r\n\xE4";
    for (int round = 0; round < 20'000; ++round) {
        QByteArray text;
        for (auto length = random() % 12; length > 0; --length)
            text.append(kAlphabet[random() % (sizeof kAlphabet - 1)]);
        for (const Case &one : kCases) {
            const Outcome expected = one.model(text);
            const Outcome actual = Run(one.read, text);
            if (actual != expected) {
                qInfo("seed %u, %s of <%s>: %s but expected %s", seed, one.name, text.constData(),
                    ToString(actual), ToString(expected));
                QFAIL("a read differs from its pattern");
            }
        }
    }
}

void UtilParserTest::theFirstErrorSticks()
{
    std::array<char, 64> error{};
    const char *const text = " =1 \"a\"";
    const char *cursor = text;
    std::array<char, 4> word = {'o', 'l', 'd', '\0'};
    std::uint32_t number = 7;
    UTIL_ExpectChar(error, cursor, '=');
    QCOMPARE(error.data(), "Expected '=', got ' '");
    UTIL_SkipBlanks(error, cursor);
    UTIL_ExpectChar(error, cursor, '=');
    UTIL_ReadHex(error, cursor, 9, 9, number);
    UTIL_ReadWord(error, cursor, word);
    UTIL_ReadQuotedLenient(error, cursor, word);
    QCOMPARE(error.data(), "Expected '=', got ' '");
    QCOMPARE(cursor, text);
    QCOMPARE(number, 7U);
    QCOMPARE(word.data(), "old");
    UTIL_ClearError(error);
    UTIL_SkipBlanks(error, cursor);
    UTIL_ExpectChar(error, cursor, '=');
    QVERIFY(!UTIL_HasFailed(error));
}

void UtilParserTest::numbersBeyondTheirTypeReadAsItsLimit()
{
    const Read hex = IntoNumber<std::uint32_t>(&UTIL_ReadHex, 0, UINT_MAX);
    QCOMPARE(Run(hex, "FFFFFFFF0").value, QByteArray::number(UINT_MAX));
    const Read decimal = IntoNumber<std::int32_t>(&UTIL_ReadDecimal, 0, INT_MAX);
    QCOMPARE(Run(decimal, "-99999999999999999999").value, QByteArray::number(-INT_MAX));
    const Read wide = IntoNumber<std::int64_t>(&UTIL_ReadInt64, LLONG_MIN, LLONG_MAX);
    QCOMPARE(Run(wide, "-9223372036854775808").value, QByteArray::number(LLONG_MIN));
    QCOMPARE(Run(wide, "-9223372036854775809").value, QByteArray::number(LLONG_MIN));
    QCOMPARE(Run(wide, "0xFFFFFFFFFFFFFFFFF").value, QByteArray::number(LLONG_MAX));
    const QByteArray endless = "0." + QByteArray(500, '9');
    double number = 0;
    std::array<char, 8> error{};
    const char *cursor = endless.constData();
    UTIL_ReadReal(error, cursor, number);
    QCOMPARE(number, 1.0);
    QCOMPARE(*cursor, '\0');
}

QTEST_GUILESS_MAIN(UtilParserTest)
#include "tst_utilparser.moc"
