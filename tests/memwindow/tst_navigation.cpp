#include "navigation.h"
#include "randomseed.h"

#include <QtTest>

namespace {

using Key = CursorMove (Navigation::*)(EditCursor) const;

constexpr std::uint64_t kLastPage = 0xFFFF'FF60; // of ten rows
constexpr std::uint64_t kLastScroll = 0xFFFF'FF70;

/// Ten rows of sixteen bytes, the last one partly visible.
ViewGeometry Geometry(int bytesPerItem = 1)
{
    ViewGeometry geometry;
    geometry.SetCharacterSize(8, 16);
    geometry.SetViewSize(640, 9 * 16 + 5);
    geometry.SetBytesPerItem(bytesPerItem);
    return geometry;
}

/// The view and its cursor, moved as the window moves them.
struct View {
    ViewGeometry geometry;
    bool bigEndian = false;
    std::uint64_t base = 0;
    EditCursor cursor;

    void Press(Key key)
    {
        const Navigation keys(geometry, geometry.PageAt(base), bigEndian);
        const CursorMove move = (keys.*key)(cursor);
        cursor = move.cursor;
        base = move.scrollRows != 0 ? geometry.ScrolledBase(base, move.scrollRows) : move.pageBase;
    }
};

} // namespace

class NavigationTest : public QObject {
    Q_OBJECT

private slots:
    void keysMoveCursorAndPage()
    {
        struct Step {
            const char *name;
            Key key;
            std::uint64_t base;
            EditCursor cursor;
            std::uint64_t newBase;
            EditCursor newCursor;
            int bytesPerItem = 1;
            bool bigEndian = false;
        };
        using N = Navigation;
        const Step steps[] = {
            {"up", &N::Up, 0x1000, {0x1015, 1, false}, 0x1000, {0x1005, 1, false}},
            {"up at the edge", &N::Up, 0x1000, {0x1005, 1, false}, 0xFF0, {0x1005, 1, false}},
            {"up at 0", &N::Up, 0, {3, 0, false}, 0, {3, 0, false}},
            {"down", &N::Down, 0x1000, {0x1070, 0, false}, 0x1000, {0x1080, 0, false}},
            {"down on the last whole row", &N::Down, 0x1000, {0x1080, 0, false}, 0x1010,
                {0x1080, 0, false}},
            {"page down", &N::PageDown, 0x1000, {0x1012, 1, false}, 0x1090, {0x10A2, 1, false}},
            {"page up", &N::PageUp, 0x1090, {0x10A2, 1, false}, 0x1000, {0x1012, 1, false}},
            {"page up near 0", &N::PageUp, 0x20, {0x45, 0, false}, 0, {0x25, 0, false}},
            {"page up at 0", &N::PageUp, 0, {0x45, 0, false}, 0, {0x45, 0, false}},
            {"page down at the end", &N::PageDown, kLastPage, {0xFFFF'FFE3, 0, false}, kLastPage,
                {0xFFFF'FFE3, 0, false}},
            {"home", &N::RowHome, 0, {0x1A, 1, false}, 0, {0x13, 0, false}, 4},
            {"end", &N::RowEnd, 0, {0x1A, 0, false}, 0, {0x1C, 1, false}, 4},
            {"home, big-endian", &N::RowHome, 0, {0x1A, 1, false}, 0, {0x10, 0, false}, 4, true},
            {"end, big-endian", &N::RowEnd, 0, {0x1A, 1, false}, 0, {0x1F, 1, false}, 4, true},
            {"home in the text", &N::RowHome, 0, {0x1A, 1, true}, 0, {0x10, 1, true}, 4},
            {"end in the text", &N::RowEnd, 0, {0x1A, 1, true}, 0, {0x1F, 1, true}, 4}};
        for (const Step &step : steps) {
            View view{Geometry(step.bytesPerItem), step.bigEndian, step.base, step.cursor};
            view.Press(step.key);
            QVERIFY2(view.base == step.newBase && view.cursor == step.newCursor, step.name);
        }
    }

    void rightVisitsTheDigitsInScreenOrder()
    {
        for (const int bytesPerItem : {1, 2, 4}) {
            for (const bool bigEndian : {false, true}) {
                View view{Geometry(bytesPerItem), bigEndian, 0x1000, {0x1000, 0, false}};
                const CellMap cells(view.geometry, 0x1000, bigEndian);
                view.Press(&Navigation::RowHome);
                for (int step = 0, column = 9; step < 3 * 32; ++step) {
                    const EditCursor before = view.cursor;
                    QCOMPARE(cells.RowOfAddress(before.address), qint64(step / 32));
                    const int next = cells.HexColumn(before.address, before.digit);
                    QVERIFY(step % 32 == 0 || next > column);
                    column = next;
                    view.Press(&Navigation::Right);
                    View back = view;
                    back.Press(&Navigation::Left);
                    QCOMPARE(back.cursor, before);
                }
            }
        }
    }

    void theLastRowOfTheSpaceCanBeReached()
    {
        for (const bool inTextColumn : {false, true}) {
            View view{Geometry(), false, kLastPage, {0xFFFF'FFDF, 1, inTextColumn}};
            for (int step = 0; step < 100; ++step)
                view.Press(&Navigation::Right);
            QCOMPARE(view.cursor.address, kLastAddress);
            QCOMPARE(view.base, kLastScroll);
        }
        View view{Geometry(), false, kLastPage, {0xFFFF'FFE3, 0, false}};
        for (int step = 0; step < 5; ++step)
            view.Press(&Navigation::Down);
        QCOMPARE(view.cursor.address, 0xFFFF'FFF3ULL);
    }

    void noKeyLeavesTheAddressSpace()
    {
        auto generator = SeededGenerator();
        constexpr Key keys[] = {&Navigation::Up, &Navigation::Down, &Navigation::Left,
            &Navigation::Right, &Navigation::PageUp, &Navigation::PageDown, &Navigation::RowHome,
            &Navigation::RowEnd};
        for (int round = 0; round < 400; ++round) {
            const std::uint64_t base = (Pick(generator, 0, 1) == 1 ? 0xFFFF'FF00 : 0)
                + Pick(generator, std::uint64_t{0}, std::uint64_t{255});
            View view{Geometry(1 << Pick(generator, 0, 2)), Pick(generator, 0, 1) == 1, base,
                {base, Pick(generator, 0, 1), Pick(generator, 0, 2) == 0}};
            for (int step = 0; step < 100; ++step) {
                view.Press(keys[Pick(generator, 0, 7)]);
                QVERIFY(view.cursor.address <= kLastAddress && view.base <= kLastAddress);
                QVERIFY(view.cursor.digit == 0 || view.cursor.digit == 1);
            }
        }
    }
};

QTEST_GUILESS_MAIN(NavigationTest)
#include "tst_navigation.moc"
