#include "memtypes.h"
#include "pendingwrites.h"
#include "randomseed.h"

#include <QTest>

#include <map>
#include <optional>

class PendingWritesTest : public QObject {
    Q_OBJECT

private slots:
    /// The last keystroke wins, as few writes as possible cover what was typed, and nothing is
    /// written past the end of the space.
    void randomTypingMatchesANaiveModel()
    {
        auto generator = SeededGenerator();
        for (int round = 0; round < 600; ++round) {
            const std::uint64_t start = round % 2 == 0 ? 0x1000 : kAddressSpaceEnd - 40;
            PendingWrites pending;
            std::map<std::uint64_t, std::uint8_t> model;
            for (int i = Pick(generator, 0, 11); i >= 0; --i) {
                std::vector<std::uint8_t> bytes(std::size_t(Pick(generator, 0, 4)));
                const std::uint64_t address = start + unsigned(Pick(generator, 0, 47));
                for (std::size_t b = 0; b < bytes.size(); ++b) {
                    bytes[b] = std::uint8_t(Pick(generator, 0, 255));
                    if (address + b < kAddressSpaceEnd)
                        model[address + b] = bytes[b];
                }
                pending.Add(address, bytes);
            }
            std::vector<std::uint8_t> shown(64, 0xEE);
            std::vector<ByteStatus> status(shown.size(), ByteStatus::ReadFailed);
            pending.Overlay(start, shown, status);
            for (std::size_t i = 0; i < shown.size(); ++i) {
                const auto typed = model.find(start + i);
                const bool isTyped = typed != model.end();
                QCOMPARE(shown[i], isTyped ? typed->second : std::uint8_t{0xEE});
                QCOMPARE(status[i] == ByteStatus::Valid, isTyped);
                QCOMPARE(pending.Touches(start + i, 1), isTyped);
            }
            std::map<std::uint64_t, std::uint8_t> written;
            std::optional<std::uint64_t> lastEnd;
            for (const WriteRun &run : pending.TakeRuns()) {
                QVERIFY(!lastEnd || run.address > *lastEnd);
                lastEnd = run.address + run.data.size();
                for (std::size_t i = 0; i < run.data.size(); ++i)
                    written[run.address + i] = run.data[i];
            }
            QVERIFY(written == model);
            QVERIFY(pending.IsEmpty()); // bytes that were taken once are not written again
        }
    }
};

QTEST_GUILESS_MAIN(PendingWritesTest)
#include "tst_pendingwrites.moc"
