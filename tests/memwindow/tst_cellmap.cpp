#include "cellmap.h"
#include "randomseed.h"

#include <QtTest>

class CellMapTest : public QObject {
    Q_OBJECT

private slots:
    void everyByteIsFoundUnderItsOwnCells()
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
            const QSize pixels(geometry.CharacterWidth(), geometry.LineHeight());

            for (int digit = 0; digit < 2; ++digit) {
                const Cell cell{row, cells.HexColumn(address, digit)};
                QVERIFY(cell.column >= 10 && cell.column < geometry.TextColumnStart() - 1);
                QCOMPARE(cells.CellAddress(cell), address);
                QCOMPARE(cells.CellDigit(cell), digit);
                const QRect box(QPoint(geometry.LeftMargin() + cell.column * pixels.width(),
                                    row * pixels.height()),
                    pixels);
                QCOMPARE(cells.CellAtPixel(box.left(), box.top()), cell);
                QCOMPARE(cells.CellAtPixel(box.right(), box.bottom()), cell);
            }
            QCOMPARE(cells.CellAddress({row, cells.TextColumn(address)}), address);

            // Any cell, also beside the page, stays in the address space.
            const Cell wild{Pick(generator, -5000, 70000), Pick(generator, -1, 70000)};
            QVERIFY(cells.CellAddress(wild) <= kLastAddress);
            QVERIFY(cells.ItemStart(address) <= address && cells.ItemEnd(address) >= address);
            QVERIFY(cells.ItemEnd(address) - cells.ItemStart(address) < 4);
        }
    }

    void cellsStandForTheNearestByte()
    {
        struct Place {
            int bytesPerItem;
            bool bigEndian;
            Cell cell;
            std::uint64_t address;
        };
        constexpr int kText = 52; // the text column of two-byte items
        const Place places[] = {{2, false, {2, -1}, 0x1020}, {2, false, {2, 5}, 0x1020},
            {2, false, {0, 14}, 0x1000}, // the blank behind an item
            {2, true, {0, 14}, 0x1001}, {2, false, {0, kText - 2}, 0x100E},
            {2, true, {0, kText - 2}, 0x100F}, {2, true, {1, kText + 99}, 0x101F},
            {4, false, {0, 10}, 0x1003}, {4, false, {0, 17}, 0x1000}, {4, true, {0, 10}, 0x1000},
            {4, true, {1, 10 + 2 * 9 + 1}, 0x1018}}; // one gap lies in front of the third item
        for (const Place &place : places) {
            ViewGeometry geometry;
            geometry.SetCharacterSize(8, 16);
            geometry.SetViewSize(640, 160);
            geometry.SetBytesPerItem(place.bytesPerItem);
            const CellMap cells(geometry, 0x1000, place.bigEndian);
            QCOMPARE(cells.CellAddress(place.cell), place.address);
            for (const int column : {-1, 0, 9, geometry.TextColumnStart(), 200})
                QCOMPARE(cells.CellDigit({0, column}), 1);
        }
    }
};

QTEST_GUILESS_MAIN(CellMapTest)
#include "tst_cellmap.moc"
