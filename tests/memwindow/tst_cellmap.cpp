#include "cellmap.h"
#include "randomseed.h"

#include <QtTest>

class CellMapTest : public QObject {
    Q_OBJECT

private slots:
    void everyByteIsFoundUnderItsOwnCells();
    void cellsBesideTheBytesStandForTheNearest();
    void digitsOutsideTheHexColumnAreTheSecond();
    void leftmostDigitsShowTheHighestByteOfALittleEndianItem();
};

void CellMapTest::everyByteIsFoundUnderItsOwnCells()
{
    auto generator = SeededGenerator();
    for (int round = 0; round < 300; ++round) {
        ViewGeometry geometry;
        geometry.SetCharacterSize(Pick(generator, 1, 20), Pick(generator, 1, 40));
        geometry.SetViewSize(Pick(generator, 0, 3000), Pick(generator, 0, 2000));
        geometry.SetBytesPerItem(1 << Pick(generator, 0, 2));
        if (geometry.BytesPerRow() == 0)
            continue;
        const std::uint64_t edges[]
            = {0, 0x7FFF'FFF0, 0xFFFF'FF00, Pick(generator, std::uint64_t{0}, kLastAddress)};
        const std::uint64_t base = edges[Pick(generator, 0, 3)];
        const CellMap cells(geometry, base, Pick(generator, 0, 1) == 1);
        const PageRange page = geometry.PageAt(base);
        const std::uint64_t address = base + Pick(generator, std::uint64_t{0}, page.length - 1);
        const int row = int(cells.RowOfAddress(address));

        for (int digit = 0; digit < 2; ++digit) {
            const Cell cell{row, cells.HexColumn(address, digit)};
            QVERIFY(cell.column >= 10 && cell.column < geometry.TextColumnStart() - 1);
            QCOMPARE(cells.CellAddress(cell), address);
            QCOMPARE(cells.CellDigit(cell), digit);
            const int x = geometry.LeftMargin() + cell.column * geometry.CharacterWidth();
            QCOMPARE(cells.CellAtPixel(x, row * geometry.LineHeight()), cell);
            QCOMPARE(cells.CellAtPixel(
                         x + geometry.CharacterWidth() - 1, (row + 1) * geometry.LineHeight() - 1),
                cell);
        }
        QCOMPARE(cells.CellAddress({row, cells.TextColumn(address)}), address);

        // Any cell, also beside the page, stays in the address space.
        const Cell wild{Pick(generator, -5000, 70000), Pick(generator, -1, 70000)};
        QVERIFY(cells.CellAddress(wild) <= kLastAddress);
        QVERIFY(cells.ItemStart(address) <= address && cells.ItemEnd(address) >= address);
        QVERIFY(cells.ItemEnd(address) - cells.ItemStart(address) < 4);
    }
}

void CellMapTest::cellsBesideTheBytesStandForTheNearest()
{
    ViewGeometry geometry;
    geometry.SetCharacterSize(8, 16);
    geometry.SetViewSize(640, 160);
    geometry.SetBytesPerItem(2);
    for (const bool bigEndian : {false, true}) {
        const CellMap cells(geometry, 0x1000, bigEndian);
        const int lastShown = bigEndian ? 15 : 14;
        QCOMPARE(cells.CellAddress({2, -1}), 0x1020ULL);
        QCOMPARE(cells.CellAddress({2, 5}), 0x1020ULL);
        QCOMPARE(
            cells.CellAddress({0, 14}), bigEndian ? 0x1001ULL : 0x1000ULL); // blank behind item 0
        QCOMPARE(cells.CellAddress({0, geometry.TextColumnStart() - 2}),
            0x1000ULL + unsigned(lastShown));
        QCOMPARE(cells.CellAddress({1, geometry.TextColumnStart() + 99}), 0x101FULL);
    }
}

void CellMapTest::digitsOutsideTheHexColumnAreTheSecond()
{
    ViewGeometry geometry;
    geometry.SetCharacterSize(8, 16);
    geometry.SetViewSize(640, 160);
    const CellMap cells(geometry, 0, false);
    for (const int column : {-1, 0, 9, 12, geometry.TextColumnStart(), 200})
        QCOMPARE(cells.CellDigit({0, column}), 1);
}

void CellMapTest::leftmostDigitsShowTheHighestByteOfALittleEndianItem()
{
    ViewGeometry geometry;
    geometry.SetCharacterSize(8, 16);
    geometry.SetViewSize(640, 160);
    geometry.SetBytesPerItem(4);
    const CellMap little(geometry, 0x100, false);
    const CellMap big(geometry, 0x100, true);
    QCOMPARE(little.CellAddress({0, 10}), 0x103ULL);
    QCOMPARE(little.CellAddress({0, 17}), 0x100ULL);
    QCOMPARE(big.CellAddress({0, 10}), 0x100ULL);
    // Third item of the second row: one gap lies in front of it.
    QCOMPARE(big.CellAddress({1, 10 + 2 * 9 + 1}), 0x118ULL);
}

QTEST_GUILESS_MAIN(CellMapTest)
#include "tst_cellmap.moc"
