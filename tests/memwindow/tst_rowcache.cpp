// The page's bytes and the ages of their changes, which scroll together.

#include "randomseed.h"
#include "rowcache.h"

#include <set>

namespace {

constexpr auto V = ByteStatus::Valid;
constexpr std::uint64_t kSpace = 2000; // bytes that the page moves over
using Bytes = std::vector<std::uint8_t>;
using Statuses = std::vector<ByteStatus>;
using Rows = std::set<std::uint64_t>;

struct Pieces {
    Bytes data = Bytes(4096, 0xEE);
    Statuses status = Statuses(4096, V);
    RowCache cache{data, status};
    ChangeAges ages;
    DirtyRows rows;

    void MoveTo(PageRange page)
    {
        cache.MoveTo(page);
        ages.MoveTo(page, true);
        rows.Reset(256);
    }
    Rows TakeMarked()
    {
        Rows marked;
        for (std::uint32_t row = 0; row < 256; ++row) {
            if (rows.IsMarked(row))
                marked.insert(row);
        }
        rows.Reset(256);
        return marked;
    }
};

} // namespace

class RowCacheTest : public QObject {
    Q_OBJECT

private slots:
    void randomScrollsAndReadsAgreeWithANaiveModel()
    {
        auto generator = SeededGenerator();
        for (int round = 0; round < 30; ++round) {
            const std::uint64_t top = round % 2 == 1 ? kAddressSpaceEnd - kSpace : 0;
            Pieces p;
            Bytes data(kSpace, 0); // what is known, nothing outside the page
            Statuses status(kSpace, ByteStatus::NotLoaded);
            std::vector<int> ages(kSpace, 0); // of changes, wherever the page is
            for (int step = 0; step < 100; ++step) {
                const std::uint64_t first = Pick(generator, std::uint64_t{0}, std::uint64_t{1000});
                const std::uint64_t length = Pick(generator, std::uint64_t{0}, std::uint64_t{900});
                p.MoveTo({top + first, length});
                const auto isOnPage
                    = [&](std::uint64_t i) { return i >= first && i - first < length; };
                std::uint64_t missing = 0; // from the first to the last that is not known
                std::uint64_t missingEnd = 0;
                for (std::uint64_t i = 0; i < kSpace; ++i) {
                    if (!isOnPage(i)) {
                        data[i] = 0;
                        status[i] = ByteStatus::NotLoaded;
                    } else if (status[i] == ByteStatus::NotLoaded) {
                        missing = missingEnd == 0 ? i : missing;
                        missingEnd = i + 1;
                    }
                }
                QCOMPARE(p.cache.MissingRange().length, missingEnd - missing);
                QVERIFY(missingEnd == 0 || p.cache.MissingRange().base == top + missing);

                const std::uint64_t from = Pick(generator, std::uint64_t{0}, length);
                Bytes read(Pick(generator, std::uint64_t{0}, length - from));
                Statuses readStatus(read.size());
                Rows changed;
                for (std::uint64_t i = 0; i < read.size(); ++i) {
                    const std::uint64_t at = first + from + i;
                    read[i] = std::uint8_t(Pick(generator, 0, 3));
                    readStatus[i] = Pick(generator, 0, 3) == 0 ? ByteStatus::ReadFailed : V;
                    if (read[i] != data[at] && readStatus[i] == V && status[at] == V)
                        ages[at] = 1; // appearing and vanishing are no changes
                    if (read[i] != data[at] || readStatus[i] != status[at])
                        changed.insert((from + i) / 16);
                    data[at] = read[i];
                    status[at] = readStatus[i];
                }
                for (const Rows &rows :
                    {changed, Rows()}) { // the second time nothing looks different
                    p.cache.Store(top + first + from, read, readStatus, 16, p.ages, p.rows);
                    QVERIFY(p.TakeMarked() == rows);
                }
                if (Pick(generator, 0, 2) == 0) {
                    p.ages.Age();
                    Rows aged;
                    for (std::uint64_t i = 0; i < kSpace; ++i) {
                        ages[i] = ages[i] == 0 || ages[i] == ChangeAges::kLastAge ? 0 : ages[i] + 1;
                        if (ages[i] != 0 && isOnPage(i))
                            aged.insert((i - first) / 16);
                    }
                    p.ages.MarkAgedRows(16, p.rows);
                    QVERIFY(p.TakeMarked() == aged);
                }
                Bytes shown(kSpace, 0xAA);
                Statuses shownStatus(kSpace, V);
                QCOMPARE(p.cache.ReadCached(top, shown, shownStatus), kOutsideCache);
                QVERIFY(shown == data && shownStatus == status);
                QVERIFY(length == 0
                    || p.cache.ReadCached(top + first, std::span(shown).first(length),
                           std::span(shownStatus).first(length))
                        == kInCache);
                const bool hasTwo = length >= 2; // bytes, so an item of them
                for (const bool big : {false, true}) {
                    const int item = data[first + !big] * 0x100 + data[first + big];
                    QCOMPARE(p.cache.ItemValue(top + first, 2, big), hasTwo ? item : -1);
                }
                for (std::uint64_t i = 0; i < kSpace; ++i)
                    QVERIFY(int(p.ages.AgeOf(top + i)) == (isOnPage(i) ? ages[i] : 0));
            }
        }
    }
};

QTEST_GUILESS_MAIN(RowCacheTest)
#include "tst_rowcache.moc"
