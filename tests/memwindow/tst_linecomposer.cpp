#include "cellmap.h"
#include "linecomposer.h"
#include "randomseed.h"

#include <QtTest>

class LineComposerTest : public QObject {
    Q_OBJECT

private slots:
    void aRowReads_data();
    void aRowReads();
    void bytesThatWereNotReadShowNoDigit();
    void theTextColumnHidesWhatCannotBeSeen();
    void changedItemsAreColouredByTheirYoungestByte();
    void noMoreRunsThanTheTableHolds();
    void anyBufferSizeIsRespected();
    void itemValuesAreCutToTheirDigits();
};

constexpr auto V = ByteStatus::Valid;
constexpr auto F = ByteStatus::ReadFailed;
constexpr auto N = ByteStatus::NotLoaded;

using Bytes = std::vector<std::uint8_t>;
using Statuses = std::vector<ByteStatus>;

static QString Compose(
    const LineComposer &composer, std::uint64_t address, const Bytes &data, const Statuses &status)
{
    std::array<char, kLineChars> buffer;
    const char *end = composer.ComposeLine(buffer.data(), buffer.data() + kLineChars - 1, address,
        std::uint32_t(status.size()), data.data(), status.data());
    return QString::fromLatin1(buffer.data(), end - buffer.data());
}

void LineComposerTest::aRowReads_data()
{
    QTest::addColumn<int>("bytesPerItem");
    QTest::addColumn<bool>("bigEndian");
    QTest::addColumn<QString>("line");
    QTest::newRow("1") << 1 << false
                       << "20000000  41 42 43 44 30 31 32 33  00 01 7E 7F 20 A1 AD FF  "
                          "ABCD0123..~..\u00A1.\u00FF\n";
    QTest::newRow("2 little")
        << 2 << false
        << "20000000  4241 4443 3130 3332  0100 7F7E A120 FFAD  ABCD0123..~..\u00A1.\u00FF\n";
    QTest::newRow("2 big")
        << 2 << true
        << "20000000  4142 4344 3031 3233  0001 7E7F 20A1 ADFF  ABCD0123..~..\u00A1.\u00FF\n";
    QTest::newRow("4 little")
        << 4 << false
        << "20000000  44434241 33323130  7F7E0100 FFADA120  ABCD0123..~..\u00A1.\u00FF\n";
    QTest::newRow("4 big")
        << 4 << true
        << "20000000  41424344 30313233  00017E7F 20A1ADFF  ABCD0123..~..\u00A1.\u00FF\n";
}

void LineComposerTest::aRowReads()
{
    QFETCH(int, bytesPerItem);
    QFETCH(bool, bigEndian);
    const Bytes data{
        0x41, 0x42, 0x43, 0x44, 0x30, 0x31, 0x32, 0x33, 0, 1, 0x7E, 0x7F, 0x20, 0xA1, 0xAD, 0xFF};
    const QString line = Compose({bytesPerItem, bigEndian}, 0x1'2000'0000, data, Statuses(16, V));
    QTEST(line, "line");
    ViewGeometry geometry;
    geometry.SetCharacterSize(8, 16);
    geometry.SetViewSize(77 * 8, 16);
    geometry.SetBytesPerItem(bytesPerItem);
    QCOMPARE(line.indexOf("ABCD0123"), geometry.TextColumnStart());
}

void LineComposerTest::bytesThatWereNotReadShowNoDigit()
{
    QCOMPARE(Compose({1, false}, 0, {1, 2, 3}, {V, F, N}), "00000000  01 -- ..  ...\n");
    const Bytes data{0x41, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48};
    QCOMPARE(Compose({4, false}, 0, data, {F, V, V, V, N, V, V, V}),
        "00000000  -------- ........  .BCD.FGH\n");
    QCOMPARE(Compose({4, false}, 0, data, {V, V, F, V, V, N, N, N}),
        "00000000  44--4241 ......45  AB.DE...\n");
    std::array<char, kLineChars> buffer;
    const char *end = LineComposer(2, false).ComposeLine(
        buffer.data(), buffer.data() + 100, 0, 4, nullptr, nullptr);
    QCOMPARE(QByteArray(buffer.data(), end - buffer.data()), "00000000  .... ....  ....\n");
}

