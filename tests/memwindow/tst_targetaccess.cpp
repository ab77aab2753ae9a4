#include "faketarget.h"
#include "randomseed.h"
#include "targetaccess.h"

#include <QtTest>

namespace {

/// Reads of a fake target into buffers of the given length.
struct Reading {
    explicit Reading(std::size_t length)
        : data(length)
        , status(length, ByteStatus::NotLoaded)
    {
        access.SetCallbacks(target.Callbacks());
    }
    int Read(std::uint64_t address, std::uint32_t bytesPerRow)
    {
        return access.Read(address, data, status, bytesPerRow);
    }

    FakeTarget target;
    TargetAccess access;
    std::vector<std::uint8_t> data;
    std::vector<ByteStatus> status;
};

} // namespace

class TargetAccessTest : public QObject {
    Q_OBJECT

private slots:
    void randomFaultsBlankExactlyTheUnreadableBytes()
    {
        auto generator = SeededGenerator();
        for (int round = 0; round < 200; ++round) {
            const auto bytesPerRow = std::uint32_t(4) << Pick(generator, 0, 4);
            const std::uint64_t length = bytesPerRow * std::uint64_t(Pick(generator, 1, 40));
            const std::uint64_t base
                = Pick(generator, 0, 1) == 0 ? 0x1000 : kAddressSpaceEnd - length;
            Reading r(length);
            for (int faults = Pick(generator, 0, 20); faults > 0; --faults)
                r.target.unreadable.insert(base + Pick(generator, std::uint64_t{0}, length - 1));
            QCOMPARE(r.Read(base, bytesPerRow), int(length - r.target.unreadable.size()));
            for (std::uint64_t i = 0; i < length; ++i) {
                const bool bad = r.target.unreadable.contains(base + i);
                QCOMPARE(r.status[i], bad ? ByteStatus::ReadFailed : ByteStatus::Valid);
                QCOMPARE(r.data[i], bad ? std::uint8_t{0} : r.target.ByteAt(base + i));
            }
            for (const FakeTarget::Call &call : r.target.reads)
                QVERIFY(call.address >= base && call.address + call.length <= base + length);
            QVERIFY(r.target.messages.isEmpty());
        }
    }

    void aFailedRangeIsReadInRowsWordsAndHalves()
    {
        Reading r(32);
        r.target.unreadable = {0x116};
        QCOMPARE(r.Read(0x100, 16), 31);
        QString calls;
        for (const FakeTarget::Call &call : r.target.reads)
            calls += QStringLiteral(" %1+%2").arg(call.address, 0, 16).arg(call.length);
        QCOMPARE(calls, " 100+32 100+16 110+16 110+4 114+4 114+2 116+2 116+1 117+1 118+4 11c+4");
    }

    void whatNoCallCoversStaysUnread()
    {
        Reading r(20); // a row and a quarter
        r.target.unreadable = {0x100};
        QCOMPARE(r.Read(0x100, 16), 15);
        QVERIFY(r.status[16] != ByteStatus::Valid && r.data[16] == 0);
        Reading shortRow(2); // a row too short to be split
        shortRow.target.failAll = true;
        QCOMPARE(shortRow.Read(0x100, 2), 0);
        QCOMPARE(shortRow.status[1], ByteStatus::ReadFailed);
        QCOMPARE(shortRow.Read(0x100, 0), 0); // no layout
        Reading atEnd(32);
        QCOMPARE(atEnd.Read(0xFFFF'FFF0, 16), 16);
        QCOMPARE(atEnd.status[16], ByteStatus::NotLoaded);
        QCOMPARE(atEnd.Read(0x1'0000'0000, 16), 0);
        QCOMPARE(atEnd.target.reads.size(), 1U);
    }

    void aHostMayClaimMoreThanItWasAsked()
    {
        Reading r(64);
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
        r.access.SetCallbacks(callbacks);
        QCOMPARE(r.Read(0, 16), 64);
        QCOMPARE(r.status[0], ByteStatus::Valid);
        QCOMPARE(r.status[5], ByteStatus::ReadFailed);
        QCOMPARE(int(r.data[5]), 0);
    }

    void failuresOfMissingCallbacksAreReported()
    {
        Reading r(4);
        MemoryCallbacks callbacks;
        callbacks.ShowMessage = r.target.Callbacks().ShowMessage;
        for (const MemoryCallbacks &some : {callbacks, MemoryCallbacks()}) { // then nobody to tell
            r.access.SetCallbacks(some);
            QVERIFY(r.Read(0, 4) < 0);
            QVERIFY(r.access.Write(0, r.data) < 0);
            r.access.Messages().Show();
        }
        QCOMPARE(r.target.messages.join(u'|'),
            "1: Failed to read target memory|1: Failed to write target memory");
    }

    void writesAndReadsCarryZoneAndWidth()
    {
        Reading r(4);
        r.access.SetAccessWidth(2);
        r.access.SetZone(std::string(200, 'z'));
        r.Read(0x10, 4);
        QCOMPARE(r.access.Write(0x100, std::vector<std::uint8_t>{1, 2}), 2);
        const QByteArray zone(127, 'z');
        QCOMPARE(r.target.reads, (std::vector<FakeTarget::Call>{{0x10, 4, 2, zone, {}}}));
        QCOMPARE(r.target.writes, (std::vector<FakeTarget::Call>{{0x100, 2, 2, zone, "\1\2"}}));
    }
};

QTEST_GUILESS_MAIN(TargetAccessTest)
#include "tst_targetaccess.moc"
