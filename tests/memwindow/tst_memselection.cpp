#include "randomseed.h"
#include "selection.h"

#include <QtTest>

#include <set>

class SelectionTest : public QObject {
    Q_OBJECT

private slots:
    void bothEndsCoverWholeItemsInEitherDirection();
    void aSelectionByKeysStartsWithOneByte();
    void exactlyTheCellsOfSelectedBytesAreCovered();
    void gapsBetweenSelectedItemsAreFilled();
};

static ViewGeometry Geometry(int bytesPerItem)
{
    ViewGeometry geometry;
    geometry.SetCharacterSize(8, 16);
    geometry.SetViewSize(640, 320);
    geometry.SetBytesPerItem(bytesPerItem);
    return geometry;
}

void SelectionTest::bothEndsCoverWholeItemsInEitherDirection()
{
    const ViewGeometry geometry = Geometry(2);
    const CellMap cells(geometry, 0x101, false); // items start at odd addresses
    Selection selection;
    selection.SetEnds(0x106, 0x10B);
    selection.Normalise(cells);
    QCOMPARE(selection.Anchor(), 0x105ULL);
    QCOMPARE(selection.End(), 0x10CULL);
    selection.SetEnds(0x10B, 0x106);
    selection.Normalise(cells);
    QCOMPARE(selection.Anchor(), 0x10CULL);
    QCOMPARE(selection.End(), 0x105ULL);
    QCOMPARE(selection.Length(), 8ULL);
    selection.ExtendTo(0x120, cells); // back over the anchor
    QCOMPARE(selection.Lower(), 0x10BULL);
    QCOMPARE(selection.Upper(), 0x120ULL);
    selection.SetEnds(0xFFFF'FFFF, 0xFFFF'FFFF);
    selection.Normalise(cells);
    QCOMPARE(selection.Upper(), 0xFFFF'FFFFULL);
}

void SelectionTest::aSelectionByKeysStartsWithOneByte()
{
    const ViewGeometry geometry = Geometry(4);
    const CellMap cells(geometry, 0, false);
    Selection selection;
    QVERIFY(selection.IsEmpty());
    selection.Start(5);
    QCOMPARE(selection.Length(), 1ULL);
    selection.ExtendTo(9, cells);
    QCOMPARE(selection.Lower(), 4ULL);
    QCOMPARE(selection.Length(), 8ULL);
}

void SelectionTest::exactlyTheCellsOfSelectedBytesAreCovered()
{
    auto generator = SeededGenerator();
    for (int round = 0; round < 500; ++round) {
        const ViewGeometry geometry = Geometry(1 << Pick(generator, 0, 2));
        const CellMap cells(geometry, 0x1000, Pick(generator, 0, 1) == 1);
        Selection selection;
        selection.SetEnds(0xFE0 + Pick(generator, std::uint64_t{0}, std::uint64_t{99}),
            0xFE0 + Pick(generator, std::uint64_t{0}, std::uint64_t{99}));
        for (std::uint64_t row = 0x1000; row < 0x1040; row += 16) {
            std::set<int> covered;
            const SelectedCells onRow = selection.CellsOn(row, 16, cells);
            for (const CellRange &range : onRow.Ranges()) {
                for (int column = range.first; column < range.first + range.count; ++column)
                    covered.insert(column);
            }
            for (std::uint64_t address = row; address < row + 16; ++address) {
                const bool selected = address >= selection.Lower() && address <= selection.Upper();
                QCOMPARE(covered.contains(cells.HexColumn(address, 0)), selected);
                QCOMPARE(covered.contains(cells.HexColumn(address, 1)), selected);
                QCOMPARE(covered.contains(cells.TextColumn(address)), selected);
            }
        }
    }
}

void SelectionTest::gapsBetweenSelectedItemsAreFilled()
{
    const ViewGeometry geometry = Geometry(1);
    const CellMap cells(geometry, 0, false);
    Selection selection;
    selection.SetEnds(7, 0x11);
    const auto first = selection.CellsOn(0, 16, cells);
    QCOMPARE(first.Ranges().size(), std::size_t(2));
    QCOMPARE(first.Ranges()[1], (CellRange{31, 58 - 31})); // item 7 to item 15 over the group gap
    const auto second = selection.CellsOn(16, 16, cells);
    QCOMPARE(second.Ranges()[1], (CellRange{10, 5}));
    const auto third = selection.CellsOn(32, 16, cells);
    QVERIFY(third.Ranges().empty());
}

QTEST_GUILESS_MAIN(SelectionTest)
#include "tst_memselection.moc"
