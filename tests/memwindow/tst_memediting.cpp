// Typing into the memory window: from the key to the bytes in the target.

#include "memtestwindow.h"

namespace {

constexpr std::uint64_t kBase = 0x2000'0000;

/// A window at kBase over bytes 12 34 56 78 9A BC DE F0, repeated.
struct Typing : MemTestWindow {
    Typing()
    {
        constexpr std::array<std::uint8_t, 8> kBytes
            = {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0};
        for (std::uint64_t i = 0; i < 4096; ++i)
            target.Set(kBase + i, kBytes[i % kBytes.size()]);
        GoTo(kBase);
    }

    /// Clicks the cell that shows a digit of a byte, or with digit -1 its character.
    void ClickByte(std::uint64_t address, int digit)
    {
        const CellMap cells = Cells();
        const int column = digit < 0 ? cells.TextColumn(address) : cells.HexColumn(address, digit);
        Click(int(cells.RowOfAddress(address)), column);
    }
    /// Types where the focus is: first into the view, then into the edit box.
    void Type(const QString &text)
    {
        for (const QChar character : text)
            QTest::keyClick(QApplication::focusWidget(), character.toLatin1());
    }
    void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
    /// Lets the write-back come, as "address:bytes" for each write.
    QString Written()
    {
        window.OnEditUpdateTimerTimeout();
        return Writes();
    }
};

} // namespace

class MemEditingTest : public QObject {
    Q_OBJECT

private slots:
    void typingADigitOpensTheBoxOverItsItem_data();
    void typingADigitOpensTheBoxOverItsItem();
    void theBoxLiesOnTheDigits_data();
    void theBoxLiesOnTheDigits();
    void typingRunsOnAcrossItemsAndRows();
    void theTextColumnTakesCharacters();
    void writesComeHalfASecondAfterTheLastKey();
    void whatEndsAnEdit();
    void editsBuildOnWhatWasTypedBefore();
    void unreadableItemsStartFromTheTypedDigits();
    void theEndOfTheSpaceEndsTheTyping();
    void aFailedWriteIsReportedAndTheTargetsBytesReturn();
    void typedChangesAreWrittenBeforeAnythingElseHappens();
    void ticksLeaveAnOpenEditAlone();
    void typingBringsTheCursorIntoView();
};

void MemEditingTest::typingADigitOpensTheBoxOverItsItem_data()
{
    QTest::addColumn<int>("bytesPerItem");
    QTest::addColumn<bool>("bigEndian");
    QTest::addColumn<int>("byte");
    QTest::addColumn<int>("digit");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("written");
    QTest::newRow("second digit of a byte") << 1 << false << 0 << 1 << "1A"
                                            << "20000000:1A";
    QTest::newRow("first digit of a byte") << 1 << false << 0 << 0 << "A2"
                                           << "20000000:A2";
    // The digit lands under the cursor, whichever byte of the item that is.
    QTest::newRow("two bytes, lower one") << 2 << false << 0 << 0 << "34A2"
                                          << "20000000:A234";
    QTest::newRow("two bytes, upper one") << 2 << false << 1 << 1 << "3A12"
                                          << "20000000:123A";
    QTest::newRow("two bytes, big-endian") << 2 << true << 0 << 0 << "A234"
                                           << "20000000:A234";
    QTest::newRow("four bytes") << 4 << false << 6 << 1 << "F0DABC9A"
                                << "20000004:9ABCDAF0";
    QTest::newRow("four bytes, big-endian") << 4 << true << 6 << 1 << "9ABCDAF0"
                                            << "20000004:9ABCDAF0";
}

