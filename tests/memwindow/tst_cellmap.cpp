// How many bytes fit the view, which cell stands for which byte, and the text of a row in a buffer
// of any size.

#include "cellmap.h"
#include "linecomposer.h"
#include "randomseed.h"

#include <QtTest>

namespace {

/// Characters that a row of so many bytes needs: address, digits, blanks, group gaps, text.
int CharsOfRow(int bytes, int bytesPerItem)
{
    return 10 + 2 * bytes + bytes / bytesPerItem + std::max(0, bytes / 8 - 1) + 1 + bytes + 1;
}

/// The largest power of two that fits; in a view of 25 characters or more a byte always does.
int BytesThatFit(int chars, int bytesPerItem)
{
    int bytes = chars < 25 ? 0 : 1;
    while (bytes > 0 && CharsOfRow(2 * bytes, bytesPerItem) <= chars)
        bytes *= 2;
    return bytes;
}

} // namespace

class CellMapTest : public QObject {
    Q_OBJECT

private slots:
    void everyByteIsFoundUnderItsOwnCells()
    {
        auto generator = SeededGenerator();
        for (int round = 0; round < 500; ++round) {
            ViewGeometry geometry;
            const QSize cell(Pick(generator, 1, 20), Pick(generator, 1, 40));
            const QSize view(
                Pick(generator, 0, round % 9 == 0 ? 70000 : 3000), Pick(generator, 0, 2000));
            const int bytesPerItem = 1 << Pick(generator, 0, 2);
            geometry.SetCharacterSize(cell.width(), cell.height());
            geometry.SetViewSize(view.width(), view.height());
            geometry.SetBytesPerItem(bytesPerItem);
            const int bytes = BytesThatFit((view.width() & 0xFFFF) / cell.width(), bytesPerItem);
            QCOMPARE(int(geometry.BytesPerRow()), bytes);
            if (bytes == 0)
                continue;
            const int rows = view.height() / cell.height() + 1;
            QCOMPARE(int(geometry.VisibleRows()), rows);
            QCOMPARE(geometry.TextColumnStart(), CharsOfRow(bytes, bytesPerItem) - bytes - 1);

            const std::uint64_t edges[]
                = {0, 0x7FFF'FFF0, 0xFFFF'FF00, Pick(generator, std::uint64_t{0}, kLastAddress)};
            const std::uint64_t base = edges[Pick(generator, 0, 3)];
            const CellMap cells(geometry, base, Pick(generator, 0, 1) == 1);
            const std::uint64_t length = std::min(
                {std::uint64_t(bytes) * unsigned(rows), kAddressSpaceEnd - base, kMaxCacheBytes});
            QCOMPARE(geometry.PageAt(base).length, length);
            QCOMPARE(geometry.PageAt(kAddressSpaceEnd).length, 0U);
            const std::uint64_t address = base + Pick(generator, std::uint64_t{0}, length - 1);
            const int row = int(cells.RowOfAddress(address));
            for (int digit = 0; digit < 2; ++digit) {
                const Cell hex{row, cells.HexColumn(address, digit)};
                QVERIFY(hex.column >= 10 && hex.column < geometry.TextColumnStart() - 1);
                QCOMPARE(cells.CellAddress(hex), address);
                QCOMPARE(cells.CellDigit(hex), digit);
                const QPoint corner(2 + hex.column * cell.width(), row * cell.height());
                QCOMPARE(cells.CellAtPixel(corner.x(), corner.y()), hex);
                QCOMPARE(cells.CellAtPixel(
                             corner.x() + cell.width() - 1, corner.y() + cell.height() - 1),
                    hex);
            }
            const Cell text{row, cells.TextColumn(address)};
            QCOMPARE(cells.CellAddress(text), address);
            QCOMPARE(cells.CellDigit(text), 1);

            // Any cell, also beside the page, stays in the address space.
            const Cell wild{Pick(generator, -5000, 70000), Pick(generator, -1, 70000)};
            QVERIFY(cells.CellAddress(wild) <= kLastAddress);
            QVERIFY(cells.ItemStart(address) <= address && cells.ItemEnd(address) >= address);
            QVERIFY(cells.ItemEnd(address) - cells.ItemStart(address) < unsigned(bytesPerItem));
            geometry.SetBytesPerItem(0); // an unknown size shows nothing
            QCOMPARE(geometry.BytesPerPage() + unsigned(geometry.TextColumnStart()), 0U);
        }
    }

    void cellsStandForTheNearestByte()
    {
        const auto addressOf = [](int bytesPerItem, bool bigEndian, Cell cell) {
            ViewGeometry geometry;
            geometry.SetViewSize(80, 10); // of characters that are a pixel
            geometry.SetBytesPerItem(bytesPerItem);
            return CellMap(geometry, 0x1000, bigEndian).CellAddress(cell);
        };
        // Left of the view, on the address, behind an item, before the text, behind it, in a gap.
        QVERIFY(addressOf(2, false, {2, -1}) == 0x1020 && addressOf(2, false, {2, 5}) == 0x1020);
        QVERIFY(addressOf(2, false, {0, 14}) == 0x1000 && addressOf(2, true, {0, 14}) == 0x1001);
        QVERIFY(addressOf(2, false, {0, 50}) == 0x100E && addressOf(2, true, {0, 50}) == 0x100F);
        QVERIFY(addressOf(2, true, {1, 151}) == 0x101F && addressOf(4, true, {1, 29}) == 0x1018);
    }

    void noMoreIsWrittenThanThereIsRoomFor()
    {
        const std::vector<std::uint8_t> data(2048, 1);
        const std::vector<ByteStatus> allValid(2048, ByteStatus::Valid);
        ComposedLine line;
        LineComposer(1, false).ComposeRow(0, 400, data.data(), allValid.data(), data.data(), line);
        QCOMPARE(line.runCount, kMaxColourRuns);

        auto generator = SeededGenerator();
        for (int round = 0; round < 2000; ++round) {
            const auto length = std::uint32_t(1) << Pick(generator, 0, 11);
            const LineComposer composer(1 << Pick(generator, 0, 2), Pick(generator, 0, 1) == 1);
            const auto compose = [&](int size) {
                std::string buffer(16000, '#');
                const char *end = composer.ComposeLine(buffer.data(), buffer.data() + size, 0,
                    length, data.data(), round % 10 == 0 ? nullptr : allValid.data());
                return std::pair{buffer, std::size_t(end - buffer.data())};
            };
            const int size = Pick(generator, 0, 2500);
            const auto [narrow, end] = compose(size);
            const auto [wide, all] = compose(16000);
            QCOMPARE(narrow.find_first_not_of('#', std::size_t(size)), std::string::npos);
            // What was written agrees with the whole line, except for items that did not fit.
            for (std::size_t i = 0; i < std::min(end, all); ++i)
                QVERIFY(narrow[i] == wide[i] || narrow[i] == ' ');
        }
    }
};

QTEST_GUILESS_MAIN(CellMapTest)
#include "tst_cellmap.moc"
