#include "faketarget.h"
#include "randomseed.h"
#include "targetaccess.h"

#include <QtTest>

class TargetAccessTest : public QObject {
    Q_OBJECT

private slots:
    void randomFaultsBlankExactlyTheUnreadableBytes();
    void aFailedRangeIsReadInRowsWordsAndHalves();
    void whatNoCallCoversStaysNotLoaded();
    void anAnswerOfMinusOneEndsSoon();
    void aHostMayClaimMoreThanItWasAsked();
    void failuresOfMissingCallbacksAreReported();
    void writesAndReadsCarryZoneAndWidth();
    void readsStopAtTheEndOfTheSpace();
};

namespace {

struct Buffers {
    explicit Buffers(std::size_t length)
        : data(length)
        , status(length, ByteStatus::NotLoaded)
    {
    }
    std::vector<std::uint8_t> data;
    std::vector<ByteStatus> status;
};

} // namespace

void TargetAccessTest::randomFaultsBlankExactlyTheUnreadableBytes()
{
    auto generator = SeededGenerator();
    for (int round = 0; round < 200; ++round) {
        FakeTarget target;
        TargetAccess access;
        access.SetCallbacks(target.Callbacks());
        const auto bytesPerRow = std::uint32_t(4) << Pick(generator, 0, 4);
        const std::uint64_t length = bytesPerRow * std::uint64_t(Pick(generator, 1, 40));
        const std::uint64_t base = Pick(generator, 0, 1) == 0 ? 0x1000 : kAddressSpaceEnd - length;
        for (int faults = Pick(generator, 0, 20); faults > 0; --faults)
            target.unreadable.insert(base + Pick(generator, std::uint64_t{0}, length - 1));
        Buffers read(length);
        const int count = access.Read(base, read.data, read.status, bytesPerRow);
        QCOMPARE(count, int(length - target.unreadable.size()));
        for (std::uint64_t i = 0; i < length; ++i) {
            const bool bad = target.unreadable.contains(base + i);
            QCOMPARE(read.status[i], bad ? ByteStatus::ReadFailed : ByteStatus::Valid);
            QCOMPARE(read.data[i], bad ? std::uint8_t{0} : target.ByteAt(base + i));
        }
        for (const FakeTarget::Call &call : target.reads)
            QVERIFY(call.address >= base && call.address + call.length <= base + length);
        QVERIFY(target.messages.isEmpty());
    }
}

void TargetAccessTest::aFailedRangeIsReadInRowsWordsAndHalves()
{
    FakeTarget target;
    target.unreadable = {0x116};
    TargetAccess access;
    access.SetCallbacks(target.Callbacks());
    Buffers read(32);
    QCOMPARE(access.Read(0x100, read.data, read.status, 16), 31);
    const std::vector<std::pair<std::uint64_t, std::uint64_t>> expected{{0x100, 32}, {0x100, 16},
        {0x110, 16}, {0x110, 4}, {0x114, 4}, {0x114, 2}, {0x116, 2}, {0x116, 1}, {0x117, 1},
        {0x118, 4}, {0x11C, 4}};
    QCOMPARE(target.reads.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        QCOMPARE(target.reads[i].address, expected[i].first);
        QCOMPARE(target.reads[i].length, expected[i].second);
    }
}

void TargetAccessTest::whatNoCallCoversStaysNotLoaded()
{
    FakeTarget target;
    target.unreadable = {0x100};
    TargetAccess access;
    access.SetCallbacks(target.Callbacks());
    Buffers read(20); // a row and a quarter
    QCOMPARE(access.Read(0x100, read.data, read.status, 16), 15);
    QVERIFY(read.status[16] != ByteStatus::Valid);
    QCOMPARE(int(read.data[16]), 0);
    Buffers shortRow(2); // a row too short to be split
    QCOMPARE(access.Read(0x100, shortRow.data, shortRow.status, 2), 0);
    QCOMPARE(shortRow.status[1], ByteStatus::ReadFailed);
    Buffers noLayout(8);
    QCOMPARE(access.Read(0x100, noLayout.data, noLayout.status, 0), 0);
}

