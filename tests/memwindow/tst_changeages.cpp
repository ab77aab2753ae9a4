#include "changeages.h"
#include "randomseed.h"

#include <QtTest>

#include <map>

class ChangeAgesTest : public QObject {
    Q_OBJECT

private slots:
    void aChangeFadesAndItsRowIsPaintedOnceMoreAtTheEnd();
    void anyScrollingKeepsTheAgesOfAPlainMap();
};

void ChangeAgesTest::aChangeFadesAndItsRowIsPaintedOnceMoreAtTheEnd()
{
    ChangeAges ages;
    ages.MoveTo({0x100, 64});
    ages.SetChanged(0x111);
    for (const int expected : {2, 3, 4}) {
        ages.Age();
        QCOMPARE(int(ages.AgeOf(0x111)), expected);
        DirtyRows rows;
        rows.Reset(4);
        ages.MarkAgedRows(16, rows);
        QVERIFY(!rows.IsMarked(0) && rows.IsMarked(1) && !rows.IsMarked(2));
    }
    ages.Age();
    DirtyRows rows;
    rows.Reset(4);
    ages.MarkAgedRows(16, rows);
    QVERIFY(!rows.Any());
}

void ChangeAgesTest::anyScrollingKeepsTheAgesOfAPlainMap()
{
    auto generator = SeededGenerator();
    for (int round = 0; round < 50; ++round) {
        ChangeAges ages;
        std::map<std::uint64_t, int> model;
        PageRange page{Pick(generator, std::uint64_t{0}, std::uint64_t{500}),
            Pick(generator, std::uint64_t{0}, std::uint64_t{300})};
        ages.MoveTo(page);
        for (int step = 0; step < 200; ++step) {
            const int action = Pick(generator, 0, 9);
            if (action < 5 && page.length > 0) {
                const std::uint64_t address
                    = page.base + Pick(generator, std::uint64_t{0}, page.length - 1);
                ages.SetChanged(address);
                model[address] = 1;
            } else if (action < 8) {
                page = {Pick(generator, std::uint64_t{0}, std::uint64_t{500}),
                    Pick(generator, std::uint64_t{0}, std::uint64_t{300})};
                ages.MoveTo(page);
            } else if (action == 8) {
                ages.Age();
                for (auto &[address, age] : model)
                    ++age;
            } else if (step % 37 == 0) {
                ages.Clear();
                model.clear();
            }
            for (std::uint64_t address = 0; address < 900; ++address) {
                const auto entry = model.find(address);
                const int age = entry == model.end() || entry->second > 4 ? 0 : entry->second;
                QCOMPARE(int(ages.AgeOf(address)), page.Contains(address) ? age : 0);
            }
        }
    }
}

QTEST_GUILESS_MAIN(ChangeAgesTest)
#include "tst_changeages.moc"
