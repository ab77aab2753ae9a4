#include "linecomposer.h"
#include "randomseed.h"

#include <QtTest>

namespace {

using Bytes = std::vector<std::uint8_t>;

/// @param status  a character for each byte: V valid, F failed, N not loaded
QString Compose(const LineComposer &composer, const Bytes &data, const char *status)
{
    std::vector<ByteStatus> statuses;
    for (; *status != '\0'; ++status)
        statuses.push_back(*status == 'V' ? ByteStatus::Valid
                : *status == 'F'          ? ByteStatus::ReadFailed
                                          : ByteStatus::NotLoaded);
    std::array<char, kLineChars> buffer;
    const char *end = composer.ComposeLine(buffer.data(), buffer.data() + kLineChars - 1,
        0x1'2000'0000, std::uint32_t(statuses.size()), data.data(), statuses.data());
    return QString::fromLatin1(buffer.data(), end - buffer.data());
}

} // namespace

class LineComposerTest : public QObject {
    Q_OBJECT

private slots:
    void aRowReads()
    {
        const Bytes data{0x41, 0x42, 0x43, 0x44, 0x30, 0x31, 0x32, 0x33, 0, 1, 0x7E, 0x7F, 0x20,
            0xA1, 0xAD, 0xFF};
        const QString text = "  ABCD0123..~..\u00A1.\u00FF\n";
        const char *all = "VVVVVVVVVVVVVVVV";
        const std::tuple<int, bool, const char *, QString> rows[]
            = {{1, false, all, "41 42 43 44 30 31 32 33  00 01 7E 7F 20 A1 AD FF" + text},
                {2, false, all, "4241 4443 3130 3332  0100 7F7E A120 FFAD" + text},
                {2, true, all, "4142 4344 3031 3233  0001 7E7F 20A1 ADFF" + text},
                {4, false, all, "44434241 33323130  7F7E0100 FFADA120" + text},
                {4, true, all, "41424344 30313233  00017E7F 20A1ADFF" + text},
                // An item's first byte decides; of the others no digit is shown that was not read.
                {1, false, "VFN", "41 -- ..  A..\n"},
                {4, false, "FVVVNVVV", "-------- ........  .BCD.123\n"},
                {4, false, "VVFVVNNN", "44--4241 ......30  AB.D0...\n"}};
        for (const auto &[bytesPerItem, bigEndian, status, row] : rows)
            QCOMPARE(Compose({bytesPerItem, bigEndian}, data, status), "20000000  " + row);
        std::array<char, 100> buffer;
        const char *end = LineComposer(2, false).ComposeLine(
            buffer.data(), buffer.data() + 100, 0, 4, nullptr, nullptr);
        QCOMPARE(QByteArray(buffer.data(), end - buffer.data()), "00000000  .... ....  ....\n");
    }

    void theTextColumnHidesWhatCannotBeSeen()
    {
        for (int byte = 0; byte < 256; ++byte) {
            const bool shown = (byte > 32 && byte < 127) || (byte > 160 && byte != 173);
            QCOMPARE(
                Compose({1, false}, {std::uint8_t(byte)}, "V").at(14), QChar(shown ? byte : '.'));
        }
    }

    void changedItemsAreColouredByTheirYoungestByte()
    {
        const Bytes data(16, 0x41);
        const Bytes ages{0, 3, 2, 0, 4, 4, 0, 0, 0, 0, 1, 0, 4, 3, 0, 0};
        std::vector<ByteStatus> status(16, ByteStatus::Valid);
        status[8] = ByteStatus::ReadFailed; // so item 2 is not coloured
        ComposedLine line;
        LineComposer(4, false).ComposeRow(0, 16, data.data(), status.data(), ages.data(), line);
        QString runs;
        for (const ColourRun &run : line.Runs())
            runs += QStringLiteral(" %1+%2:%3").arg(run.start).arg(run.length).arg(run.age);
        QCOMPARE(runs, " 10+8:2 38+8:3 49+1:3 50+1:2 58+1:1 61+1:3");
        QCOMPARE(line.text[std::size_t(line.length) - 1], 'A');
    }

    void noMoreIsWrittenThanThereIsRoomFor()
    {
        const Bytes many(400, 1);
        const std::vector<ByteStatus> allValid(2048, ByteStatus::Valid);
        ComposedLine line;
        LineComposer(1, false).ComposeRow(0, 400, many.data(), allValid.data(), many.data(), line);
        QCOMPARE(line.runCount, kMaxColourRuns);

        auto generator = SeededGenerator();
        const Bytes data(2048, 0x41);
        for (int round = 0; round < 2000; ++round) {
            const auto length = std::uint32_t(1) << Pick(generator, 0, 11);
            const LineComposer composer(1 << Pick(generator, 0, 2), Pick(generator, 0, 1) == 1);
            const auto compose = [&](std::vector<char> &buffer, int size) {
                return composer.ComposeLine(buffer.data(), buffer.data() + size, 0, length,
                           data.data(), allValid.data())
                    - buffer.data();
            };
            std::vector<char> wide(16000, '#');
            std::vector<char> narrow(16000, '#');
            const int size = Pick(generator, 0, 2500);
            const auto all = compose(wide, 16000);
            const auto end = compose(narrow, size);
            QVERIFY(end <= size);
            QCOMPARE(*std::max_element(narrow.begin() + size, narrow.end()), '#');
            // What was written agrees with the whole line, except for items that did not fit.
            for (std::size_t i = 0; i < std::size_t(std::min(end, all)); ++i)
                QVERIFY(narrow[i] == wide[i] || narrow[i] == ' ');
        }
    }
};

QTEST_GUILESS_MAIN(LineComposerTest)
#include "tst_linecomposer.moc"
