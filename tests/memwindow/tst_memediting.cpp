// The cursor and typing: from keys and mouse to the cells on the screen and the target's bytes.

#include "memscript.h"

namespace {

constexpr const char *kDigits = R"(
no digit: click @34.0; type g !; box? -> closed; type =; written? ->
second digit: click @34.1; type a; box? -> 3A 2; type =; written? -> @34:3A
first digit: click @34.0; type a; box? -> A4 1; type =; written? -> @34:A4
two, big-endian: size 2; big; click @34.0; type a; box? -> A435 1; type =; written? -> @34:A435
of four: size 4; click @36.1; type a; box? -> 373A3534 4; type =; written? -> @34:34353A37
the largest value: size 4; click @37.0; type fFfFfFfF; box? -> FFFFFFFF 8; type =;
    written? -> @34:FFFFFFFF
back into the digits: size 2; click @34.0; type a<<; box? -> 3004 1; type =; written? -> @34:0430
nothing left to erase: click @34.0; type a<<<; box? -> 04 0; type =; written? -> @34:04
a deleted digit is 0: size 2; click @35.0; type a>>; box? -> A034 1; type =; written? -> @34:34A0
Backspace opens the box: click @34.1; type <; box? -> 30 1; type =; written? -> @34:30
into the next row: click @3E.0; type 0123abCD; box? -> CD 2; type =; written? -> @3E:0123ABCD
through items: size 2; click @37.0; type fedc9876; box? -> 9876 4; type =; written? -> @36:DCFE7698
characters: click @3E.t; type Ab ~; box? -> closed; type =; written? -> @3E:4162207E
two digits by one: size 2; click @35.0; type a; key Shift+Right; key Shift+Right; type f;
    box? -> AF04 2; type =; written? -> @34:04AF
at the end of the space: goto FFFFFFF0; click FFFFFFFF.0; type 1234; box? -> 12 2; type =;
    written? -> FFFFFFFF:12
a character there: goto FFFFFFF0; click FFFFFFFF.t; type xy; box? -> closed; type =;
    written? -> FFFFFFFF:79
)";

constexpr const char *kEnds = R"(
Return: click @34.0; type a; key Return; box? -> closed; written? -> @34:A4
Escape: click @34.0; type a; key Esc; box? -> closed; written? ->
a click elsewhere: click @34.0; type a; click @50.1; box? -> closed; written? -> @34:A4
a jump: click @34.0; type a; jump 20001000; box? -> closed; written? -> @34:A4
another control: click @34.0; type a; focus pEditBoxAddr; box? -> focus lost; focus pTextEditor;
    box? -> closed; written? -> @34:A4
another item size: click @34.0; type a; do View2ByteItems; box? -> closed; written? -> @34:A4
scrolling: click @34.0; type a; scroll -3; box? -> closed; written? ->
resizing: click @34.0; type a; resize 118 18; wait; box? -> closed; written? ->
)";

constexpr const char *kTyped = R"(
on the page's last byte: click @13F.1; type 555555555; base? -> @10; type =;
    written? -> @13F:3555555555; scroll -100; type f; box? -> 5F 2
single bytes alone: click @34.t; type ü€; row? 3 -> 20000030  30 31 32 33 FC 35 36 37  38 39 3A 3B
    3C 3D 3E 3F  0123ü56789:;<=>?; key F5; key Alt+A; written? -> @34:FC
in the next rows: click @40.0; type a; key Down; type b; key Up; type c=; written? -> @40:AC @50:5B
over what was typed before: click @34.0; type a=; item? @34 -> A4; click @34.1; type b;
    box? -> AB 2; type =; click @35.t; type x; written? -> @34:AB78
over an unread item: bad @34; size 4; click @34.0; type <; box? -> closed; type 7f; box? -> 7F 2;
    type =; written? -> @34:7F000000
one digit beside a hole: bad @35; size 4; item? @34 -> 3736--34; click @37.0; type a;
    box? -> A736--34 1; type =; written? -> @37:A7
into the hole: bad @35; size 4; click @37.0; type 12345; box? -> 12345-34 5; type =;
    written? -> @35:503412
over the hole: bad @35; size 4; click @37.0; type 1234567a; box? -> 1234567A 8; type =;
    written? -> @34:7A563412
where nothing can be written: click @34.0; type a=; click @50.0; type b=; readonly;
    written? -> @34:A4 @50:B0; messages? -> 1: Failed to write target memory|1: Failed to write
    target memory; failed? -> Edit: Failed to write target memory; item? @34 -> 34; written? ->
before zone, width and close count: click @34.0; type a; zone Data; sent? -> @34:A4; click @34.1;
    type b; width 4; sent? -> @34:AB@Data; click @35.0; type c; close; sent? -> @35:C5/4@Data
while the target changes it: click @31; type a; key Shift+Left; ticks; box? -> A1 0; key Del;
    type 7=; written? -> @31:71
before the window goes: click @34.0; type a; destroy; sent? -> @34:A4
)";

constexpr const char *kCursor = R"(
keys of others: goto 1000; scroll -100; reads? -> 1640+150; key F5; key CapsLock; key Z; key Ins;
    key Alt+Left; key Meta+Down; key Alt+Home; key Ctrl+A; hold Shift; release Shift; reads? ->;
    base? -> 1640; box? -> closed
