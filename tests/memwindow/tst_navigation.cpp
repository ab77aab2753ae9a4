#include "navigation.h"
#include "randomseed.h"

#include <QtTest>

class NavigationTest : public QObject {
    Q_OBJECT

private slots:
    void upAndDownScrollAtTheEdgesInsteadOfMoving();
    void rightVisitsTheDigitsInScreenOrder_data();
    void rightVisitsTheDigitsInScreenOrder();
    void theLastRowOfTheSpaceCanBeReached();
    void pageKeysMovePageAndCursorTogether();
    void homeAndEndGoToTheRowsOuterDigits();
    void scrollingStopsAtBothEndsOfTheSpace();
    void noKeyLeavesTheAddressSpace();
};

// Ten rows of sixteen bytes, the last one partly visible.
static ViewGeometry Geometry(int bytesPerItem = 1)
{
    ViewGeometry geometry;
    geometry.SetCharacterSize(8, 16);
    geometry.SetViewSize(640, 9 * 16 + 5);
    geometry.SetBytesPerItem(bytesPerItem);
    return geometry;
}

static Navigation At(const ViewGeometry &geometry, std::uint64_t base, bool bigEndian = false)
{
    return {geometry, geometry.PageAt(base), bigEndian};
}

void NavigationTest::upAndDownScrollAtTheEdgesInsteadOfMoving()
{
    const ViewGeometry geometry = Geometry();
    const Navigation keys = At(geometry, 0x1000);
    const CursorMove atTop = keys.Up({0x1005, 1, false});
    QCOMPARE(atTop.scrollRows, 1);
    QCOMPARE(atTop.cursor, (EditCursor{0x1005, 1, false}));
    QCOMPARE(keys.Up({0x1015, 1, false}).cursor.address, 0x1005ULL);
    const CursorMove atBottom = keys.Down({0x1080, 0, false}); // row 8, the last whole one
    QCOMPARE(atBottom.scrollRows, -1);
    QCOMPARE(atBottom.cursor.address, 0x1080ULL);
    QCOMPARE(keys.Down({0x1070, 0, false}).cursor.address, 0x1080ULL);
    QCOMPARE(At(geometry, 0).Up({3, 0, false}).cursor.address, 3ULL);
}

void NavigationTest::rightVisitsTheDigitsInScreenOrder_data()
{
    QTest::addColumn<int>("bytesPerItem");
    QTest::addColumn<bool>("bigEndian");
    for (const int bytesPerItem : {1, 2, 4}) {
        for (const bool bigEndian : {false, true})
            QTest::addRow("%d bytes, %s", bytesPerItem, bigEndian ? "big" : "little")
                << bytesPerItem << bigEndian;
    }
}

void NavigationTest::rightVisitsTheDigitsInScreenOrder()
{
    QFETCH(int, bytesPerItem);
    QFETCH(bool, bigEndian);
    const ViewGeometry geometry = Geometry(bytesPerItem);
    const Navigation keys = At(geometry, 0x1000, bigEndian);
    const CellMap cells(geometry, 0x1000, bigEndian);
    EditCursor cursor = keys.RowHome({0x1000, 0, false}).cursor;
    int column = 9;
    for (int row = 0; row < 3; ++row, column = 9) {
        for (int digit = 0; digit < 32; ++digit) {
            QCOMPARE(cells.RowOfAddress(cursor.address), qint64(row));
            const int next = cells.HexColumn(cursor.address, cursor.digit);
            QVERIFY(next > column);
            column = next;
            const CursorMove move = keys.Right(cursor);
            QCOMPARE(keys.Left(move.cursor).cursor, cursor); // Left undoes Right
            cursor = move.cursor;
        }
    }
}