void MemEditingTest::typingADigitOpensTheBoxOverItsItem()
{
    QFETCH(int, bytesPerItem);
    QFETCH(bool, bigEndian);
    QFETCH(int, byte);
    QFETCH(int, digit);
    Typing t;
    t.SetBytesPerItem(bytesPerItem);
    t.SetBigEndian(bigEndian);
    t.ClickByte(kBase + unsigned(byte), digit);
    t.Type("g"); // no digit
    QVERIFY(!t.overlay->isVisible());
    t.Type("a");
    QVERIFY(t.overlay->isVisible());
    QVERIFY(t.overlay->hasFocus());
    QTEST(t.overlay->text(), "text");
    const int position = digit + 2 * t.Cells().ByteInItem(kBase + unsigned(byte));
    QCOMPARE(t.overlay->cursorPosition(), position + 1);
    t.Press(Qt::Key_Return);
    QVERIFY(!t.overlay->isVisible());
    QVERIFY(t.view->hasFocus());
    QVERIFY(t.target.writes.empty());
    QTEST(t.Written(), "written");
}

void MemEditingTest::theBoxLiesOnTheDigits_data()
{
    QTest::addColumn<int>("bytesPerItem");
    for (const int size : {1, 2, 4})
        QTest::addRow("%d", size) << size;
}

void MemEditingTest::theBoxLiesOnTheDigits()
{
    QFETCH(int, bytesPerItem);
    Typing t;
    t.SetBytesPerItem(bytesPerItem);
    const std::uint64_t item = kBase + 0x2C;
    const CellMap cells = t.Cells();
    const int digits = 2 * bytesPerItem;
    const QPoint place(
        2 + t.widthPx * cells.ItemColumn(item), t.heightPx * int(cells.RowOfAddress(item)));
    // All of the item's cells but the lines of the box's frame.
    const QRect inside(place + QPoint(1, 1), QSize(t.widthPx * digits - 1, t.heightPx - 2));
    const QRect onView = inside.translated(t.view->viewport()->pos());
    const QString shown = t.Item(item);
    const QImage painted = t.view->grab(onView).toImage();
    t.ClickByte(item, 0);
    t.Type("0");
    t.overlay->SetEditText(shown, digits);
    QCOMPARE(t.overlay->geometry().topLeft(), t.view->viewport()->pos() + place);
    QCOMPARE(t.overlay->size(), QSize((bytesPerItem * t.widthPx + 2) * 2 + 1, t.heightPx + 4));
    QCOMPARE(t.view->grab(onView).toImage(), painted); // to the pixel
}

void MemEditingTest::typingRunsOnAcrossItemsAndRows()
{
    Typing t;
    t.ClickByte(kBase + 14, 0);
    t.Type("0123abCD"); // 14, 15, and on the next row 16 and 17
    QCOMPARE(t.overlay->text(), "CD");
    t.Press(Qt::Key_Return);
    QCOMPARE(t.Written(), "2000000E:0123ABCD");

    t.target.writes.clear();
    t.SetBytesPerItem(2);
    t.ClickByte(kBase + 3, 0); // the item shows its upper byte first
    t.Type("fedc9876");
    t.Press(Qt::Key_Return);
    QCOMPARE(t.Written(), "20000002:DCFE7698");

    // At the end of the page the page follows.
    t.target.writes.clear();
    t.SetBytesPerItem(1);
    const std::uint64_t last = kBase + (t.window.VisibleRows() - 1) * 16 - 1;
    t.ClickByte(last, 1);
    for (int i = 0; i < 80; ++i)
        t.Type("5");
    t.Press(Qt::Key_Return);
    QVERIFY(t.window.BaseAddress() > kBase);
    t.Written();
    QCOMPARE(t.target.writes.size(), std::size_t(1));
    QCOMPARE(t.target.writes[0].address, last);
    const QByteArray bytes = t.target.writes[0].written;
    QCOMPARE(bytes, "\xF5" + QByteArray(39, '\x55') + "\x50"); // ends half-way in F0
}

