#include "randomseed.h"
#include "selection.h"

#include <QtTest>

#include <set>

class SelectionTest : public QObject {
    Q_OBJECT

private slots:
    void bothEndsCoverWholeItemsInEitherDirection()
    {
        const ViewGeometry geometry = Geometry(2);
        const CellMap cells(geometry, 0x101, false); // items start at odd addresses
        Selection selection;
        const auto ends = [&] { return std::pair(selection.Anchor(), selection.End()); };
        using Ends = std::pair<std::uint64_t, std::uint64_t>;
        QVERIFY(selection.IsEmpty());
        selection.Start(0x106);
        QCOMPARE(selection.Length(), 1ULL); // by keys it starts with one byte
        selection.ExtendTo(0x10B, cells);
        QCOMPARE(ends(), Ends(0x105, 0x10C));
        selection.SetEnds(0x10B, 0x106);
        selection.Normalise(cells);
        QCOMPARE(ends(), Ends(0x10C, 0x105));
        QCOMPARE(selection.Length(), 8ULL);
        selection.ExtendTo(0x120, cells); // back over the anchor
        QVERIFY(selection.Lower() == 0x10B && selection.Upper() == 0x120);
        selection.SetEnds(kLastAddress, kLastAddress);
        selection.Normalise(cells);
        QCOMPARE(selection.Upper(), kLastAddress);
    }

    void exactlyTheCellsOfSelectedBytesAreCovered()
    {
        auto generator = SeededGenerator();
        for (int round = 0; round < 500; ++round) {
            const ViewGeometry geometry = Geometry(1 << Pick(generator, 0, 2));
            const CellMap cells(geometry, 0x1000, Pick(generator, 0, 1) == 1);
            Selection selection;
            selection.SetEnds(
                0xFE0 + unsigned(Pick(generator, 0, 99)), 0xFE0 + unsigned(Pick(generator, 0, 99)));
            for (std::uint64_t row = 0x1000; row < 0x1040; row += 16) {
                const SelectedCells onRow = selection.CellsOn(row, 16, cells);
                std::set<int> covered;
                for (const CellRange &range : onRow.Ranges()) {
                    for (int column = range.first; column < range.first + range.count; ++column)
                        covered.insert(column);
                }
                const auto isSelected = [&](std::uint64_t address) {
                    return address >= selection.Lower() && address <= selection.Upper();
                };
                for (std::uint64_t address = row; address < row + 16; ++address) {
                    const int digit = cells.HexColumn(address, 0);
                    QCOMPARE(covered.contains(digit), isSelected(address));
                    QCOMPARE(covered.contains(digit + 1), isSelected(address));
                    QCOMPARE(covered.contains(cells.TextColumn(address)), isSelected(address));
                    // Between two wholly selected items the blank is covered as well.
                    if (address > row && cells.ItemStart(address) == address
                        && isSelected(cells.ItemStart(address - 1))
                        && isSelected(cells.ItemEnd(address)))
                        QVERIFY(covered.contains(cells.ItemColumn(address) - 1));
                }
            }
        }
    }

private:
    static ViewGeometry Geometry(int bytesPerItem)
    {
        ViewGeometry geometry;
        geometry.SetCharacterSize(8, 16);
        geometry.SetViewSize(640, 320);
        geometry.SetBytesPerItem(bytesPerItem);
        return geometry;
    }
};

QTEST_GUILESS_MAIN(SelectionTest)
#include "tst_memselection.moc"
