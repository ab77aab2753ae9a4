// The page's bytes and the ages of their changes, which scroll together.

#include "randomseed.h"
#include "rowcache.h"

#include <QtTest>

#include <map>

namespace {

constexpr auto V = ByteStatus::Valid;
constexpr auto F = ByteStatus::ReadFailed;
using Bytes = std::vector<std::uint8_t>;
using Statuses = std::vector<ByteStatus>;

struct Fixture {
    Bytes data = Bytes(4096, 0xEE);
    Statuses status = Statuses(4096, V);
    RowCache cache{data, status};
    ChangeAges ages;
    DirtyRows rows;

    void MoveTo(PageRange page)
    {
        cache.MoveTo(page);
        ages.MoveTo(page, true);
    }
    void Store(std::uint64_t address, const Bytes &bytes, const Statuses &statuses)
    {
        rows.Reset(256);
        cache.Store(address, bytes, statuses, 16, ages, rows);
    }
    /// The rows that are marked, "1 2".
    QString Rows() const
    {
        QStringList marked;
        for (std::uint32_t row = 0; row < 256; ++row) {
            if (rows.IsMarked(row))
                marked << QString::number(row);
        }
        return marked.join(u' ');
    }
};

/// What is known of a byte, kept the slow way.
struct Known {
    std::uint8_t byte = 0;
    ByteStatus status = ByteStatus::NotLoaded;
};

} // namespace

class RowCacheTest : public QObject {
    Q_OBJECT

private slots:
    void randomScrollsAndReadsAgreeWithANaiveModel()
    {
        auto generator = SeededGenerator();
        for (int round = 0; round < 60; ++round) {
            const std::uint64_t top = round % 2 ? kAddressSpaceEnd - 2000 : 0;
            Fixture f;
            std::map<std::uint64_t, Known> known; // on the page alone
            std::map<std::uint64_t, int> ages;    // wherever the page is
            for (int step = 0; step < 80; ++step) {
                const PageRange page{top + Pick(generator, std::uint64_t{0}, std::uint64_t{1000}),
                    Pick(generator, std::uint64_t{0}, std::uint64_t{900})};
                f.MoveTo(page);
                std::erase_if(
                    known, [&](const auto &entry) { return !page.Contains(entry.first); });
                CheckMissing(f.cache.MissingRange(), page, known);

                if (page.length > 0 && Pick(generator, 0, 3) > 0) {
                    const auto first = Pick(generator, std::uint64_t{0}, page.length - 1);
                    const auto count = Pick(generator, std::uint64_t{1}, page.length - first);
                    Bytes data(count);
                    Statuses status(count);
                    for (std::uint64_t i = 0; i < count; ++i) {
                        data[i] = std::uint8_t(Pick(generator, 0, 3));
                        status[i] = Pick(generator, 0, 3) == 0 ? F : V;
                        Known &byte = known[page.base + first + i];
                        // Appearing and vanishing are no changes.
                        if (byte.status == V && status[i] == V && byte.byte != data[i])
                            ages[page.base + first + i] = 1;
                        byte = {data[i], status[i]};
                    }
                    f.Store(page.base + first, data, status);
                }
                if (Pick(generator, 0, 2) == 0) {
                    f.ages.Age();
                    for (auto &[address, age] : ages)
                        ++age;
                }
                for (std::uint64_t address = top; address < top + 2000; ++address) {
                    const auto age = ages.find(address);
                    const bool isAged
                        = page.Contains(address) && age != ages.end() && age->second <= 4;
                    QCOMPARE(int(f.ages.AgeOf(address)), isAged ? age->second : 0);
                }
                CheckReading(f.cache, page, known, std::uint64_t(Pick(generator, 0, 1200)));
            }
        }
    }

    void onlyRowsThatLookDifferentAreMarked()
    {
        Fixture f;
        f.MoveTo({0x100, 64});
        f.Store(0x100, Bytes(64, 7), Statuses(64, V));
        QCOMPARE(f.Rows(), "0 1 2 3");
        f.Store(0x100, Bytes(64, 7), Statuses(64, V));
        QCOMPARE(f.Rows(), "");
        f.Store(0x11F, {8}, {V});
        QCOMPARE(f.Rows(), "1");
        for (const char *expected : {"1", "1", "1", "1", ""}) { // three shades, then plain again
            f.rows.Reset(256);
            f.ages.MarkAgedRows(16, f.rows);
            QCOMPARE(f.Rows(), expected);
            f.ages.Age();
        }
        f.Store(0x11F, {0, 0}, {F, F});
        QCOMPARE(f.Rows(), "1 2");
        f.Store(0x11F, {0, 0}, {F, F});
        QCOMPARE(f.Rows(), "");
    }

    void itemsFollowTheByteOrder()
    {
        Fixture f;
        f.MoveTo({0x100, 8});
        f.Store(0x100, {0x34, 0x12, 0xFE, 0xFF, 1, 2, 3, 4}, Statuses(8, V));
        QCOMPARE(f.cache.ItemValue(0x100, 2, true), 0x3412);
        QCOMPARE(f.cache.ItemValue(0x100, 4, false), 0xFFFE1234LL);
        QCOMPARE(f.cache.ItemValue(0x105, 4, false), -1LL);
        QCOMPARE(f.cache.ItemValue(0xFF, 1, false), -1LL);
    }

private:
    static void CheckMissing(
        PageRange missing, PageRange page, const std::map<std::uint64_t, Known> &known)
    {
        for (std::uint64_t i = 0; i < page.length; ++i)
            QVERIFY(known.contains(page.base + i) || missing.Contains(page.base + i));
        QVERIFY(missing.length == 0 || !known.contains(missing.base));
        QVERIFY(missing.length == 0 || !known.contains(missing.End() - 1));
    }

    static void CheckReading(const RowCache &cache, PageRange page,
        const std::map<std::uint64_t, Known> &known, std::uint64_t length)
    {
        const std::uint64_t address = page.base - std::min<std::uint64_t>(page.base, 100);
        Bytes data(length, 0xAA);
        Statuses status(length, V);
        const bool isInside = page.Contains(address) && page.Contains(address + length - 1);
        const int result = cache.ReadCached(address, data, status);
        QVERIFY(length == 0 || result == (isInside ? kInCache : kOutsideCache));
        for (std::uint64_t i = 0; i < length; ++i) {
            const auto entry = known.find(address + i);
            const Known expected = entry == known.end() ? Known() : entry->second;
            QCOMPARE(data[i], expected.byte);
            QCOMPARE(status[i], expected.status);
        }
    }
};

QTEST_GUILESS_MAIN(RowCacheTest)
#include "tst_rowcache.moc"