void LineComposerTest::theTextColumnHidesWhatCannotBeSeen()
{
    for (int byte = 0; byte < 256; ++byte) {
        const QString line = Compose({1, false}, 0, {std::uint8_t(byte)}, {V});
        const bool shown = (byte > 32 && byte < 127) || (byte > 160 && byte != 173);
        QCOMPARE(line.at(14), QChar(shown ? byte : '.'));
    }
}

void LineComposerTest::changedItemsAreColouredByTheirYoungestByte()
{
    const Bytes data(16, 0x41);
    const Bytes ages{0, 3, 2, 0, 4, 4, 0, 0, 0, 0, 1, 0, 4, 3, 0, 0};
    Statuses status(16, V);
    status[8] = F;
    ComposedLine line;
    LineComposer(4, false).ComposeRow(0, 16, data.data(), status.data(), ages.data(), line);
    QVERIFY(line.length < kLineChars && line.text[std::size_t(line.length) - 1] == 'A');
    const std::vector<std::array<int, 3>> expected{{10, 8, 2},
        {29 + 9, 8, 3}, // items 0 and 3; item 2 cannot be read
        {49, 1, 3}, {50, 1, 2}, {58, 1, 1}, {61, 1, 3}};
    QCOMPARE(line.runCount, int(expected.size()));
    for (std::size_t i = 0; i < expected.size(); ++i)
        QCOMPARE((std::array<int, 3>{line.runs[i].start, line.runs[i].length, line.runs[i].age}),
            expected[i]);
}

void LineComposerTest::noMoreRunsThanTheTableHolds()
{
    const Bytes data(400, 1);
    const Bytes ages(400, 1);
    ComposedLine line;
    LineComposer(1, false).ComposeRow(
        0, 400, data.data(), Statuses(400, V).data(), ages.data(), line);
    QCOMPARE(line.runCount, 256);
    QCOMPARE(line.runs[255].length, 2);
}

void LineComposerTest::anyBufferSizeIsRespected()
{
    auto generator = SeededGenerator();
    for (int round = 0; round < 2000; ++round) {
        const int bytesPerItem = 1 << Pick(generator, 0, 2);
        const auto length = std::uint32_t(1) << Pick(generator, 0, 11);
        const Bytes data(length, 0x41);
        const Statuses status(length, V);
        std::vector<char> wide(16000, '#');
        std::vector<char> narrow(16000, '#');
        const LineComposer composer(bytesPerItem, Pick(generator, 0, 1) == 1);
        const int size = Pick(generator, 0, 2500);
        char *all = composer.ComposeLine(
            wide.data(), wide.data() + wide.size(), 0, length, data.data(), status.data());
        char *end = composer.ComposeLine(
            narrow.data(), narrow.data() + size, 0, length, data.data(), status.data());
        QVERIFY(end <= narrow.data() + size);
        QCOMPARE(*std::max_element(narrow.data() + size, narrow.data() + narrow.size()), '#');
        // What was written agrees with the whole line, except for items that did not fit.
        for (int i = 0; i < end - narrow.data() && i < all - wide.data(); ++i)
            QVERIFY(
                narrow[std::size_t(i)] == wide[std::size_t(i)] || narrow[std::size_t(i)] == ' ');
    }
}

void LineComposerTest::itemValuesAreCutToTheirDigits()
{
    QCOMPARE(FormatItemValue(0x1234'5678, 2, false), "78");
    QCOMPARE(FormatItemValue(0x1234'5A78, 4, true), "0x5A78");
    QCOMPARE(FormatItemValue(0xF1234'5A78, 8, true), "0x12345A78");
    QCOMPARE(FormatItemValue(1, 3, true), "");
}

QTEST_GUILESS_MAIN(LineComposerTest)
#include "tst_linecomposer.moc"