the last row: key Ctrl+End; cursor? -> 19:57 19:75; key Ctrl+Home; base? -> 0; click 140; key Right;
    base? -> 10
the digits of bytes: key Home; keys Right 5; cursor? -> 0:17 0:62; keys Left 2; cursor? -> 0:14 0:61
of words, big-endian: size 4; big; key Home; keys Right 8; cursor? -> 0:19 0:52; key Left; type f;
    box? -> 0001020F 8
characters: click @E.t; key Right; key Right; cursor? -> 1:11 1:60; key Left; cursor? -> 0:57 0:75;
    key Home; cursor? -> 0:11 0:60; key End; cursor? -> 0:57 0:75
the ends of a row: size 4; click @14.1; key End; cursor? -> 1:45 1:60; key Home;
    cursor? -> 1:10 1:51; big; key End; cursor? -> 1:45 1:63; key Home; cursor? -> 1:10 1:48
over the lower edge: click @13F.1; key Right; base? -> @10; cursor? -> 19:10 19:60; click @140;
    key Down; base? -> @20; cursor? -> 18:10 18:60
pages near 0: goto 20; click 45; key PgUp; base? -> 0; cursor? -> 2:25 2:65; key PgUp; base? -> 0;
    cursor? -> 2:25 2:65; key Ctrl+Home; key Up; key Left; base? -> 0; cursor? -> 0:10 0:60
pages near the end: goto FFFFFE00; click FFFFFE13; key PgDown; base? -> FFFFFF40;
    cursor? -> 1:19 1:63; key PgDown; base? -> FFFFFF40; cursor? -> 1:19 1:63; key Ctrl+End;
    key Down; key Right; base? -> FFFFFEC0; cursor? -> 19:57 19:75
a small move selects nothing: press @12; cursor? -> 1:16 1:62; move by 5; selected? ->
the mouse: press @12; move @13.1; selected? -> 1:16 1:17 1:18 1:19 1:62; lift; press @14 Shift;
    lift; selected? -> 1:16 1:17 1:18 1:19 1:20 1:21 1:23 1:62 1:63; key Esc; selected? ->;
    cursor? -> 1:22 1:64
both ways by keys: size 2; hold Shift; hold Shift+Down; hold Shift+Up;
    selected? -> 0:10 0:11 0:13 0:53; click @40; release Shift;
    selected? -> 0:10 0:11 0:12 0:13 0:52 0:53
Shift alone: press @12; move @14; lift; hold Shift; selected? -> 1:23; release Shift;
    selected? -> 1:16 1:17 1:18 1:19 1:20 1:21 1:23 1:62 1:63; hold Shift; type B;
    selected? -> 1:16 1:17 1:18 1:19 1:20 1:21 1:23 1:62 1:63; hold Shift; box? -> B4 1;
    selected? -> 1:16 1:17 1:18 1:19 1:20 1:21 1:23 1:62 1:63
a pull beyond the view scrolls it: goto 1000; press 1012; move 1022; pull 40; base? -> 1000;
    pull 450; base? -> 1010; pull -30; base? -> 1000; pull -30; base? -> FF0
jumps stay in the space: set FFFFFEB0 12; goto @A05; cursor? -> 0:10 0:60; jump FFFFFFF8;
    base? -> FFFFFFF0; reads? -> FFFFFFF0+10; jump 100000000; base? -> FFFFFFF0;
    jump FFFFFFFFFFFFFFFF; base? -> FFFFFFF0; reads? -> FFFFFFF0+10 FFFFFFF0+10; type a=;
    written? -> FFFFFEB0:A2
in sight again, Up: goto @100; click @130; scroll -100; key Up; cursor? -> 1:10 1:60; type a=;
    written? -> @130:A0
in sight again, Up from below: goto @100; click @130; scroll 100; key Up; cursor? -> 1:10 1:60;
    type a=; written? -> @130:A0
in sight again, Down: goto @100; click @130; scroll -100; key Down; cursor? -> 1:10 1:60; type a=;
    written? -> @140:A0
)";

} // namespace

class MemEditingTest : public QObject {
    Q_OBJECT

private slots:
    void digitsLandUnderTheCursor_data() { AddScripts(kDigits); }
    void digitsLandUnderTheCursor() { RunScript(); }

    void whatEndsAnEdit_data() { AddScripts(kEnds); }
    void whatEndsAnEdit() { RunScript(); }

    void bytesAreWrittenAsTheyWereTyped_data() { AddScripts(kTyped); }
    void bytesAreWrittenAsTheyWereTyped() { RunScript(); }

    void cursorAndSelection_data() { AddScripts(kCursor); }
    void cursorAndSelection() { RunScript(); }

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
        t.Run("type B; click @110; type c=");
        QVERIFY(t.target.writes.empty());
        QTRY_VERIFY(!t.target.writes.empty());
        QVERIFY2(clock.elapsed() >= 490, "earlier than a pause in the typing");
        QCOMPARE(t.Do("sent?"), "sent? -> @100:4142 @110:C0");
        QCOMPARE(t.Do("reads?"), "reads? -> @0+150"); // one read of what the target holds now
        QCOMPARE(t.Do("item? @101"), "item? @101 -> 42");
    }
};

QTEST_MAIN(MemEditingTest)
#include "tst_memediting.moc"
