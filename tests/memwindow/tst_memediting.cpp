// The cursor and typing: from keys and mouse to the cells on the screen and the target's bytes.

#include "memscript.h"

class MemEditingTest : public QObject {
    Q_OBJECT

private slots:
    void digitsLandUnderTheCursor_data()
    {
        AddRows<Script>({{"no digit", "click @34.0; type g !", "closed|"},
            {"second digit", "click @34.1; type a", "3A 2|@34:3A"},
            {"first digit", "click @34.0; type a", "A4 1|@34:A4"},
            {"lower of two", "size 2; click @34.0; type a", "35A4 3|@34:A435"},
            {"upper of two", "size 2; click @35.1; type a", "3A34 2|@34:343A"},
            {"two, big-endian", "size 2; big; click @34.0; type a", "A435 1|@34:A435"},
            {"of four", "size 4; click @36.1; type a", "373A3534 4|@34:34353A37"},
            {"four, big-endian", "size 4; big; click @36.1; type a", "34353A37 6|@34:34353A37"},
            {"the largest value", "size 4; click @37.0; type fFfFfFfF", "FFFFFFFF 8|@34:FFFFFFFF"},
            {"no digit inside", "size 2; click @35.0; type ag b", "AB34 2|@34:34AB"},
            {"back into the digits", "size 2; click @34.0; type a<<", "3004 1|@34:0430"},
            {"nothing left to erase", "click @34.0; type a<<<", "04 0|@34:04"},
            {"a deleted digit is 0", "size 2; click @35.0; type a>>", "A034 1|@34:34A0"},
            {"Backspace opens the box", "click @34.1; type <", "30 1|@34:30"},
            {"into the next row", "click @3E.0; type 0123abCD", "CD 2|@3E:0123ABCD"},
            {"through items", "size 2; click @37.0; type fedc9876", "9876 4|@36:DCFE7698"},
            {"characters", "click @3E.t; type Ab ~", "closed|@3E:4162207E"},
            {"erased characters", "click @3E.t; type Ab<<", "closed|@3E:410000"},
            {"marked digits",
                "size 2; click @35.0; type a; key Right; key Right; key Shift+Left; key "
                "Shift+Left; type >",
                "A004 1|@34:04A0"},
            {"two digits by one",
                "size 2; click @35.0; type a; key Shift+Right; key Shift+Right; type f",
                "AF04 2|@34:04AF"},
            {"at the end of the space", "goto FFFFFFF0; click FFFFFFFF.0; type 1234",
                "12 2|FFFFFFFF:12"},
            {"a character there", "goto FFFFFFF0; click FFFFFFFF.t; type xy",
                "closed|FFFFFFFF:79"}});
    }

    void digitsLandUnderTheCursor()
    {
        QFETCH(const Script, row);
        MemScript script;
        const QString box = script.Run(QStringLiteral("%1; box?").arg(row.steps));
        QCOMPARE(script.Run("type =; box?; sent?"), "closed|");
        QCOMPARE(box + u'|' + script.Run("written?"), row.answers);
    }

    void whatEndsAnEdit_data()
    {
        AddRows<Script>({{"Return", "key Return", "closed|@34:A4"},
            {"Enter", "key Enter", "closed|@34:A4"}, {"Tab", "key Tab", "closed|@34:A4"},
            {"Down", "key Down", "closed|@34:A4"}, {"Page Up", "key PgUp", "closed|@34:A4"},
            {"Escape", "key Esc", "closed|"}, {"a click elsewhere", "click @50.1", "closed|@34:A4"},
            {"a jump", "jump 20001000", "closed|@34:A4"},
            {"another control", "focus pEditBoxAddr; box?; focus pTextEditor",
                "focus lost|closed|@34:A4"},
            {"another item size", "do View2ByteItems", "closed|@34:A4"},
            {"scrolling", "scroll -3", "closed|"}, {"resizing", "shrink; wait", "closed|"}});
    }

    void whatEndsAnEdit()
    {
        QFETCH(const Script, row);
        const QString steps = QStringLiteral("click @34.0; type a; %1; box?; written?");
        QCOMPARE(MemScript().Run(steps.arg(row.steps)), row.answers);
    }

