#include "scrollmap.h"
#include "viewgeometry.h"

#include <QtTest>

class ViewGeometryTest : public QObject {
    Q_OBJECT

private slots:
    void aRowHoldsTheLargestPowerOfTwoThatFits_data();
    void aRowHoldsTheLargestPowerOfTwoThatFits();
    void columnsLeaveRoomForGapsAndAddress_data();
    void columnsLeaveRoomForGapsAndAddress();
    void aPartlyVisibleRowCounts();
    void aPageEndsWithTheAddressSpaceAndTheCache();
    void sliderPositionsReachTheWholeSpaceButTwoBytes();
};

static ViewGeometry Geometry(int chars, int bytesPerItem, int rows = 1)
{
    ViewGeometry geometry;
    geometry.SetCharacterSize(8, 16);
    geometry.SetViewSize(chars * 8, (rows - 1) * 16);
    geometry.SetBytesPerItem(bytesPerItem);
    return geometry;
}

void ViewGeometryTest::aRowHoldsTheLargestPowerOfTwoThatFits_data()
{
    QTest::addColumn<int>("widthPx");
    QTest::addColumn<int>("bytesPerItem");
    QTest::addColumn<int>("bytesPerRow");
    QTest::newRow("24 characters show nothing") << 24 * 8 + 7 << 1 << 0;
    QTest::newRow("25 characters") << 25 * 8 << 1 << 2;
    QTest::newRow("600 pixels") << 600 << 1 << 8;
    QTest::newRow("one character short of sixteen") << 77 * 8 - 1 << 1 << 8;
    QTest::newRow("exactly sixteen") << 77 * 8 << 1 << 16;
    QTest::newRow("two-byte items need less") << 69 * 8 << 2 << 16;
    QTest::newRow("two-byte items, one short") << 69 * 8 - 1 << 2 << 8;
    QTest::newRow("four-byte items need least") << 65 * 8 << 4 << 16;
    QTest::newRow("four-byte items, one short") << 65 * 8 - 1 << 4 << 8;
    QTest::newRow("only 16 bits of the width count") << 65536 + 600 << 1 << 8;
    QTest::newRow("no item size") << 600 << 0 << 0;
}

void ViewGeometryTest::aRowHoldsTheLargestPowerOfTwoThatFits()
{
    QFETCH(int, widthPx);
    QFETCH(int, bytesPerItem);
    ViewGeometry geometry;
    geometry.SetCharacterSize(8, 16);
    geometry.SetBytesPerItem(bytesPerItem);
    geometry.SetViewSize(widthPx, 100);
    QTEST(int(geometry.BytesPerRow()), "bytesPerRow");
}

void ViewGeometryTest::columnsLeaveRoomForGapsAndAddress_data()
{
    QTest::addColumn<int>("bytesPerItem");
    QTest::addColumn<int>("groupChars");
    QTest::addColumn<int>("textColumn");
    // Sixteen bytes: address 10, items with their blanks, one group gap, one separating blank.
    QTest::newRow("1 byte") << 1 << 25 << 10 + 16 * 3 + 1 + 1;
    QTest::newRow("2 bytes") << 2 << 21 << 10 + 8 * 5 + 1 + 1;
    QTest::newRow("4 bytes") << 4 << 19 << 10 + 4 * 9 + 1 + 1;
}

void ViewGeometryTest::columnsLeaveRoomForGapsAndAddress()
{
    QFETCH(int, bytesPerItem);
    const ViewGeometry geometry = Geometry(77, bytesPerItem);
    QCOMPARE(geometry.BytesPerRow(), 16U);
    QTEST(geometry.GroupChars(), "groupChars");
    QTEST(geometry.TextColumnStart(), "textColumn");
}

void ViewGeometryTest::aPartlyVisibleRowCounts()
{
    ViewGeometry geometry;
    geometry.SetCharacterSize(8, 16);
    geometry.SetViewSize(600, 47);
    QCOMPARE(geometry.VisibleRows(), 3U);
    geometry.SetViewSize(600, 48);
    QCOMPARE(geometry.VisibleRows(), 4U);
    QCOMPARE(geometry.BytesPerPage(), 32ULL);
}

void ViewGeometryTest::aPageEndsWithTheAddressSpaceAndTheCache()
{
    const ViewGeometry geometry = Geometry(77, 1, 50);
    QCOMPARE(geometry.PageAt(0xFFFF'FFF0).length, 16ULL);
    QCOMPARE(geometry.PageAt(0xFFFF'FFFF).length, 1ULL);
    QCOMPARE(geometry.PageAt(0x1'0000'0000).length, 0ULL);
    QCOMPARE(geometry.PageAt(0x7FFF'FFFF).length, 800ULL);
    QCOMPARE(geometry.LastPageBase() + 800, kAddressSpaceEnd);
    QCOMPARE(geometry.LastScrollBase() + 49 * 16, kAddressSpaceEnd);

    ViewGeometry huge;
    huge.SetCharacterSize(1, 1);
    huge.SetViewSize(0xFFFF, 0xFFFF);
    QVERIFY(huge.BytesPerPage() > kMaxCacheBytes);
    QCOMPARE(huge.PageAt(0).length, kMaxCacheBytes);
    QVERIFY(huge.LastScrollBase() < kAddressSpaceEnd);
}

void ViewGeometryTest::sliderPositionsReachTheWholeSpaceButTwoBytes()
{
    QCOMPARE(SliderOfAddress(0), -2147483647);
    QCOMPARE(SliderOfAddress(0x8000'0000), 1);
    QCOMPARE(SliderOfAddress(0xFFFF'FFFF), 2147483647);
    for (const std::uint64_t address : {0x0ULL, 0x7FFF'FFFFULL, 0x8000'0000ULL, 0xFFFF'FFFEULL})
        QCOMPARE(AddressOfSlider(SliderOfAddress(address)), address);
    QCOMPARE(AddressOfSlider(SliderMaximumForPage(800)), 0xFFFF'FFFEULL - 800);
    QCOMPARE(AddressOfSlider(INT_MIN), 0ULL);
}

QTEST_GUILESS_MAIN(ViewGeometryTest)
#include "tst_viewgeometry.moc"