void MemEditingTest::theTextColumnTakesCharacters()
{
    Typing t;
    t.ClickByte(kBase + 14, -1);
    t.Type("Ab ~");
    QVERIFY(!t.overlay->isVisible());
    QVERIFY2(t.Row(0).endsWith("Ab"), "typed characters must show before they are written");
    QCOMPARE(t.Written(), "2000000E:4162207E");

    t.target.writes.clear();
    t.Press(Qt::Key_Backspace); // puts a zero where the cursor is and steps back
    t.Press(Qt::Key_Backspace);
    t.Press(Qt::Key_Return);
    t.Press(Qt::Key_F5);
    QTest::keyClick(t.view, Qt::Key_A, Qt::AltModifier);
    QCOMPARE(t.Written(), "20000011:0000");
    QKeyEvent letter(QEvent::KeyPress, Qt::Key_Udiaeresis, Qt::NoModifier, QString(QChar(0xFC)));
    QApplication::sendEvent(t.view, &letter);
    QKeyEvent euro(QEvent::KeyPress, 0, Qt::NoModifier, QString(QChar(0x20AC))); // no single byte
    QApplication::sendEvent(t.view, &euro);
    t.target.writes.clear();
    QCOMPARE(t.Written(), "20000010:FC");
}

void MemEditingTest::writesComeHalfASecondAfterTheLastKey()
{
    Typing t;
    t.ClickByte(kBase + 0x100, -1);
    QElapsedTimer clock;
    t.Type("A");
    clock.start();
    t.Type("B");
    t.ClickByte(kBase + 0x110, 0);
    t.Type("c");
    t.Press(Qt::Key_Return);
    QVERIFY(t.target.writes.empty());
    t.target.reads.clear();
    QTRY_VERIFY(!t.target.writes.empty());
    QVERIFY2(clock.elapsed() >= 490, "earlier than a pause in the typing");
    QCOMPARE(t.Writes(), "20000100:4142 20000110:C2");
    QCOMPARE(t.target.reads.size(), std::size_t(1)); // one look at what the target holds now
    QCOMPARE(t.Row(0x10).mid(10, 5), "41 42");
}

void MemEditingTest::whatEndsAnEdit()
{
    Typing t;
    const auto edit = [&t] {
        t.target.writes.clear();
        t.ClickByte(kBase, 0);
        t.Type("a");
        QVERIFY(t.overlay->isVisible());
    };
    edit();
    t.Press(Qt::Key_Escape);
    QVERIFY(!t.overlay->isVisible());
    QCOMPARE(t.Written(), "");

    edit();
    t.Press(Qt::Key_Down);
    QCOMPARE(t.Written(), "20000000:A2");
    t.target.Set(kBase, 0x12);
    t.window.UpdateFromTarget();

    edit();
    t.ClickByte(kBase + 0x20, 1); // the focus goes with the click
    QCOMPARE(t.Written(), "20000000:A2");

    edit();
    t.addressBox->setFocus();
    QVERIFY(!t.overlay->isVisible());
    QVERIFY2(t.addressBox->hasFocus(), "the click into the box must not be undone");
    QCOMPARE(t.Written(), "20000000:A2");
    t.view->setFocus();

    edit();
    t.window.ScrollRows(-3); // scrolling and resizing drop it
    QVERIFY(!t.overlay->isVisible());
    QCOMPARE(t.Written(), "");
    t.window.ScrollRows(3);
    edit();
    t.window.resize(t.window.width(), t.window.height() - 40);
    QApplication::processEvents();
    QVERIFY(!t.overlay->isVisible());
    QCOMPARE(t.Written(), "");

    edit();
    t.window.GoTo(kBase + 0x1000, true, true); // a jump keeps it
    QVERIFY(!t.overlay->isVisible());
    QCOMPARE(t.Written(), "20000000:A2");
}

void MemEditingTest::editsBuildOnWhatWasTypedBefore()
{
    Typing t;
    t.ClickByte(kBase, 0);
    t.Type("a");
    t.Press(Qt::Key_Return);
    QCOMPARE(t.Item(kBase), "A2"); // shown at once
    t.ClickByte(kBase, 1);
    t.Type("b"); // still before the write: the first digit must survive
    QCOMPARE(t.overlay->text(), "AB");
    t.Press(Qt::Key_Return);
    t.ClickByte(kBase + 1, -1);
    t.Type("x");
    QCOMPARE(t.Written(), "20000000:AB78");
}

