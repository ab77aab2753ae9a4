// The device list without its dialog: texts of records, their order, and what filters keep.

#include "cdevicedatamodel.h"
#include "cdevicedataproxymodel.h"
#include "corenames.h"
#include "devicefixture.h"
#include "naturalorder.h"
#include "randomseed.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

#include <sys/mman.h>
#include <unistd.h>

namespace {

/// What the rules say, worked out the slow way.
bool IsAccepted(const QAbstractItemModel &model, int row, const QStringList &patterns)
{
    for (int column = 0; column < kDeviceColumns; ++column) {
        const QString text = model.index(row, column).data().toString();
        const QString &pattern = patterns[column];
        const bool matches = pattern.startsWith('*')
            ? text.endsWith(pattern.mid(1), Qt::CaseInsensitive)
            : pattern.endsWith('*') ? text.startsWith(pattern.chopped(1), Qt::CaseInsensitive)
                                    : text.contains(pattern, Qt::CaseInsensitive);
        if (!matches)
            return false;
    }
    return true;
}

} // namespace

class DevicesTest : public QObject {
    Q_OBJECT

private slots:
    void sizesAndCoresAreTold()
    {
        const QStringList sizes{SizeText(1023), SizeText(999 * 1024 + 1023), SizeText(1000 * 1024),
            SizeText(0xFFFFFFFF), SizeText(-1000 * 1024)};
        QCOMPARE(sizes.join(", "), "0 KB, 999 KB, 1 MB, 4194 MB, -1 MB");
        const QStringList cores{CoreName(0), CoreName(0xFFFFFFFF), CoreName(0x0E0000FF),
            CoreName(0x1500FFFF), CoreName(0x15FFFFFF)}; // exact ids alone
        QCOMPARE(cores.join(", "), "None, Any, Cortex-M4, BT5511, ???");
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

    void damagedRecordsGiveBoundedTexts()
    {
        // A name that runs up to the end of its page: one byte too many read would be a fault.
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        auto *const pages = static_cast<char *>(
            mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        QCOMPARE(mprotect(pages + page, page, PROT_NONE), 0);
        char *const endless = pages + page - (kMaxDeviceNameBytes + 1);
        std::fill_n(endless, kMaxDeviceNameBytes - 1, 'x');
        std::copy_n("\xC3\xA4", 2, endless + kMaxDeviceNameBytes - 1); // across the bound
        const auto record = MakeRecord(nullptr, endless, 1, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 7);
        const auto rows = MakeDeviceRows(&record, 1);
        QCOMPARE(rows[0].texts[kManufacturerColumn], QString());
        QCOMPARE(rows[0].texts[kDeviceColumn], QString(kMaxDeviceNameBytes - 1, u'x'));
        QCOMPARE(rows[0].texts[kNumCoresColumn], "4294967295");
        QVERIFY(!rows[0].bigEndian);
        QVERIFY(MakeDeviceRows(nullptr, 5).empty() && MakeDeviceRows(&record, -1).empty());
        munmap(pages, 2 * page);
    }

    void randomFiltersAndOrdersAgreeWithTheSlowWay()
    {
        auto random = SeededGenerator();
        std::vector<QByteArray> names;
        for (int row = 0; row < 300; ++row)
            names.push_back(
                QByteArrayList{"D", "\u00C4"}[Pick(random, 0, 1)] // folded as any letter
                + QByteArray::number(Pick(random, 0, 200)) + "*x"[row % 3]);
        std::vector<RanvoDeviceInfo> records;
        for (const QByteArray &name : names)
            records.push_back(
                MakeRecord("m", name.constData(), 0x010000FF, std::uint32_t(Pick(random, 0, 2)),
                    std::uint32_t(Pick(random, 0, 4)) << 18, std::uint32_t(random())));
        CDeviceDataModel model;
        CDeviceDataProxyModel proxy;
        proxy.setSourceModel(&model);
        const QAbstractItemModelTester tester(
            &proxy, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.SetDevices(MakeDeviceRows(records.data(), int(records.size())));
        const QPersistentModelIndex filterCell = proxy.index(kFilterRow, kDeviceColumn);
        QSignalSpy removals(&proxy, &QAbstractItemModel::rowsRemoved);
        QSignalSpy resets(&proxy, &QAbstractItemModel::modelReset);

        const QStringList patterns{"*", "1", "d1*", "\u00E41*", "*1", "*x", "*1*", "MB", "**"};
        for (int round = 0; round < 60; ++round) {
            QStringList filters(kDeviceColumns, "*");
            for (int changes = 0; changes < 2; ++changes)
                filters[Pick(random, 0, kDeviceColumns - 1)]
                    = patterns[Pick(random, 0, int(patterns.size()) - 1)];
            const QPersistentModelIndex held = proxy.index(proxy.rowCount() / 2, kDeviceColumn);
            const int heldRow = proxy.mapToSource(held).row();
            for (int column = 0; column < kDeviceColumns; ++column)
                model.setData(model.index(kFilterRow, column), filters[column]);
            const int sorted = Pick(random, -1, kDeviceColumns - 1);
            proxy.sort(sorted);
            CompareWithTheSlowWay(model, proxy, filters, sorted);
            // Nothing is taken down: what is held stays, or goes with its row.
            QVERIFY(removals.isEmpty() && resets.isEmpty() && filterCell.row() == kFilterRow);
            QCOMPARE(held.isValid(), IsAccepted(model, heldRow, filters) || heldRow == kFilterRow);
            QVERIFY(!held.isValid() || proxy.mapToSource(held).row() == heldRow);
        }
    }

private:
    static void CompareWithTheSlowWay(const CDeviceDataModel &model,
        const CDeviceDataProxyModel &proxy, const QStringList &filters, int sortColumn)
    {
        int accepted = 0;
        for (int row = 1; row < model.rowCount(); ++row) {
            const QModelIndex shown = proxy.mapFromSource(model.index(row, 0));
            QCOMPARE(shown.isValid(), IsAccepted(model, row, filters));
            accepted += shown.isValid() ? 1 : 0;
        }
        QCOMPARE(proxy.rowCount(), accepted + 1);
        for (int row = 2; row < proxy.rowCount(); ++row) {
            const int above = proxy.mapToSource(proxy.index(row - 1, 0)).row();
            const int source = proxy.mapToSource(proxy.index(row, 0)).row();
            const int order = sortColumn < 0
                ? 0
                : CompareDevices(model.Device(above), model.Device(source), sortColumn);
            QVERIFY(order < 0 || (order == 0 && above < source));
        }
    }
};

QTEST_MAIN(DevicesTest)
#include "tst_devices.moc"
