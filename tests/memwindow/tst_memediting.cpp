// Typing into the memory window: from the key to the bytes in the target.

#include "memtestwindow.h"

namespace {

constexpr std::uint64_t kBase = 0x2000'0000;

/// A window at kBase over bytes 12 34 56 78 9A BC DE F0, repeated.
struct Typing : MemTestWindow {
    Typing()
    {
        constexpr std::uint64_t kBytes = 0xF0DE'BC9A'7856'3412;
        for (std::uint64_t i = 0; i < 4096; ++i)
            target.Set(kBase + i, std::uint8_t(kBytes >> (8 * (i % 8))));
        GoTo(kBase);
    }
    /// Types where the focus is: first into the view, then into the edit box. "\r" is Return,
    /// "\b" Backspace, "\x7F" Delete and "\x1B" Escape.
    static void Type(const char *keys)
    {
        for (; *keys != '\0'; ++keys) {
            if (*keys == '\x7F')
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Delete);
            else
                QTest::keyClick(QApplication::focusWidget(), *keys);
        }
    }
    void TypeAt(std::uint64_t address, int digit, const char *keys)
    {
        ClickByte(address, digit);
        Type(keys);
    }
    /// Lets the write-back come, as "address:bytes" for each write.
    QString Written()
    {
        window.OnEditUpdateTimerTimeout();
        return TakeWrites();
    }
};

} // namespace

class MemEditingTest : public QObject {
    Q_OBJECT

private slots:
    void digitsLandUnderTheCursor_data()
    {
        QTest::addColumn<int>("bytesPerItem");
        QTest::addColumn<bool>("bigEndian");
        QTest::addColumn<int>("byte");
        QTest::addColumn<int>("digit");
        QTest::addColumn<QByteArray>("keys");
        QTest::addColumn<QString>("text"); // of the edit box and its caret; none: not open
        QTest::addColumn<QString>("written");
        const auto row = [](const char *name, int bytesPerItem, bool bigEndian, int byte, int digit,
                             const char *keys, const char *text, const char *written) {
            QTest::newRow(name) << bytesPerItem << bigEndian << byte << digit << QByteArray(keys)
                                << QString(text) << QString(written);
        };
        row("no digit", 1, false, 0, 0, "g !\r", "", "");
        row("second digit of a byte", 1, false, 0, 1, "a", "1A 2", "20000000:1A");
        row("first digit of a byte", 1, false, 0, 0, "a", "A2 1", "20000000:A2");
        row("two bytes, lower one", 2, false, 0, 0, "a", "34A2 3", "20000000:A234");
        row("two bytes, upper one", 2, false, 1, 1, "a", "3A12 2", "20000000:123A");
        row("two bytes, big-endian", 2, true, 0, 0, "a", "A234 1", "20000000:A234");
        row("four bytes", 4, false, 6, 1, "a", "F0DABC9A 4", "20000004:9ABCDAF0");
        row("four bytes, big-endian", 4, true, 6, 1, "a", "9ABCDAF0 6", "20000004:9ABCDAF0");
        row("the largest value", 4, false, 3, 0, "fFfFfFfF", "FFFFFFFF 8", "20000000:FFFFFFFF");
        row("no digit inside", 2, false, 1, 0, "ag b", "AB12 2", "20000000:12AB");
        row("back into the digits", 2, false, 0, 0, "a\b\b", "3002 1", "20000000:0230");
        row("nothing left to erase", 1, false, 0, 0, "a\b\b\b", "02 0", "20000000:02");
        row("a deleted digit is a zero", 2, false, 1, 0, "a\x7F\x7F", "A012 1", "20000000:12A0");
        row("Backspace opens the box", 1, false, 0, 1, "\b", "10 1", "20000000:10");
        row("on into the next row", 1, false, 14, 0, "0123abCD", "CD 2", "2000000E:0123ABCD");
        row("on through items", 2, false, 3, 0, "fedc9876", "9876 4", "20000002:DCFE7698");
        row("characters", 1, false, 14, -1, "Ab ~", "", "2000000E:4162207E");
        row("erased characters", 1, false, 14, -1, "Ab\b\b", "", "2000000E:410000");
    }