    void bytesAreWrittenAsTheyWereTyped_data()
    {
        AddRows<Script>(
            {{"on the page's last byte",
                 "click @13F.1; type 555555555; base?; type =; written?; scroll -100; type f; box?",
                 "@10|@13F:3555555555|5F 2"},
                {"single bytes alone", "click @34.t; type ü€; row? 3; key F5; key Alt+A; written?",
                    "20000030  30 31 32 33 FC 35 36 37  38 39 3A 3B 3C 3D 3E 3F  "
                    "0123ü56789:;<=>?|@34:FC"},
                {"in the next rows",
                    "click @40.0; type a; key Down; type b; key Up; type c=; written?",
                    "@40:AC @50:5B"},
                {"over what was typed before",
                    "click @34.0; type a=; item? @34; click @34.1; type b; box?; type =; click "
                    "@35.t; type x; written?",
                    "A4|AB 2|@34:AB78"},
                {"over an unread item",
                    "bad @34; size 4; click @34.0; type <; box?; type 7f; box?; type =; written?",
                    "closed|7F 2|@34:7F000000"},
                {"one digit beside a hole",
                    "bad @35; size 4; item? @34; click @37.0; type a; box?; type =; written?",
                    "3736--34|A736--34 1|@37:A7"},
                {"a second digit", "bad @35; size 4; click @37.1; type a=; written?", "@37:3A"},
                {"up to the hole",
                    "bad @35; size 4; click @37.0; type 1234; box?; type =; written?",
                    "1234--34 4|@36:3412"},
                {"into the hole",
                    "bad @35; size 4; click @37.0; type 12345; box?; type =; written?",
                    "12345-34 5|@35:503412"},
                {"over the hole",
                    "bad @35; size 4; click @37.0; type 1234567a; box?; type =; written?",
                    "1234567A 8|@34:7A563412"},
                {"where nothing can be written", // given up, not tried for ever
                    "click @34.0; type a=; click @50.0; type b=; readonly; written?; messages?; "
                    "failed?; item? @34; written?",
                    "@34:A4 @50:B0|1: Failed to write target memory|1: Failed to write target "
                    "memory|Edit: Failed to write target memory|34|"},
                {"before zone, width and close count",
                    "click @34.0; type a; zone Data; sent?; click @34.1; type b; width 4; sent?; "
                    "click @35.0; type c; close; sent?",
                    "@34:A4|@34:AB@Data|@35:C5/4@Data"},
                {"while the target changes it",
                    "click @31; type a; key Shift+Left; ticks; box?; key Del; type 7=; written?",
                    "A1 0|@31:71"},
                {"before the window goes", "click @34.0; type a; destroy; sent?", "@34:A4"}});
    }

    void bytesAreWrittenAsTheyWereTyped() { RunScript(); }

    void theCursorComesIntoSight_data()
    {
        AddRows<Script>({{"Up", "", "1:10 1:60|@130:A0"}, {"Down", "", "1:10 1:60|@140:A0"},
            {"Left", "", "0:57 0:75|@12F:2A"}, {"Right", "", "0:11 0:60|@130:3A"},
            {"Home", "", "0:10 0:60|@130:A0"}, {"End", "", "0:57 0:75|@13F:3A"}});
    }

    void theCursorComesIntoSight()
    {
        QFETCH(const Script, row);
        for (const char *scrolled : {"-100", "100"}) {
            const QString steps = QStringLiteral(
                "goto @100; click @130; scroll %1; key %2; cursor?; type a=; written?");
            QCOMPARE(MemScript().Run(steps.arg(scrolled, row.name)), row.answers);
        }
    }

    void cursorAndSelection_data()
    {
        AddRows<Script>({{"keys of others",
                             "goto 1000; scroll -100; reads?; key F5; key CapsLock; key Z; key "
                             "Ins; key Alt+Left; key Meta+Down; key Alt+Home; key Ctrl+A; hold "
                             "Shift; release Shift; reads?; base?; box?",
                             "1640+150||1640|closed"},
            {"the last row",
                "key Ctrl+End; cursor?; key Ctrl+Home; base?; click 140; key Right; base?",
                "19:57 19:75|0|10"},
            {"the digits of bytes", "key Home; keys Right 5; cursor?; keys Left 2; cursor?",
                "0:17 0:62|0:14 0:61"},
            {"of halves", "size 2; key Home; keys Right 5; type a; box?", "0A02 2"},
            {"of words", "size 4; key Home; keys Right 8; cursor?; key Left; type f; box?",
                "0:19 0:55|0302010F 8"},
            {"of words, big-endian",
                "size 4; big; key Home; keys Right 8; cursor?; key Left; type f; box?",
                "0:19 0:52|0001020F 8"},
            {"characters",
                "click @E.t; key Right; key Right; cursor?; key Left; cursor?; key Home; cursor?; "
                "key End; cursor?",
                "1:11 1:60|0:57 0:75|0:11 0:60|0:57 0:75"},
            {"the ends of a row",
                "size 4; click @14.1; key End; cursor?; key Home; cursor?; big; key End; cursor?; "
                "key Home; cursor?",
                "1:45 1:60|1:10 1:51|1:45 1:63|1:10 1:48"},
            {"over the lower edge",
                "click @13F.1; key Right; base?; cursor?; click @140; key Down; base?; cursor?",
                "@10|19:10 19:60|@20|18:10 18:60"},
            {"pages near 0",
                "goto 20; click 45; key PgUp; base?; cursor?; key PgUp; base?; cursor?; key "
                "Ctrl+Home; key Up; key Left; base?; cursor?",
                "0|2:25 2:65|0|2:25 2:65|0|0:10 0:60"},
            {"pages near the end",
                "goto FFFFFE00; click FFFFFE13; key PgDown; base?; cursor?; key PgDown; base?; "
                "cursor?; key Ctrl+End; key Down; key Right; base?; cursor?",
                "FFFFFF40|1:19 1:63|FFFFFF40|1:19 1:63|FFFFFEC0|19:57 19:75"},
            {"a small move selects nothing", "press @12; cursor?; move by 5; selected?",
                "1:16 1:62|"},
            {"the mouse", // the cursor's cells lie on top of the selection
                "press @12; move @13.1; selected?; lift; press @14 Shift; lift; selected?; key "
                "Esc; selected?; cursor?",
                "1:16 1:17 1:18 1:19 1:62|1:16 1:17 1:18 1:19 1:20 1:21 1:23 1:62 1:63||1:22 1:64"},
            {"both ways by keys",
                "size 2; hold Shift; hold Shift+Down; hold Shift+Up; selected?; click @40; release "
                "Shift; selected?",
                "0:10 0:11 0:13 0:53|0:10 0:11 0:12 0:13 0:52 0:53"},
            {"Shift alone", // what was selected comes back
                "press @12; move @14; lift; hold Shift; selected?; release Shift; selected?; hold "
                "Shift; type B; selected?; hold Shift; box?; selected?",
                "1:23|1:16 1:17 1:18 1:19 1:20 1:21 1:23 1:62 1:63|1:16 1:17 1:18 1:19 1:20 1:21 "
                "1:23 1:62 1:63|B4 1|1:16 1:17 1:18 1:19 1:20 1:21 1:23 1:62 1:63"},
            {"jumps stay in the space",
                "set FFFFFEB0 12; goto @A05; cursor?; jump FFFFFFF8; base?; reads?; jump "
                "100000000; base?; jump FFFFFFFFFFFFFFFF; base?; reads?; type a=; written?",
                "0:10 0:60|FFFFFFF0|FFFFFFF0+10|FFFFFFF0|FFFFFFF0|FFFFFFF0+10 "
                "FFFFFFF0+10|FFFFFEB0:A2"}});
    }

