#include "linecomposer.h"
#include "randomseed.h"

#include <QtTest>

namespace {

using Bytes = std::vector<std::uint8_t>;

/// @param status  of each byte: V valid, F failed, N not loaded
QString Row(int bytesPerItem, bool bigEndian, const QByteArray &status, const Bytes &data)
{
    std::vector<ByteStatus> statuses;
    for (const char byte : status)
        statuses.push_back(byte == 'V' ? ByteStatus::Valid
                : byte == 'F'          ? ByteStatus::ReadFailed
                                       : ByteStatus::NotLoaded);
    ComposedLine line;
    LineComposer(bytesPerItem, bigEndian)
        .ComposeRow(0x1'2000'0000, std::uint32_t(statuses.size()), data.data(), statuses.data(),
            nullptr, line);
    return QString::fromLatin1(line.text.data(), line.length);
}

} // namespace

class LineComposerTest : public QObject {
    Q_OBJECT

private slots:
    void aRowReads()
    {
        const Bytes data{0x41, 0x42, 0x43, 0x44, 0x30, 0x31, 0x7E, 0x7F};
        const QByteArray all(8, 'V');
        QCOMPARE(Row(1, false, all, data), "20000000  41 42 43 44 30 31 7E 7F  ABCD01~.");
        QCOMPARE(Row(2, false, all, data), "20000000  4241 4443 3130 7F7E  ABCD01~.");
        QCOMPARE(Row(2, true, all, data), "20000000  4142 4344 3031 7E7F  ABCD01~.");
        QCOMPARE(Row(4, false, all, data), "20000000  44434241 7F7E3130  ABCD01~.");
        QCOMPARE(Row(4, true, all, data), "20000000  41424344 30317E7F  ABCD01~.");
        QCOMPARE(Row(1, false, "VFN", data), "20000000  41 -- ..  A..");
        // An item's first byte decides; of the others no digit is shown that was not read.
        QCOMPARE(Row(4, false, "FVVVNVVV", data), "20000000  -------- ........  .BCD.1~.");
        QCOMPARE(Row(4, false, "VVFVVNNN", data), "20000000  44--4241 ......30  AB.D0...");
        for (int byte = 0; byte < 256; ++byte) {
            const bool shown = (byte > 32 && byte < 127) || (byte > 160 && byte != 173);
            QCOMPARE(Row(1, false, "V", {std::uint8_t(byte)}).at(14), QChar(shown ? byte : '.'));
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
        const Bytes data(2048, 1);
        const std::vector<ByteStatus> allValid(2048, ByteStatus::Valid);
        ComposedLine line;
        LineComposer(1, false).ComposeRow(0, 400, data.data(), allValid.data(), data.data(), line);
        QCOMPARE(line.runCount, kMaxColourRuns);

        auto generator = SeededGenerator();
        for (int round = 0; round < 2000; ++round) {
            const auto length = std::uint32_t(1) << Pick(generator, 0, 11);
            const LineComposer composer(1 << Pick(generator, 0, 2), Pick(generator, 0, 1) == 1);
            const auto compose = [&](int size) {
                std::string buffer(16000, '#');
                const char *end = composer.ComposeLine(buffer.data(), buffer.data() + size, 0,
                    length, data.data(), round % 10 == 0 ? nullptr : allValid.data());
                return std::pair{buffer, std::size_t(end - buffer.data())};
            };
            const int size = Pick(generator, 0, 2500);
            const auto [narrow, end] = compose(size);
            const auto [wide, all] = compose(16000);
            QCOMPARE(narrow.find_first_not_of('#', std::size_t(size)), std::string::npos);
            // What was written agrees with the whole line, except for items that did not fit.
            for (std::size_t i = 0; i < std::min(end, all); ++i)
                QVERIFY(narrow[i] == wide[i] || narrow[i] == ' ');
        }
    }
};

QTEST_GUILESS_MAIN(LineComposerTest)
#include "tst_linecomposer.moc"
