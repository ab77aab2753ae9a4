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
    void sizesAreCountedInKilobytesOf1024AndMegabytesOf1000_data()
    {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("nothing") << 0LL << "0 KB";
        QTest::newRow("below one KB") << 1023LL << "0 KB";
        QTest::newRow("last in KB") << 999LL * 1024 + 1023 << "999 KB";
        QTest::newRow("first in MB") << 1000LL * 1024 << "1 MB";
        QTest::newRow("1536 KB") << 1536LL * 1024 << "1 MB";
        QTest::newRow("largest") << 0xFFFFFFFFLL << "4194 MB";
        QTest::newRow("negative, toward zero") << -1023LL << "0 KB";
        QTest::newRow("negative MB") << -1000LL * 1024 << "-1 MB";
    }

    void sizesAreCountedInKilobytesOf1024AndMegabytesOf1000()
    {
        QFETCH(qint64, bytes);
        QTEST(SizeText(bytes), "text");
    }

    void coresAreNamedByTheExactIdAlone()
    {
        QCOMPARE(CoreName(0), "None");
        QCOMPARE(CoreName(0xFFFFFFFF), "Any");
        QCOMPARE(CoreName(0x0E0000FF), "Cortex-M4");
        QCOMPARE(CoreName(0x0E0000FE), "???");
        QCOMPARE(CoreName(0x13FFFFFF), "RV32");
        QCOMPARE(CoreName(0x1500FFFF), "BT5511");
        QCOMPARE(CoreName(0x15FFFFFF), "???");
    }

    void patternsHonourOneAsterisk_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("matches");
        QTest::newRow("empty passes all") << ""
                                          << "anything" << true;
        QTest::newRow("asterisk passes the empty text") << "*"
                                                        << "" << true;
        QTest::newRow("beginning, other case") << "stm32f4*"
                                               << "STM32F407IG" << true;
        QTest::newRow("not at the beginning") << "32f4*"
                                              << "STM32F407IG" << false;
        QTest::newRow("end, other case") << "*IG"
                                         << "stm32f407ig" << true;
        QTest::newRow("not at the end") << "*407"
                                        << "STM32F407IG" << false;
        QTest::newRow("anywhere") << "f40"
                                  << "STM32F407IG" << true;
        QTest::newRow("nowhere") << "f41"
                                 << "STM32F407IG" << false;
        QTest::newRow("both ends: the last one is a letter") << "*abc*"
                                                             << "xabcx" << false;
        QTest::newRow("both ends: found as a letter") << "*abc*"
                                                      << "xabc*" << true;
        QTest::newRow("in the middle: a letter") << "a*c"
                                                 << "abc" << false;
        QTest::newRow("two asterisks") << "**"
                                       << "abc" << false;
        QTest::newRow("longer than the text") << "abcd*"
                                              << "abc" << false;
        QTest::newRow("beyond ASCII") << QStringLiteral("ä*") << QStringLiteral("Ärger") << true;
    }

    void patternsHonourOneAsterisk()
    {
        QFETCH(QString, pattern);
        QFETCH(QString, text);
        QTEST(DevicePattern(pattern).Matches(FoldForMatch(text)), "matches");
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
        QCOMPARE(DistinctTexts(rows, kManufacturerColumn),
            QStringList({"Acme", "NXP", "Renesas", "ST"}));
        QCOMPARE(DistinctTexts(rows, kNumCoresColumn), QStringList({"0", "1", "2", "3"}));
        QCOMPARE(DistinctTexts(rows, kFlashSizeColumn),
            QStringList({"0 KB", "64 KB", "512 KB", "999 KB", "1 MB", "2 MB"}));
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

        const std::vector<RanvoDeviceInfo> records{
            MakeRecord(nullptr, endless, 1, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 7)};
        const auto rows = MakeDeviceRows(records.data(), 1);
        QCOMPARE(rows.size(), 1U);
        QCOMPARE(rows[0].texts[kManufacturerColumn], QString());
        QCOMPARE(rows[0].texts[kDeviceColumn], QString(kMaxDeviceNameBytes - 1, u'x'));
        QCOMPARE(rows[0].texts[kNumCoresColumn], "4294967295");
        QVERIFY(!rows[0].bigEndian);
        QVERIFY(MakeDeviceRows(nullptr, 5).empty());
        QVERIFY(MakeDeviceRows(records.data(), -1).empty());
        munmap(pages, 2 * page);
    }
};

QTEST_GUILESS_MAIN(DeviceTextsTest)
#include "tst_devicetexts.moc"
