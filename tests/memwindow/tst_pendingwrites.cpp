#include "memtypes.h"
#include "pendingwrites.h"
#include "randomseed.h"

#include <QTest>

#include <map>
#include <optional>
#include <string_view>

namespace {

void Type(PendingWrites &pending, std::uint64_t address, std::string_view text)
{
    pending.Add(address, std::vector<std::uint8_t>(text.begin(), text.end()));
}

/// "100:AB 200:C", so that a failure shows the runs.
QString Written(PendingWrites &pending)
{
    QStringList runs;
    for (const WriteRun &run : pending.TakeRuns()) {
        const std::string text(run.data.begin(), run.data.end());
        runs << QString::number(run.address, 16) + u':' + QString::fromLatin1(text.c_str());
    }
    return runs.join(u' ');
}

} // namespace

class PendingWritesTest : public QObject {
    Q_OBJECT

private slots:
    void recordsBecomeAsFewWritesAsCoverThem()
    {
        PendingWrites pending;
        Type(pending, 0x104, "E");
        Type(pending, 0x100, "abcd"); // touches the first, typed later, lies below
        Type(pending, 0x106, "G");    // one byte apart
        QCOMPARE(Written(pending), "100:abcdE 106:G");
        QVERIFY2(pending.IsEmpty(), "what was handed out once must not be written again");
        Type(pending, 0x200, "long run");
        Type(pending, 0x202, "**"); // inside
        Type(pending, 0x203, "!");  // over the last keystroke
        Type(pending, 0x207, "NX"); // over the end
        QCOMPARE(Written(pending), "200:lo*! ruNX");
        Type(pending, kAddressSpaceEnd - 2, "wxyz");
        Type(pending, kAddressSpaceEnd, "!");
        Type(pending, ~0ULL, "!");
        Type(pending, 0x10, "");
        QCOMPARE(Written(pending), "fffffffe:wx");
    }

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
        }
    }
};

QTEST_GUILESS_MAIN(PendingWritesTest)
#include "tst_pendingwrites.moc"
