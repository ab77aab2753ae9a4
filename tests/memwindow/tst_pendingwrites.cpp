#include "memtypes.h"
#include "pendingwrites.h"
#include "randomseed.h"

#include <QTest>

#include <map>
#include <optional>

class PendingWritesTest : public QObject {
    Q_OBJECT

private slots:
    void nothingIsWrittenPastTheEndOfTheSpace()
    {
        PendingWrites pending;
        const std::vector<std::uint8_t> bytes{1, 2, 3, 4};
        for (const std::uint64_t address :
            {kAddressSpaceEnd - 2, kAddressSpaceEnd, ~std::uint64_t{0}})
            pending.Add(address, bytes);
        pending.Add(0x10, {});
        const std::vector<WriteRun> runs = pending.TakeRuns();
        QCOMPARE(runs.size(), 1U);
        QCOMPARE(runs[0].address, kAddressSpaceEnd - 2);
        QCOMPARE(runs[0].data, (std::vector<std::uint8_t>{1, 2}));
    }

    /// The last keystroke wins, and as few writes as possible cover what was typed.
    void randomTypingMatchesANaiveModel()
    {
        auto generator = SeededGenerator();
        for (int round = 0; round < 300; ++round) {
            PendingWrites pending;
            std::map<std::uint64_t, std::uint8_t> model;
            for (int i = Pick(generator, 0, 11); i >= 0; --i) {
                std::vector<std::uint8_t> bytes(std::size_t(Pick(generator, 1, 4)));
                const std::uint64_t address = 0x1000 + unsigned(Pick(generator, 0, 47));
                for (std::size_t b = 0; b < bytes.size(); ++b)
                    model[address + b] = bytes[b] = std::uint8_t(Pick(generator, 0, 255));
                pending.Add(address, bytes);
            }
            std::vector<std::uint8_t> shown(64, 0xEE);
            std::vector<ByteStatus> status(shown.size(), ByteStatus::ReadFailed);
            pending.Overlay(0x1000, shown, status);
            for (std::size_t i = 0; i < shown.size(); ++i) {
                const auto typed = model.find(0x1000 + i);
                const bool isTyped = typed != model.end();
                QCOMPARE(shown[i], isTyped ? typed->second : std::uint8_t{0xEE});
                QCOMPARE(status[i] == ByteStatus::Valid, isTyped);
                QCOMPARE(pending.Touches(0x1000 + i, 1), isTyped);
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
            QVERIFY(pending.IsEmpty()); // what was handed out once is not written again
        }
    }
};

QTEST_GUILESS_MAIN(PendingWritesTest)
#include "tst_pendingwrites.moc"