    void digitsLandUnderTheCursor()
    {
        QFETCH(int, bytesPerItem);
        QFETCH(bool, bigEndian);
        QFETCH(int, byte);
        QFETCH(int, digit);
        QFETCH(QByteArray, keys);
        QFETCH(QString, text);
        Typing t;
        t.window.SetBytesPerItem(bytesPerItem);
        t.SetBigEndian(bigEndian);
        t.TypeAt(kBase + unsigned(byte), digit, keys.constData());
        QCOMPARE(t.overlay->isVisible() && t.overlay->hasFocus(), !text.isEmpty());
        if (!text.isEmpty()) {
            QCOMPARE(
                t.overlay->text() + QStringLiteral(" %1").arg(t.overlay->cursorPosition()), text);
            t.Type("\r");
        }
        QVERIFY(!t.overlay->isVisible() && t.view->hasFocus());
        QVERIFY(t.target.writes.empty());
        QTEST(t.Written(), "written");
    }

    void theBoxLiesOnTheDigits()
    {
        for (const int bytesPerItem : {1, 2, 4}) {
            Typing t;
            t.window.SetBytesPerItem(bytesPerItem);
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
            t.TypeAt(item, 0, "0");
            t.overlay->SetEditText(shown, digits);
            QCOMPARE(t.overlay->geometry(),
                QRect(t.view->viewport()->pos() + place,
                    QSize((bytesPerItem * t.widthPx + 2) * 2 + 1, t.heightPx + 4)));
            QCOMPARE(t.view->grab(onView).toImage(), painted); // to the pixel
        }
    }

    void markedDigitsAreReplacedInPlace()
    {
        Typing t;
        t.window.SetBytesPerItem(2);
        t.TypeAt(kBase + 1, 0, "a"); // A412
        t.overlay->setSelection(1, 2);
        t.Type("\x7F");
        QCOMPARE(t.overlay->text(), "A002");
        t.overlay->setSelection(1, 2);
        t.Type("f"); // replaces two digits by one
        QCOMPARE(t.overlay->Value(), 0xAF02);
    }

    void typingScrollsAtTheEndOfThePage()
    {
        Typing t;
        const std::uint64_t last = kBase + (t.window.VisibleRows() - 1) * 16 - 1;
        t.TypeAt(last, 1, QByteArray(80, '5').constData());
        t.Type("\r");
        QVERIFY(t.window.BaseAddress() > kBase);
        QCOMPARE(t.Written(), // one write that ends half-way in F0
            QString::number(last, 16).toUpper() + ":F5" + QString("55").repeated(39) + "50");
        t.window.ScrollRows(-100);
        t.Type("f"); // brings the cursor back into view
        QVERIFY(t.view->viewport()->geometry().contains(t.overlay->geometry().center()));
    }

    void onlySingleBytesAreCharacters()
    {
        Typing t;
        t.ClickByte(kBase, -1);
        for (const char16_t character : {u'\u00FC', u'\u20AC'}) { // the second is no single byte
            QKeyEvent key(QEvent::KeyPress, 0, Qt::NoModifier, QString(QChar(character)));
            QApplication::sendEvent(t.view, &key);
        }
        t.Key(Qt::Key_F5);
        t.Key(Qt::Key_A, Qt::AltModifier);
        QVERIFY2(t.Row(0).contains(u'\u00FC'), "what is typed shows before it is written");
        QCOMPARE(t.Written(), "20000000:FC");
    }

    void writesComeHalfASecondAfterTheLastKey()
    {
        Typing t;
        QElapsedTimer clock;
        t.TypeAt(kBase + 0x100, -1, "A");
        clock.start();
        t.Type("B");
        t.TypeAt(kBase + 0x110, 0, "c\r");
        QVERIFY(t.target.writes.empty());
        t.target.reads.clear();
        QTRY_VERIFY(!t.target.writes.empty());
        QVERIFY2(clock.elapsed() >= 490, "earlier than a pause in the typing");
        QCOMPARE(t.TakeWrites(), "20000100:4142 20000110:C2");
        QCOMPARE(t.target.reads.size(), 1U); // one look at what the target holds now
        QCOMPARE(t.Row(0x10).mid(10, 5), "41 42");
    }

