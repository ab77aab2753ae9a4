// The memory window as a table of cells, at random places of windows of random shapes: what is
// drawn is what the target holds, and what a screen reader may ask is what is drawn.

#include "memtestwindow.h"
#include "randomseed.h"

#include <QAccessible>

namespace {

void Shape(MemTestWindow &w, std::mt19937_64 &generator)
{
    w.SetBigEndian(Pick(generator, 0, 1) == 1);
    w.window.resize(Pick(generator, 300, 1200), Pick(generator, 150, 500));
    const std::uint64_t bases[] = {0, 0x9000'0000, kAddressSpaceEnd - 0x100, kBase};
    const std::uint64_t base = bases[Pick(generator, 0, 3)];
    for (int faults = Pick(generator, 0, 40); faults > 0; --faults)
        w.target.unreadable.insert(base + unsigned(Pick(generator, 0, 0x500)));
    w.GoTo(base);
    w.window.SetBytesPerItem(1 << Pick(generator, 0, 2));
    for (int steps = Pick(generator, 0, 40); steps > 0; --steps)
        w.Key(steps % 3 == 0 ? Qt::Key_Down : Qt::Key_Right, Qt::ShiftModifier);
    w.window.UpdateFromTarget();
    for (const FakeTarget::Call &call : w.Settled().target.reads)
        QVERIFY(call.address + call.length <= kAddressSpaceEnd);
    w.target.reads.clear();
}

QAccessibleInterface *AtCentre(QAccessibleInterface *grid, const QAccessibleInterface *child)
{
    return grid->childAt(child->rect().center().x(), child->rect().center().y());
}

} // namespace

class GridInterfaceTest : public QObject {
    Q_OBJECT

private slots:
    void everyCellIsFoundByNumberPlaceAndCharacter()
    {
        auto generator = SeededGenerator();
        for (int round = 0; round < 30; ++round) {
            MemTestWindow w;
            Shape(w, generator);
            QAccessibleInterface *const grid = QAccessible::queryAccessibleInterface(w.view);
            QAccessibleTableInterface *const table = grid->tableInterface();
            const QStringList shown = w.Rows();
            const int columns = table->columnCount();
            std::uint64_t address = w.window.BaseAddress();
            for (const QString &row : shown) {
                CheckRow(w, row, address);
                address += w.window.BytesPerRow();
            }
            int selected = 0;
            for (int index = 0; index < grid->childCount(); ++index) {
                QAccessibleInterface *const child = grid->child(index);
                QAccessibleTableCellInterface *const cell = child->tableCellInterface();
                const int row = cell->rowIndex();
                QCOMPARE(grid->indexOfChild(child), index);
                QCOMPARE(AtCentre(grid, child), child);
                QVERIFY(row >= 0 && row < table->rowCount());
                QCOMPARE(table->cellAt(row, cell->columnIndex()), child);
                QCOMPARE(table->rowDescription(row), cell->rowHeaderCells()[0]->text(kName));
                selected += cell->isSelected();
                // A character of the cell lies where the view draws it; no pixel of the last row
                // may be in view.
                QAccessibleTextInterface *const text = child->textInterface();
                const int offset = Pick(generator, 0, child->rect().width() / w.widthPx - 1);
                const QRect place = text->characterRect(offset);
                QCOMPARE(text->offsetAtPoint(place.center()), offset);
                QCOMPARE(text->offsetAtPoint(child->rect().topLeft() - QPoint(1, 0)), -1);
                const int left = w.view->viewport()->mapFromGlobal(place.topLeft()).x() - 2;
                const bool isInWords = child->text(kName).contains("readable");
                if (index / columns < shown.size() && !isInWords)
                    QCOMPARE(text->text(offset, offset + 1).trimmed(),
                        shown[index / columns].mid(left / w.widthPx, 1).trimmed());
            }
            QCOMPARE(table->selectedCellCount(), selected);
            QCOMPARE(table->columnDescription(0) + table->columnDescription(1)
                    + table->columnDescription(columns - 1) + table->columnDescription(columns),
                "Address+0Text");
            QVERIFY(w.target.reads.empty()); // the answers come from the shown bytes
            // The caret; an address stands for the first item behind it.
            const int index = Pick(generator, 0, 2 * columns - 1);
            const bool isAddress = index % columns == 0;
            grid->child(index)->textInterface()->setCursorPosition(1);
            QAccessibleInterface *const now = grid->child(index + isAddress);
            QCOMPARE(grid->focusChild(), now);
            QCOMPARE(now->textInterface()->cursorPosition(), isAddress ? 0 : 1);
        }
    }

    void theOpenBoxIsAChildAmongTheCells()
    {
        MemTestWindow w;
        QAccessibleInterface *const grid = QAccessible::queryAccessibleInterface(w.view);
        w.window.SetBytesPerItem(2);
        for (const auto &[bad, said] : {std::pair{kBase + 2, "not readable"},
                 std::pair{kBase + 3, "--02 partly not readable"}}) {
            w.target.unreadable = {bad};
            w.window.UpdateFromTarget();
            w.Settled();
            QCOMPARE(grid->child(2)->text(kName), said);
        }
        const int cells = grid->childCount();
        w.Key(Qt::Key_7);
        QAccessibleInterface *const box = grid->child(cells);
        QVERIFY(box != nullptr && box->object() == w.overlay && grid->childCount() == cells + 1);
        QCOMPARE(grid->indexOfChild(box), cells);
        QVERIFY(grid->focusChild() == box && AtCentre(grid, box) == box);
        QAccessibleActionInterface *const action = grid->child(5)->actionInterface();
        action->doAction(action->actionNames().value(0));
        QCOMPARE(grid->focusChild(), grid->child(5));
        QVERIFY(grid->childCount() == cells && grid->child(cells) == nullptr);
    }

private:
    /// Each byte is shown, but for unread ones and those of an item whose first one is unread.
    /// A row beyond the address space shows no byte; its address is cut to its eight digits.
    static void CheckRow(MemTestWindow &s, const QString &text, std::uint64_t address)
    {
        QCOMPARE(text.left(8).toULongLong(nullptr, 16), address % kAddressSpaceEnd);
        const QStringList items = text.mid(10).split(u' ', Qt::SkipEmptyParts);
        const unsigned itemBytes = unsigned(s.window.BytesPerItem());
        const std::uint64_t known = kAddressSpaceEnd - std::min(address, kAddressSpaceEnd);
        for (unsigned byte = 0; byte < std::min<std::uint64_t>(s.window.BytesPerRow(), known);
             ++byte) {
            const unsigned inItem = byte % itemBytes;
            const int value = s.target.ByteAt(address + byte);
            const QString shown
                = items.at(byte / itemBytes)
                      .mid(2 * int(s.bigEndian ? inItem : itemBytes - 1 - inItem), 2);
            const bool isUnread = s.target.unreadable.contains(address + byte)
                || s.target.unreadable.contains(address + byte - inItem);
            QVERIFY2(isUnread == (shown == "--"), qPrintable(text));
            if (!isUnread)
                QCOMPARE(shown.toInt(nullptr, 16), value);
            const bool isInk = (value > 32 && value < 127) || (value > 160 && value != 173);
            const bool isShown = isInk && !s.target.unreadable.contains(address + byte);
            QCOMPARE(text.at(s.Cells().TextColumn(address + byte)), QChar(isShown ? value : '.'));
        }
    }
    static constexpr QAccessible::Text kName = QAccessible::Name;
};

QTEST_MAIN(GridInterfaceTest)
#include "tst_gridinterface.moc"
