#include "corenames.h"
#include "devicefilter.h"
#include "devicefixture.h"
#include "devicerow.h"
#include "naturalorder.h"

#include <QTest>

#include <sys/mman.h>
#include <unistd.h>

class DeviceTextsTest : public QObject {
    Q_OBJECT

private slots:
    void sizesAreCountedInKilobytesOf1024AndMegabytesOf1000()
    {
        const std::pair<qint64, const char *> sizes[] = {{0, "0 KB"}, {1023, "0 KB"},
            {999 * 1024 + 1023, "999 KB"}, {1000 * 1024, "1 MB"}, {1536 * 1024, "1 MB"},
            {0xFFFFFFFF, "4194 MB"}, {-1023, "0 KB"}, {-1000 * 1024, "-1 MB"}};
        for (const auto &[bytes, text] : sizes)
            QCOMPARE(SizeText(bytes), text);
    }

    void coresAreNamedByTheExactIdAlone()
    {
        const std::pair<std::uint32_t, const char *> cores[]
            = {{0, "None"}, {0xFFFFFFFF, "Any"}, {0x0E0000FF, "Cortex-M4"}, {0x0E0000FE, "???"},
                {0x13FFFFFF, "RV32"}, {0x1500FFFF, "BT5511"}, {0x15FFFFFF, "???"}};
        for (const auto &[id, name] : cores)
            QCOMPARE(CoreName(id), name);
    }

    void patternsHonourOneAsterisk()
    {
        const std::tuple<const char *, const char *, bool> patterns[] = {{"", "anything", true},
            {"*", "", true}, {"stm32f4*", "STM32F407IG", true}, {"32f4*", "STM32F407IG", false},
            {"*IG", "stm32f407ig", true}, {"*407", "STM32F407IG", false},
            {"f40", "STM32F407IG", true}, {"f41", "STM32F407IG", false},
            // At both ends or inside, an asterisk is a letter.
            {"*abc*", "xabcx", false}, {"*abc*", "xabc*", true}, {"a*c", "abc", false},
            {"**", "abc", false}, {"abcd*", "abc", false}, {"\u00E4*", "\u00C4rger", true}};
        for (const auto &[pattern, text, matches] : patterns)
            QVERIFY2(DevicePattern(pattern).Matches(FoldForMatch(text)) == matches, pattern);
    }

    void namesSortAsAReaderWouldSortThem()
    {
        const QStringList sorted{"", "1 x", "02", "2", "10", "18446744073709551617",
            "18446744073709551618", "a", "a1b", "A2", "a10", "STM32F40", "STM32F103", "stm32f407"};
        for (int left = 0; left < sorted.size(); ++left) {
            for (int right = 0; right < sorted.size(); ++right) {
                const int order = CompareNaturally(sorted[left], sorted[right]);
                QVERIFY2((order < 0) == (left < right) && (order == 0) == (left == right),
                    qPrintable(sorted[left] + " / " + sorted[right]));
            }
        }
    }

    void offeredTextsComeOnceAndInTheColumnsOrder()
    {
        const auto records = MakeDeviceRecords();
        const auto rows = MakeDeviceRows(records.data(), static_cast<int>(records.size()));
        QCOMPARE(DistinctTexts(rows, kManufacturerColumn).join(u'|'), "Acme|NXP|Renesas|ST");
        QCOMPARE(
            DistinctTexts(rows, kFlashSizeColumn).join(u'|'), "0 KB|64 KB|512 KB|999 KB|1 MB|2 MB");
    }

    void damagedRecordsGiveBoundedTexts()
    {
        // A name that runs up to the end of its page: one byte too many read would be a fault.
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        void *pages
            = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        QVERIFY(pages != MAP_FAILED);
        QVERIFY(mprotect(static_cast<char *>(pages) + page, page, PROT_NONE) == 0);
        char *endless = static_cast<char *>(pages) + page - (kMaxDeviceNameBytes + 1);
        std::fill_n(endless, kMaxDeviceNameBytes + 1, 'x');
        endless[kMaxDeviceNameBytes - 1] = '\xC3'; // a character across the bound
        endless[kMaxDeviceNameBytes] = '\xA4';

        const auto record = MakeRecord(nullptr, endless, 1, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 7);
        const auto rows = MakeDeviceRows(&record, 1);
        QCOMPARE(rows.size(), 1U);
        QCOMPARE(rows[0].texts[kManufacturerColumn], QString());
        QCOMPARE(rows[0].texts[kDeviceColumn], QString(kMaxDeviceNameBytes - 1, u'x'));
        QCOMPARE(rows[0].texts[kNumCoresColumn], "4294967295");
        QVERIFY(!rows[0].bigEndian);
        QVERIFY(MakeDeviceRows(nullptr, 5).empty() && MakeDeviceRows(&record, -1).empty());
        munmap(pages, 2 * page);
    }
};

QTEST_GUILESS_MAIN(DeviceTextsTest)
#include "tst_devicetexts.moc"
