#include "randomseed.h"
#include "rowcache.h"

#include <QtTest>

#include <map>

class RowCacheTest : public QObject {
    Q_OBJECT

private slots:
    void randomScrollsAndReadsAgreeWithANaiveModel();
    void onlyRowsThatLookDifferentAreMarked();
    void onlyBytesKnownBeforeCountAsChanged();
    void itemsFollowTheByteOrder();
    void withoutMemoryItStaysEmpty();
};

namespace {

struct Storage {
    std::vector<std::uint8_t> data = std::vector<std::uint8_t>(4096, 0xEE);
    std::vector<ByteStatus> status = std::vector<ByteStatus>(4096, ByteStatus::Valid);
};

struct Fixture {
    Storage storage;
    RowCache cache{storage.data, storage.status};
    ChangeAges ages;
    DirtyRows rows;

    void MoveTo(PageRange page)
    {
        cache.MoveTo(page);
        ages.MoveTo(page);
    }
    void Store(
        std::uint64_t address, std::vector<std::uint8_t> data, std::vector<ByteStatus> status)
    {
        rows.Reset(256);
        cache.Store(address, data, status, 16, ages, rows);
    }
};

constexpr auto V = ByteStatus::Valid;
constexpr auto F = ByteStatus::ReadFailed;

} // namespace

void RowCacheTest::randomScrollsAndReadsAgreeWithANaiveModel()
{
    auto generator = SeededGenerator();
    for (int round = 0; round < 60; ++round) {
        Fixture f;
        std::map<std::uint64_t, std::pair<std::uint8_t, ByteStatus>> model;
        for (int step = 0; step < 80; ++step) {
            const std::uint64_t top = round % 2 ? kAddressSpaceEnd - 2000 : 0;
            const PageRange page{top + Pick(generator, std::uint64_t{0}, std::uint64_t{1000}),
                Pick(generator, std::uint64_t{0}, std::uint64_t{900})};
            f.MoveTo(page);
            std::erase_if(model, [&](const auto &entry) { return !page.Contains(entry.first); });

            const PageRange missing = f.cache.MissingRange();
            for (std::uint64_t i = 0; i < page.length; ++i) {
                if (!model.contains(page.base + i))
                    QVERIFY(missing.Contains(page.base + i));
            }
            QVERIFY(missing.length == 0 || !model.contains(missing.base));
            QVERIFY(missing.length == 0 || !model.contains(missing.End() - 1));

            if (page.length > 0 && Pick(generator, 0, 3) > 0) {
                const auto first = Pick(generator, std::uint64_t{0}, page.length - 1);
                const auto count = Pick(generator, std::uint64_t{1}, page.length - first);
                std::vector<std::uint8_t> data(count);
                std::vector<ByteStatus> status(count);
                for (std::uint64_t i = 0; i < count; ++i) {
                    data[i] = std::uint8_t(Pick(generator, 0, 255));
                    status[i] = Pick(generator, 0, 3) == 0 ? F : V;
                    model[page.base + first + i] = {data[i], status[i]};
                }
                f.Store(page.base + first, data, status);
            }
            const auto length = std::uint64_t(Pick(generator, 0, 1200));
            const std::uint64_t address = page.base - std::min<std::uint64_t>(page.base, 100);
            std::vector<std::uint8_t> data(length, 0xAA);
            std::vector<ByteStatus> status(length, V);
            const bool inside
                = length == 0 || (page.Contains(address) && page.Contains(address + length - 1));
            const int result = f.cache.ReadCached(address, data, status);
            if (length > 0)
                QCOMPARE(result, inside ? kInCache : kOutsideCache);
            for (std::uint64_t i = 0; i < length; ++i) {
                const auto entry = model.find(address + i);
                QCOMPARE(int(data[i]), entry == model.end() ? 0 : int(entry->second.first));
                QCOMPARE(
                    status[i], entry == model.end() ? ByteStatus::NotLoaded : entry->second.second);
            }
        }
    }
}

void RowCacheTest::onlyRowsThatLookDifferentAreMarked()
{
    Fixture f;
    f.MoveTo({0x100, 64});
    f.Store(0x100, std::vector<std::uint8_t>(64, 7), std::vector(64, V));
    QVERIFY(f.rows.IsMarked(0) && f.rows.IsMarked(3));
    f.Store(0x100, std::vector<std::uint8_t>(64, 7), std::vector(64, V));
    QVERIFY(!f.rows.Any());
    f.Store(0x11F, {8}, {V});
    QVERIFY(!f.rows.IsMarked(0) && f.rows.IsMarked(1) && !f.rows.IsMarked(2));
    f.Store(0x11F, {0, 0}, {F, F});
    QVERIFY(!f.rows.IsMarked(0) && f.rows.IsMarked(1) && f.rows.IsMarked(2));
    f.Store(0x11F, {0, 0}, {F, F});
    QVERIFY(!f.rows.Any());
}

void RowCacheTest::onlyBytesKnownBeforeCountAsChanged()
{
    Fixture f;
    f.MoveTo({0x100, 16});
    f.Store(0x100, {1, 2, 3, 4}, {V, V, F, V}); // first sight
    f.Store(0x100, {1, 9, 5, 0}, {V, V, V, F}); // known and different; appeared; vanished
    for (const auto &[address, age] :
        std::map<int, int>{{0x100, 0}, {0x101, 1}, {0x102, 0}, {0x103, 0}})
        QCOMPARE(int(f.ages.AgeOf(std::uint64_t(address))), age);
}

void RowCacheTest::itemsFollowTheByteOrder()
{
    Fixture f;
    f.MoveTo({0x100, 8});
    f.Store(0x100, {0x34, 0x12, 0xFE, 0xFF, 1, 2, 3, 4}, std::vector(8, V));
    QCOMPARE(f.cache.ItemValue(0x100, 2, false), 0x1234);
    QCOMPARE(f.cache.ItemValue(0x100, 2, true), 0x3412);
    QCOMPARE(f.cache.ItemValue(0x100, 4, false), 0xFFFE1234LL);
    QCOMPARE(f.cache.ItemValue(0x102, 1, false), 0xFE);
    QCOMPARE(f.cache.ItemValue(0x105, 4, false), -1LL);
    QCOMPARE(f.cache.ItemValue(0xFF, 1, false), -1LL);
}

void RowCacheTest::withoutMemoryItStaysEmpty()
{
    RowCache cache({}, {});
    cache.MoveTo({0x100, 64});
    QVERIFY(cache.IsEmpty());
    QCOMPARE(cache.MissingRange().length, 0ULL);
}

QTEST_GUILESS_MAIN(RowCacheTest)
#include "tst_rowcache.moc"