    void whatEndsAnEdit()
    {
        using End = void (*)(Typing &);
        const std::vector<std::tuple<const char *, End, bool>> ends{// and whether it is kept
            {"Return", [](Typing &t) { t.Type("\r"); }, true},
            {"Enter", [](Typing &t) { QTest::keyClick(t.overlay, Qt::Key_Enter); }, true},
            {"Tab", [](Typing &t) { t.Type("\t"); }, true},
            {"Down", [](Typing &t) { QTest::keyClick(t.overlay, Qt::Key_Down); }, true},
            {"Page Up", [](Typing &t) { QTest::keyClick(t.overlay, Qt::Key_PageUp); }, true},
            {"Escape", [](Typing &t) { t.Type("\x1B"); }, false},
            {"a click elsewhere", [](Typing &t) { t.ClickByte(kBase + 0x20, 1); }, true},
            {"a jump", [](Typing &t) { t.window.GoTo(kBase + 0x1000, true, true); }, true},
            {"another control",
                [](Typing &t) {
                    t.addressBox->setFocus();
                    QVERIFY2(t.addressBox->hasFocus(), "the click into the box must not be undone");
                    t.view->setFocus();
                },
                true},
            {"another item size", [](Typing &t) { t.Trigger("View2ByteItems"); }, true},
            {"scrolling", [](Typing &t) { t.window.ScrollRows(-3); }, false},
            {"resizing",
                [](Typing &t) {
                    t.window.resize(t.window.width(), t.window.height() - 40);
                    QApplication::processEvents();
                },
                false}};
        for (const auto &[name, end, isKept] : ends) {
            Typing t;
            t.TypeAt(kBase, 0, "a");
            QSignalSpy closed(t.overlay, &CEditOverlay::Closed);
            end(t);
            QVERIFY2(!t.overlay->isVisible() && t.view->hasFocus(), name);
            QVERIFY2(closed.size() <= 1, name);
            QCOMPARE(t.Written() + name, (isKept ? QString("20000000:A2") : QString()) + name);
        }
    }

    void keysThatTheEditBoxHasNoUseForMoveTheCursor()
    {
        const std::pair<Qt::Key, std::uint64_t> keys[]
            = {{Qt::Key_Down, kBase + 0x20}, {Qt::Key_Up, kBase}};
        for (const auto &[key, address] : keys) {
            Typing t;
            t.TypeAt(kBase + 0x10, 0, "a");
            QTest::keyClick(QApplication::focusWidget(), key);
            t.Type("c");
            t.Type("\r");
            const QString written = t.Written();
            QVERIFY2(written.contains(QString::number(address, 16) + ':'), qPrintable(written));
        }
    }

    void editsBuildOnWhatWasTypedBefore()
    {
        Typing t;
        t.TypeAt(kBase, 0, "a\r");
        QCOMPARE(t.Item(kBase), "A2"); // shown at once
        t.TypeAt(kBase, 1, "b");       // still before the write: the first digit must survive
        QCOMPARE(t.overlay->text(), "AB");
        t.Type("\r");
        t.TypeAt(kBase + 1, -1, "x");
        QCOMPARE(t.Written(), "20000000:AB78");
    }

    void unreadableItemsStartFromTheTypedDigits()
    {
        Typing t;
        t.target.unreadable = {kBase + 4};
        t.window.SetBytesPerItem(4);
        t.window.UpdateFromTarget();
        t.TypeAt(kBase + 4, 0, "\b"); // nothing is there to be erased
        QVERIFY(!t.overlay->isVisible());
        t.Type("7f");
        QCOMPARE(t.overlay->text(), "7F");
        t.Type("\r");
        QCOMPARE(t.Written(), "20000004:7F000000");
    }

    void onlyWhatWasTypedIsWrittenOfAPartlyReadItem_data()
    {
        QTest::addColumn<QByteArray>("keys"); // on the first digit of BC42--4F
        QTest::addColumn<QString>("shown");   // in the edit box
        QTest::addColumn<QString>("written");
        QTest::newRow("one digit") << QByteArray("a") << "AC42--4F"
                                   << "20000007:AC";
        QTest::newRow("up to the hole") << QByteArray("1234") << "1234--4F"
                                        << "20000006:3412";
        QTest::newRow("into the hole") << QByteArray("12345") << "12345-4F"
                                       << "20000005:503412";
        QTest::newRow("all of it") << QByteArray("1234567a") << "1234567A"
                                   << "20000004:7A563412";
    }