void NavigationTest::theLastRowOfTheSpaceCanBeReached()
{
    const ViewGeometry geometry = Geometry();
    for (const bool inTextColumn : {false, true}) {
        std::uint64_t base = geometry.LastPageBase();
        EditCursor cursor{0xFFFF'FFDF, 1, inTextColumn};
        for (int step = 0; step < 100; ++step) {
            const Navigation keys = At(geometry, base);
            const CursorMove move = keys.Right(cursor);
            cursor = move.cursor;
            base = keys.ScrolledBase(move.scrollRows);
        }
        QCOMPARE(cursor.address, 0xFFFF'FFFFULL);
        QCOMPARE(base, geometry.LastScrollBase());
    }
    EditCursor cursor{0xFFFF'FFE3, 0, false};
    std::uint64_t base = geometry.LastPageBase();
    for (int step = 0; step < 5; ++step) {
        const Navigation keys = At(geometry, base);
        const CursorMove move = keys.Down(cursor);
        cursor = move.cursor;
        base = keys.ScrolledBase(move.scrollRows);
    }
    QCOMPARE(cursor.address, 0xFFFF'FFF3ULL);
}

void NavigationTest::pageKeysMovePageAndCursorTogether()
{
    const ViewGeometry geometry = Geometry();
    const CursorMove down = At(geometry, 0x1000).PageDown({0x1012, 1, false});
    QCOMPARE(down.pageBase, 0x1090ULL);
    QCOMPARE(down.cursor.address, 0x10A2ULL);
    const CursorMove up = At(geometry, 0x1090).PageUp(down.cursor);
    QCOMPARE(up.pageBase, 0x1000ULL);
    QCOMPARE(up.cursor.address, 0x1012ULL);
    const CursorMove nearZero = At(geometry, 0x20).PageUp({0x45, 0, false});
    QCOMPARE(nearZero.pageBase, 0ULL);
    QCOMPARE(nearZero.cursor.address, 0x25ULL);
    QCOMPARE(At(geometry, 0).PageUp({0x45, 0, false}).cursor.address, 0x45ULL);
    const CursorMove atEnd
        = At(geometry, geometry.LastPageBase()).PageDown({0xFFFF'FFE3, 0, false});
    QCOMPARE(atEnd.pageBase, geometry.LastPageBase());
    QCOMPARE(atEnd.cursor.address, 0xFFFF'FFE3ULL);
}

void NavigationTest::homeAndEndGoToTheRowsOuterDigits()
{
    const ViewGeometry geometry = Geometry(4);
    const Navigation little = At(geometry, 0x1000);
    QCOMPARE(little.RowHome({0x101A, 1, false}).cursor, (EditCursor{0x1013, 0, false}));
    QCOMPARE(little.RowEnd({0x101A, 0, false}).cursor, (EditCursor{0x101C, 1, false}));
    QCOMPARE(little.RowHome({0x101A, 1, true}).cursor, (EditCursor{0x1010, 1, true}));
    QCOMPARE(little.RowEnd({0x101A, 1, true}).cursor, (EditCursor{0x101F, 1, true}));
    const Navigation big = At(geometry, 0x1000, true);
    QCOMPARE(big.RowHome({0x101A, 1, false}).cursor, (EditCursor{0x1010, 0, false}));
    QCOMPARE(big.RowEnd({0x101A, 1, false}).cursor, (EditCursor{0x101F, 1, false}));
}

void NavigationTest::scrollingStopsAtBothEndsOfTheSpace()
{
    const ViewGeometry geometry = Geometry();
    QCOMPARE(At(geometry, 0x23).ScrolledBase(2), 0x3ULL);
    QCOMPARE(At(geometry, 0x23).ScrolledBase(3), 0ULL);
    QCOMPARE(At(geometry, 0x1000).ScrolledBase(-3), 0x1030ULL);
    QCOMPARE(At(geometry, 0xFFFF'FF00).ScrolledBase(-100), geometry.LastScrollBase());
    QCOMPARE(At(geometry, 0xFFFF'FFF0).ScrolledBase(-1), 0xFFFF'FFF0ULL); // placed there by a jump
}

void NavigationTest::noKeyLeavesTheAddressSpace()
{
    auto generator = SeededGenerator();
    using Key = CursorMove (Navigation::*)(EditCursor) const;
    constexpr Key keys[]
        = {&Navigation::Up, &Navigation::Down, &Navigation::Left, &Navigation::Right,
            &Navigation::PageUp, &Navigation::PageDown, &Navigation::RowHome, &Navigation::RowEnd};
    for (int round = 0; round < 400; ++round) {
        const ViewGeometry geometry = Geometry(1 << Pick(generator, 0, 2));
        const bool nearEnd = Pick(generator, 0, 1) == 1;
        std::uint64_t base
            = (nearEnd ? 0xFFFF'FF00 : 0) + Pick(generator, std::uint64_t{0}, std::uint64_t{255});
        EditCursor cursor{base, Pick(generator, 0, 1), Pick(generator, 0, 2) == 0};
        const bool bigEndian = Pick(generator, 0, 1) == 1;
        for (int step = 0; step < 100; ++step) {
            const Navigation navigation = At(geometry, base, bigEndian);
            const CursorMove move = (navigation.*keys[Pick(generator, 0, 7)])(cursor);
            QVERIFY(move.cursor.address <= kLastAddress);
            QVERIFY(move.cursor.digit == 0 || move.cursor.digit == 1);
            cursor = move.cursor;
            base = move.scrollRows != 0 ? navigation.ScrolledBase(move.scrollRows) : move.pageBase;
            QVERIFY(base <= kLastAddress);
        }
    }
}

QTEST_GUILESS_MAIN(NavigationTest)
#include "tst_navigation.moc"