void MemEditingTest::unreadableItemsStartFromTheTypedDigits()
{
    Typing t;
    t.target.unreadable = {kBase + 4};
    t.SetBytesPerItem(4);
    t.window.UpdateFromTarget();
    t.ClickByte(kBase + 4, 0);
    t.Press(Qt::Key_Backspace); // nothing is there to be erased
    QVERIFY(!t.overlay->isVisible());
    t.Type("7");
    QCOMPARE(t.overlay->text(), "7");
    t.Type("f");
    t.Press(Qt::Key_Return);
    QCOMPARE(t.Written(), "20000004:7F000000");
}

void MemEditingTest::theEndOfTheSpaceEndsTheTyping()
{
    Typing t;
    t.GoTo(0xFFFF'FFF0);
    t.ClickByte(0xFFFF'FFFF, 0);
    t.Type("1234");
    t.Press(Qt::Key_Return);
    QCOMPARE(t.Written().right(11), "FFFFFFFF:12");
    t.target.writes.clear();
    t.ClickByte(0xFFFF'FFFF, -1);
    t.Type("xy");
    QCOMPARE(t.Written(), "FFFFFFFF:79");
}

void MemEditingTest::aFailedWriteIsReportedAndTheTargetsBytesReturn()
{
    Typing t;
    t.ClickByte(kBase, 0);
    t.Type("a");
    t.Press(Qt::Key_Return);
    t.ClickByte(kBase + 0x20, 0);
    t.Type("b");
    t.Press(Qt::Key_Return);
    t.target.failWrites = true;
    QCOMPARE(t.Written(), "20000000:A2 20000020:B2"); // one failure does not stop the others
    QCOMPARE(t.target.messages,
        QStringList({"1: Failed to write target memory", "1: Failed to write target memory"}));
    QCOMPARE(t.Item(kBase), "12");
    QCOMPARE(t.Written(), "20000000:A2 20000020:B2"); // given up, not tried for ever
}

void MemEditingTest::typedChangesAreWrittenBeforeAnythingElseHappens()
{
    Typing t;
    t.ClickByte(kBase, 0);
    t.Type("a");
    t.window.SetZone("Data");
    QCOMPARE(t.target.writes.at(0).zone, ""); // the zone it was typed in
    t.ClickByte(kBase, 1);
    t.Type("b");
    t.window.close();
    QCOMPARE(t.Writes(), "20000000:A2 20000000:AB");
    QCOMPARE(t.target.writes.at(1).zone, "Data");

    Typing other;
    other.ClickByte(kBase, 0);
    other.Type("c");
    other.owner.reset();
    QCOMPARE(other.Writes(), "20000000:C2");
}

void MemEditingTest::ticksLeaveAnOpenEditAlone()
{
    Typing t;
    t.ClickByte(kBase + 0x21, 0);
    t.Type("a");
    t.overlay->setSelection(0, 1);
    const QRect place = t.overlay->geometry();
    for (int tick = 0; tick < 1000; ++tick) {
        t.target.Set(kBase + 0x21, std::uint8_t(tick));
        t.window.OnAutoUpdateTimerTimeout();
        QApplication::processEvents();
    }
    QVERIFY(t.overlay->isVisible() && t.overlay->hasFocus());
    QCOMPARE(t.overlay->text(), "A4");
    QCOMPARE(t.overlay->selectedText(), "A");
    QCOMPARE(t.overlay->geometry(), place);
    QCOMPARE(t.view->childAt(place.center()), t.overlay); // on top
    QCOMPARE(t.target.reads.size() >= 1000, true);
    QVERIFY(t.target.writes.empty());
}

void MemEditingTest::typingBringsTheCursorIntoView()
{
    Typing t;
    t.ClickByte(kBase + 0x10, 0);
    t.window.ScrollRows(-100);
    t.Type("f");
    QVERIFY(t.overlay->isVisible());
    QVERIFY(t.view->viewport()->geometry().contains(t.overlay->geometry().center()));
    t.Press(Qt::Key_Return);
    QCOMPARE(t.Written(), "20000010:F2");
}

QTEST_MAIN(MemEditingTest)
#include "tst_memediting.moc"