    void onlyWhatWasTypedIsWrittenOfAPartlyReadItem()
    {
        QFETCH(QByteArray, keys);
        QFETCH(QString, shown);
        Typing t;
        const std::array<std::uint8_t, 4> bytes{0x4F, 0, 0x42, 0xBC};
        for (std::size_t i = 0; i < bytes.size(); ++i)
            t.target.Set(kBase + 4 + i, bytes[i]);
        t.target.unreadable = {kBase + 5};
        t.window.SetBytesPerItem(4);
        t.window.UpdateFromTarget();
        QCOMPARE(t.Item(kBase + 4), "BC42--4F");
        t.TypeAt(kBase + 7, 0, keys.constData());
        QString digits; // as they are painted
        for (const PaintRecorder::Text &text : PaintRecorder::Record(*t.overlay))
            digits += text.text;
        QCOMPARE(digits, shown);
        t.Type("\r");
        QTEST(t.Written(), "written");
    }

    void theEndOfTheSpaceEndsTheTyping()
    {
        Typing t;
        t.GoTo(0xFFFF'FFF0);
        t.TypeAt(0xFFFF'FFFF, 0, "1234\r");
        QCOMPARE(t.Written(), "FFFFFFFF:12");
        t.TypeAt(0xFFFF'FFFF, -1, "xy");
        QCOMPARE(t.Written(), "FFFFFFFF:79");
    }

    void aFailedWriteIsReportedAndTheTargetsBytesReturn()
    {
        Typing t;
        t.TypeAt(kBase, 0, "a\r");
        t.TypeAt(kBase + 0x20, 0, "b\r");
        t.target.failWrites = true;
        QCOMPARE(t.Written(), "20000000:A2 20000020:B2"); // one failure does not stop the others
        QCOMPARE(t.target.messages.join(u'|'),
            "1: Failed to write target memory|1: Failed to write target memory");
        QCOMPARE(t.Item(kBase), "12");
        QCOMPARE(t.Written(), ""); // given up, not tried for ever
    }

    void typedChangesAreWrittenBeforeAnythingElseHappens()
    {
        Typing t;
        t.TypeAt(kBase, 0, "a");
        t.window.SetZone("Data");
        QCOMPARE(t.target.writes.at(0).zone, ""); // the zone it was typed in
        t.TypeAt(kBase, 1, "b");
        t.window.SetAccessWidth(4);
        QCOMPARE(int{t.target.writes.at(1).accessWidth}, 0); // the width it was typed with
        t.TypeAt(kBase + 1, 0, "c");
        t.window.close();
        QCOMPARE(t.target.writes.at(2).zone, "Data");
        QCOMPARE(t.TakeWrites(), "20000000:A2 20000000:AB 20000001:C4");

        Typing pointer;
        pointer.window.SetBytesPerItem(4);
        pointer.TypeAt(kBase + 3, 0, "00001240\r");
        pointer.Key(Qt::Key_D, Qt::ControlModifier); // follows what was typed, not what was there
        QCOMPARE(pointer.window.BaseAddress(), 0x1240U);
        pointer.target.reads.clear();
        pointer.GoTo(0xFFFF'FFF0);
        pointer.window.SetBytesPerItem(1);
        pointer.Key(Qt::Key_Escape);
        pointer.ClickByte(0xFFFF'FFFE);
        pointer.target.reads.clear();
        pointer.Key(Qt::Key_D, Qt::ControlModifier); // no pointer fits there
        QVERIFY(pointer.target.reads.empty());

        Typing other;
        other.TypeAt(kBase, 0, "c");
        other.owner.reset();
        QCOMPARE(other.TakeWrites(), "20000000:C2");
    }

    void ticksLeaveAnOpenEditAlone()
    {
        Typing t;
        t.TypeAt(kBase + 0x21, 0, "a");
        t.overlay->setSelection(0, 1);
        const QRect place = t.overlay->geometry();
        t.target.reads.clear();
        for (int tick = 0; tick < 1000; ++tick) {
            t.target.Set(kBase + 0x21, std::uint8_t(tick));
            t.Tick();
        }
        QVERIFY(t.overlay->isVisible() && t.overlay->hasFocus());
        QCOMPARE(t.overlay->text() + t.overlay->selectedText(), "A4A");
        QCOMPARE(t.overlay->geometry(), place);
        QCOMPARE(t.view->childAt(place.center()), t.overlay); // on top
        QCOMPARE(t.target.reads.size(), 1000U);
        QVERIFY(t.target.writes.empty());
    }
};

QTEST_MAIN(MemEditingTest)
#include "tst_memediting.moc"
