#include "scrollmap.h"
#include "viewgeometry.h"

#include <QtTest>

class ViewGeometryTest : public QObject {
    Q_OBJECT

private slots:
    void aRowHoldsTheLargestPowerOfTwoThatFits_data()
    {
        QTest::addColumn<int>("widthPx");
        QTest::addColumn<int>("bytesPerItem");
        QTest::addColumn<int>("bytesPerRow");
        QTest::addColumn<int>("textColumn");
        QTest::newRow("24 characters show nothing") << 24 * 8 + 7 << 1 << 0 << 11;
        QTest::newRow("25 characters") << 25 * 8 << 1 << 2 << 17;
        QTest::newRow("one character short of sixteen") << 77 * 8 - 1 << 1 << 8 << 35;
        // Sixteen bytes: address 10, items with their blanks, one group gap, one separating blank.
        QTest::newRow("exactly sixteen") << 77 * 8 << 1 << 16 << 10 + 16 * 3 + 1 + 1;
        QTest::newRow("two-byte items need less") << 69 * 8 << 2 << 16 << 10 + 8 * 5 + 1 + 1;
        QTest::newRow("two-byte items, one short") << 69 * 8 - 1 << 2 << 8 << 31;
        QTest::newRow("four-byte items need least") << 65 * 8 << 4 << 16 << 10 + 4 * 9 + 1 + 1;
        QTest::newRow("four-byte items, one short") << 65 * 8 - 1 << 4 << 8 << 29;
        QTest::newRow("only 16 bits of the width count") << 65536 + 600 << 1 << 8 << 35;
        QTest::newRow("no item size") << 600 << 0 << 0 << 0;
    }

    void aRowHoldsTheLargestPowerOfTwoThatFits()
    {
        QFETCH(int, widthPx);
        QFETCH(int, bytesPerItem);
        QFETCH(int, bytesPerRow);
        const ViewGeometry geometry = Geometry(widthPx, 100, bytesPerItem);
        QCOMPARE(int(geometry.BytesPerRow()), bytesPerRow);
        QTEST(geometry.TextColumnStart(), "textColumn");
    }

    void aPageEndsWithTheAddressSpaceAndTheCache()
    {
        QCOMPARE(Geometry(600, 47, 1).VisibleRows(), 3U);
        QCOMPARE(Geometry(600, 48, 1).VisibleRows(), 4U); // a partly visible row counts
        const ViewGeometry geometry = Geometry(77 * 8, 49 * 16, 1);
        const std::pair<std::uint64_t, std::uint64_t> pages[]
            = {{0x7FFF'FFFF, 800}, {0xFFFF'FFF0, 16}, {0xFFFF'FFFF, 1}, {0x1'0000'0000, 0}};
        for (const auto &[base, length] : pages)
            QCOMPARE(geometry.PageAt(base).length, length);
        QCOMPARE(geometry.LastPageBase() + 800, kAddressSpaceEnd);
        QCOMPARE(geometry.LastScrollBase() + 49 * 16, kAddressSpaceEnd);

        ViewGeometry huge;
        huge.SetCharacterSize(1, 1);
        huge.SetViewSize(0xFFFF, 0xFFFF);
        QVERIFY(huge.BytesPerPage() > kMaxCacheBytes);
        QCOMPARE(huge.PageAt(0).length, kMaxCacheBytes);
        QVERIFY(huge.LastScrollBase() < kAddressSpaceEnd);
    }

    void sliderPositionsReachTheWholeSpaceButTwoBytes()
    {
        QCOMPARE(SliderOfAddress(0x8000'0000), 1);
        QCOMPARE(SliderOfAddress(0xFFFF'FFFF), 2147483647);
        for (const std::uint64_t address : {0x0ULL, 0x7FFF'FFFFULL, 0x8000'0000ULL, 0xFFFF'FFFEULL})
            QCOMPARE(AddressOfSlider(SliderOfAddress(address)), address);
        QCOMPARE(AddressOfSlider(SliderMaximumForPage(800)), 0xFFFF'FFFEULL - 800);
        QCOMPARE(AddressOfSlider(INT_MIN), 0ULL);
    }

private:
    static ViewGeometry Geometry(int widthPx, int heightPx, int bytesPerItem)
    {
        ViewGeometry geometry;
        geometry.SetCharacterSize(8, 16);
        geometry.SetBytesPerItem(bytesPerItem);
        geometry.SetViewSize(widthPx, heightPx);
        return geometry;
    }
};

QTEST_GUILESS_MAIN(ViewGeometryTest)
#include "tst_viewgeometry.moc"