    void cursorAndSelection() { RunScript(); }

    void theViewScrollsUnderASelectionBeyondIt()
    {
        MemTestWindow w;
        w.GoTo(0x1000);
        w.Mouse(QEvent::MouseButtonPress, w.CellCentre(1, 16));
        w.Mouse(QEvent::MouseMove, w.CellCentre(2, 20));
        QCursor::setPos(w.view->viewport()->mapToGlobal(QPoint(100, 40)));
        w.window.OnAutoScrollSelectionTimerTimeout();
        QCOMPARE(w.window.BaseAddress(), 0x1000U); // not within the view
        std::uint64_t base = 0x1010;
        for (const int yPx : {w.view->height() + 30, -30, -30}) {
            QCursor::setPos(w.view->viewport()->mapToGlobal(QPoint(100, yPx)));
            w.window.OnAutoScrollSelectionTimerTimeout();
            QCOMPARE(w.window.BaseAddress(), base);
            base -= 16;
        }
    }

    void theBoxLiesOnTheDigits()
    {
        for (const int bytesPerItem : {1, 2, 4}) {
            MemTestWindow w;
            w.window.SetBytesPerItem(bytesPerItem);
            const std::uint64_t item = kBase + 0x2C;
            const CellMap cells = w.Cells();
            const int digits = 2 * bytesPerItem;
            const QPoint place(
                2 + w.widthPx * cells.ItemColumn(item), w.heightPx * int(cells.RowOfAddress(item)));
            // All of the item's cells but the lines of the box's frame.
            const QRect inside(place + QPoint(1, 1), QSize(w.widthPx * digits - 1, w.heightPx - 2));
            const QRect onView = inside.translated(w.view->viewport()->pos());
            const QString shown = w.Item(item);
            const QImage painted = w.view->grab(onView).toImage();
            w.ClickByte(item);
            QTest::keyClick(w.view, '0');
            w.overlay->SetEditText(shown, digits);
            QCOMPARE(w.overlay->geometry(),
                QRect(w.view->viewport()->pos() + place,
                    QSize((bytesPerItem * w.widthPx + 2) * 2 + 1, w.heightPx + 4)));
            QCOMPARE(w.view->grab(onView).toImage(), painted); // to the pixel
        }
    }

    void writesComeHalfASecondAfterTheLastKey()
    {
        MemScript t;
        t.Run("click @100.t; type A");
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(t.Run("type B; click @110; type c=; sent?; reads?"), "|");
        QTRY_VERIFY(!t.target.writes.empty());
        QVERIFY2(clock.elapsed() >= 490, "earlier than a pause in the typing");
        QCOMPARE(t.Run("sent?; reads?; item? @101"),
            "@100:4142 @110:C0|@0+150|42"); // one look at what the target holds now
    }
};

QTEST_MAIN(MemEditingTest)
#include "tst_memediting.moc"