void TargetAccessTest::anAnswerOfMinusOneEndsSoon()
{
    FakeTarget target;
    target.failAll = true;
    TargetAccess access;
    access.SetCallbacks(target.Callbacks());
    Buffers read(800);
    QCOMPARE(access.Read(0, read.data, read.status, 16), 0);
    QVERIFY2(
        target.reads.size() <= 1 + 50 + 200 * 7, qPrintable(QString::number(target.reads.size())));
    QCOMPARE(std::count(read.status.begin(), read.status.end(), ByteStatus::ReadFailed), 800);
}

void TargetAccessTest::aHostMayClaimMoreThanItWasAsked()
{
    TargetAccess access;
    MemoryCallbacks callbacks;
    callbacks.ReadMemory = [](std::uint64_t, std::uint64_t length, std::uint8_t, const char *,
                               std::uint8_t *data, std::uint8_t *status) {
        if (length > 16)
            return -5;
        for (std::uint64_t i = 0; i < length; ++i) {
            data[i] = 7;
            status[i] = std::uint8_t(i); // nonsense from byte 2 on
        }
        return std::numeric_limits<int>::max();
    };
    access.SetCallbacks(callbacks);
    Buffers read(64);
    QCOMPARE(access.Read(0, read.data, read.status, 16), 64);
    QCOMPARE(read.status[0], ByteStatus::Valid);
    QCOMPARE(read.status[5], ByteStatus::ReadFailed);
    QCOMPARE(int(read.data[5]), 0);
}

void TargetAccessTest::failuresOfMissingCallbacksAreReported()
{
    FakeTarget target;
    TargetAccess access;
    MemoryCallbacks callbacks;
    callbacks.ShowMessage = target.Callbacks().ShowMessage;
    access.SetCallbacks(callbacks);
    Buffers read(4);
    QVERIFY(access.Read(0, read.data, read.status, 4) < 0);
    QVERIFY(access.Write(0, read.data) < 0);
    QCOMPARE(target.messages,
        QStringList({"1: Failed to read target memory", "1: Failed to write target memory"}));
    access.SetCallbacks({});
    QVERIFY(access.Read(0, read.data, read.status, 4) < 0); // nobody to tell
}

void TargetAccessTest::writesAndReadsCarryZoneAndWidth()
{
    FakeTarget target;
    TargetAccess access;
    access.SetCallbacks(target.Callbacks());
    access.SetAccessWidth(2);
    access.SetZone(QString(200, 'z'));
    Buffers read(4);
    access.Read(0x10, read.data, read.status, 4);
    const std::vector<std::uint8_t> bytes{1, 2};
    QCOMPARE(access.Write(0x100, bytes), 2);
    QCOMPARE(target.reads, (std::vector<FakeTarget::Call>{{0x10, 4, 2, QByteArray(127, 'z'), {}}}));
    QCOMPARE(target.writes,
        (std::vector<FakeTarget::Call>{{0x100, 2, 2, QByteArray(127, 'z'), QByteArray("\1\2")}}));
}

void TargetAccessTest::readsStopAtTheEndOfTheSpace()
{
    FakeTarget target;
    TargetAccess access;
    access.SetCallbacks(target.Callbacks());
    Buffers read(32);
    QCOMPARE(access.Read(0xFFFF'FFF0, read.data, read.status, 16), 16);
    QCOMPARE(read.status[16], ByteStatus::NotLoaded);
    QCOMPARE(access.Read(0x1'0000'0000, read.data, read.status, 16), 0);
    QCOMPARE(target.reads.size(), std::size_t(1));
}

QTEST_GUILESS_MAIN(TargetAccessTest)
#include "tst_targetaccess.moc"
