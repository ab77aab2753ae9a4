#include "memtypes.h"
#include "pendingwrites.h"

#include <QObject>
#include <QRandomGenerator>
#include <QTest>

#include <map>
#include <optional>
#include <string_view>

namespace {

void Type(PendingWrites &pending, std::uint64_t address, std::string_view text)
{
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    pending.Add(address, bytes);
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
    void recordsBecomeAsFewWritesAsCoverThem();
    void nothingIsWrittenPastTheEndOfTheSpace();
    void randomTypingMatchesANaiveModel();
};

void PendingWritesTest::recordsBecomeAsFewWritesAsCoverThem()
{
    PendingWrites pending;
    Type(pending, 0x100, "A");
    Type(pending, 0x101, "B");
    QCOMPARE(Written(pending), "100:AB");
    QVERIFY2(pending.IsEmpty(), "what was handed out once must not be written again");

    Type(pending, 0x104, "E");
    Type(pending, 0x100, "abcd"); // touches the first, typed later, lies below
    Type(pending, 0x106, "G");    // one byte apart
    QCOMPARE(Written(pending), "100:abcdE 106:G");

    Type(pending, 0x200, "long run");
    Type(pending, 0x202, "**"); // inside
    Type(pending, 0x203, "!");  // over the last keystroke
    Type(pending, 0x207, "NX"); // over the end
    QCOMPARE(Written(pending), "200:lo*! ruNX");
}

void PendingWritesTest::nothingIsWrittenPastTheEndOfTheSpace()
{
    PendingWrites pending;
    Type(pending, kAddressSpaceEnd - 2, "wxyz");
    Type(pending, kAddressSpaceEnd, "!");
    Type(pending, ~0ULL, "!");
    Type(pending, 0x10, "");
    QCOMPARE(Written(pending), "fffffffe:wx");
}

void PendingWritesTest::randomTypingMatchesANaiveModel()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);
    for (int round = 0; round < 300; ++round) {
        PendingWrites pending;
        std::map<std::uint64_t, std::uint8_t> model;
        for (int i = random.bounded(12); i >= 0; --i) {
            std::vector<std::uint8_t> bytes(random.bounded(1U, 5U));
            const std::uint64_t address = 0x1000 + random.bounded(48U);
            for (std::size_t b = 0; b < bytes.size(); ++b) {
                bytes[b] = static_cast<std::uint8_t>(random.bounded(256U));
                model[address + b] = bytes[b];
            }
            pending.Add(address, bytes);
        }

        std::vector<std::uint8_t> shown(64, 0xEE);
        std::vector<ByteStatus> status(shown.size(), ByteStatus::ReadFailed);
        pending.Overlay(0x1000, shown, status);
        std::vector<bool> touched;
        for (std::size_t i = 0; i < shown.size(); ++i)
            touched.push_back(pending.Touches(0x1000 + i, 1));
        std::map<std::uint64_t, std::uint8_t> written;
        std::optional<std::uint64_t> lastEnd;
        for (const WriteRun &run : pending.TakeRuns()) {
            QVERIFY2(!lastEnd || run.address > *lastEnd, qPrintable(QString::number(seed)));
            lastEnd = run.address + run.data.size();
            for (std::size_t i = 0; i < run.data.size(); ++i)
                written[run.address + i] = run.data[i];
        }
        QVERIFY2(written == model, qPrintable(QString::number(seed)));
        for (std::size_t i = 0; i < shown.size(); ++i) {
            const auto typed = model.find(0x1000 + i);
            const bool isTyped = typed != model.end();
            QCOMPARE(shown[i], isTyped ? typed->second : std::uint8_t{0xEE});
            QCOMPARE(status[i] == ByteStatus::Valid, isTyped);
            QCOMPARE(touched[i], isTyped);
        }
    }
}

QTEST_GUILESS_MAIN(PendingWritesTest)
#include "tst_pendingwrites.moc"
