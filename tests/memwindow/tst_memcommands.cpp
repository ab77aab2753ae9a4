// The commands of menu and tool bar: copying and pasting, jumps, the refresh, sizes and zones; and
// what a window saves of them and reads back, also from a damaged settings file.

#include "memscript.h"
#include "windowsettings.h"

namespace {

constexpr const char *kClipboard = R"(
rows are read for texts: select @53 @4E; do Copy; clip? -> 4E 4F\n50 51 52 53; messages? -> 0:
    Memory selection copied to the clipboard (format=hex); reads? -> @40+10 @50+10
text: select @53 @4E; do CopyText; clip? -> NOPQRS
bytes are read at once: select @53 @4E; do CopyBinary; binary? -> 4e4f50515253; reads? -> @4E+6
whole little-endian items: select @40 @44; size 4; big; do CopyIntList; clip? -> 0x43424140
over a group and an item's end: select @44 @49; do CopyIntList;
    clip? -> 0x44, 0x45, 0x46, 0x47, 0x48, 0x49; size 2; select @44 @49; do Copy;
    clip? -> 4544 4746  4948; big; do Copy; clip? -> 4445 4647  4849
a full row ends in a break: select @40 @4F; do CopyIntList; clip? -> 0x40, 0x41, 0x42, 0x43, 0x44,
    0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x4B, 0x4C, 0x4D, 0x4E, 0x4F\n
of a page that starts inside a row: drag @41 -> 20000041  ..; select @4F @52; do Copy;
    clip? -> 4F 50\n51 52; do CopyText; clip? -> OPQR
a row from before the space: goto 0; set 0 1 2 3; select 0 2; drag 1 -> 00000001  ..; do Copy;
    clip? -> 01\n02 03
unread bytes: select @4E @4F; bad @4E; key Ctrl+C; clip? -> -- 4F; messages? -> 1: Failed to read
    target memory|0: Memory selection copied to the clipboard (format=hex); do CopyBinary;
    binary? -> 004f; failed? -> Copy: 1 of 2 bytes could not be read,Copy: 1 of 2 bytes could not be
    read
out of sight: select @53 @4E; scroll -1000; do CopyHex; clip? -> 4E 4F\n50 51 52 53
dragged over while the target changes: press @12; move @22; ticks; move @25; lift; do CopyBinary;
    binary? -> 12131415161718191a1b1c1d1e1f202122232425
nothing selected: put text/plain 61; do CopyBinary; messages? -> 1: Copy action could not be
    performed: no data to copy; do CopyIntList; messages? -> 1: Copy action could not be performed:
    no data to copy; clip? -> a; do Copy; clip? ->
more than a buffer should hold: goto 0; hold Shift; key Ctrl+Shift+End; release Shift;
    reads? -> FFFFFEC0+140; do CopyBinary; do Copy; do CopyIntList; reads? ->; failed? -> Copy: More
    than 256 MiB cannot be copied,Copy: More than 16 MiB cannot be copied,Copy: More than 16 MiB
    cannot be copied
from a host that cannot read: select @0 @3; host says; messages? ->; do CopyHex;
    clip? -> .. .. .. ..; messages? -> 1: Failed to read target memory|1: Failed to read target
    memory|0: Memory selection copied to the clipboard (format=hex); put text/plain 41; do Paste;
    failed? -> Copy: Failed to read target memory,Paste: Failed to write target memory; host;
    do CopyBinary; binary? -> 00000000
paste: click @45.1; put text/plain 41000A; key Ctrl+V; sent? -> @45:41000A; reads? -> @45+3; row? 4
    -> 20000040  40 41 42 43 44 41 00 0A  48 49 4A 4B 4C 4D 4E 4F  @ABCDA..HIJKLMNO
a paste that fails is read back: click @25; put text/plain 4142; readonly; set @26 99; do Paste;
    messages? -> 1: Failed to write target memory; failed? -> Paste: Failed to write target memory;
    item? @26 -> 99
a paste out of sight: click @25; scroll -1000; put application/octet-stream 4142; do Paste;
    base? -> @20; item? @26 -> 42
nothing to paste: do Paste; messages? ->; put image/png 61; do Paste; messages? -> 1: Cannot paste
    clipboard contents: unsupported content type; failed? -> Paste: Cannot paste clipboard contents:
    unsupported content type; put application/octet-stream; do Paste; sent? ->; messages? ->
a paste ends with the space: goto FFFFFFF0; click FFFFFFFD; put text/plain 78787878; do Paste;
    sent? -> FFFFFFFD:787878
)";

constexpr const char *kJumps = R"(
typed: enter 20000a07; base? -> @A00; addresses? -> 20000A07; enter 2000; base? -> 2000;
    addresses? -> 2000 20000A07; enter 20000A07; base? -> @A00; addresses? -> 20000A07 2000;
    do GoBack; base? -> 2000; item 1; addresses? -> 2000 20000A07
by an assistive program: assist 20000a07; base? -> @A00; assist 2000; base? -> 2000;
    addresses? -> 2000 20000A07
ten are remembered: enter 1; enter 2; enter 3; enter 4; enter 5; enter 6; enter 7; enter 8; enter 9;
    enter A; enter B; box? -> closed; addresses? -> B A 9 8 7 6 5 4 3 2
back: do GoBack; base? -> @0; jump 1000; scroll -2; jump 5000; jump 5004; jump 5008; key Alt+Left;
    base? -> 5000; do GoBack; base? -> 1020; do GoBack; base? -> @0; do GoBack; base? -> @0
asked for: click @1A; accept 0x3000; key Ctrl+G -> Goto 0x2000001A; base? -> 3000; reject 4000;
    do Goto -> Goto 0x00003000; base? -> 4000; accept; do Goto -> Goto 0x00004000; base? -> 4000;
    addresses? -> 4000 0x3000
given by a host: give Goto 5000; do Goto; base? -> 5000; give Goto 6000,7000; do Goto; base? -> 5000
to what is pointed at: set @21 08 05 00 20; read; select @21 @24; big; key Ctrl+D; base? -> @500;
    do CopyBinary; binary? -> 08090a0b
only where the pointer is known: set @21 08 05 00 20; bad @23; read; click @21; do ViewData;
    base? -> @0; good; read; do ViewData; base? -> @500
out of sight, where it is known: set @21 08 05 00 20; select @21 @24; scroll -100; bad @22;
    do ViewData; base? -> @640; good; do ViewData; base? -> @500
by what was typed: set @20 08 05 00 20; read; size 4; click @22; type 10; do ViewData;
    base? -> 20100500
by no pointer at the end: goto FFFFFFF0; click FFFFFFFE; do ViewData; reads? ->; base? -> FFFFFFF0
hexadecimal numbers are addresses: enter 20000a07; base? -> @A00; enter 0xfF0; base? -> FF0;
    enter 12345678a; base? -> FFFFFFF0; enter 00000000000000000000010; base? -> 10;
    enter FFFFFFFFFFFFFFFF; base? -> FFFFFFF0; enter 0X1f; base? -> 10; addresses? -> 0X1F
    FFFFFFFFFFFFFFFF 00000000000000000000010 12345678a 0xFF0 20000A07
nothing else is one: enter main; enter 0x; enter 0x0x1; enter -1; enter +1; enter 1 2; enter 1.0;
    enter 10000000000000000; base? -> @0;
    addresses? -> 10000000000000000 1.0 1 2 +1 -1 0x0x1 0x main
)";

constexpr const char *kRefresh = R"(
by its text: ratetext 1 s; title? -> Memory @ 20000000, 1 s refresh; ratetext 5 S; rate? -> off;
    title? -> Memory @ 20000000
a host's own interval: interval 300; title? -> Memory @ 20000000, 300 ms refresh; rate? ->
asked for: accept _5 s; key Ctrl+R -> Periodic Refresh  off; rate? -> 5 s; reject _2 s;
    do AutoRefresh -> Periodic Refresh  5 s; rate? -> 5 s
given by a host: give AutoRefresh _2 s; do AutoRefresh; rate? -> 2 s; give AutoRefresh _1 s,_5 s;
    do AutoRefresh; rate? -> 2 s
that nobody sees: rate 1 s; do ShowToolbar; rate 2 s; rate? -> 1 s;
    title? -> Memory @ 20000000, 1 s refresh; failed? -> Refresh: the interval is taken while the
    tool bar shows it
not offered any more: rate 1 s; features 0; rate? -> off; title? -> Memory @ 20000000
colours end with the page: set @42 7A; read; red? -> 7A z; scroll -100; scroll 100; red? ->
colours end by ticks: interval 1000000; set @42 7A; read; scroll -100; scroll 100; red? -> 7A z;
    tick; red? ->
other memory has not changed: goto 5000; change; zone Data; red? ->;
    title? -> Memory @ 00005000, Zone: Data; reads? -> 5000+150@Data
zones: zones 99 Default,,Data, Secure; menu Data -> 1:10; reads? -> @0+150@Data; menu Secure -> 1:10;
    reads? -> @0+150@Secure; menu Default -> 1:10; reads? -> @0+150; title? -> Memory @ 20000000
sizes: key Ctrl+3; row? 4 -> 20000040  43424140 47464544  4B4A4948 4F4E4D4C  @ABCDEFGHIJKLMNO;
    checked? View4ByteItems -> yes; key Ctrl+2; row? 4 -> 20000040  4140 4342 4544 4746  4948 4B4A
    4D4C 4F4E  @ABCDEFGHIJKLMNO; key Ctrl+1; checked? View1ByteItems -> yes; form cancel;
    key Ctrl+I -> 20000000 2000014F 00000150 why not
widths: do Access2ByteItems; reads? -> @0+150/2; checked? Access2ByteItems -> yes; features 1;
    reads? -> @0+150; checked? AccessAuto -> yes
the tool bar goes: focus pEditBoxAddr; do ShowToolbar; box? -> closed; toolbar? -> hidden
everything is offered: enter 20000000; zones 2 Default,Data; click @38; menu -> 4:35|Copy, Copy
    Special, (Copy Text, Copy Hex, Copy Hex As C Initializer, Copy Binary,) - View Data, - Display 1
    Byte Items* Display 2 Byte Items, Display 4 Byte Items, Access 1 Byte Items, Access 2 Byte
    Items, Access 4 Byte Items, Set access width automatically* Memory Zone, (Default* Data,) -
    Fill, Load, Save, - Go Back, Go To..., Periodic Refresh..., - Toolbar*; toolbar? -> - Display 1
    Byte Items* Display 2 Byte Items, Display 4 Byte Items, - Go Back, - Fill, Save, Load,
little is offered: features 0; menu -> 1:10|Copy, Copy Special, (Copy Text, Copy Hex, Copy Hex As C
    Initializer, Copy Binary,) - View Data, - Display 1 Byte Items* Display 2 Byte Items, Display 4
    Byte Items, - Fill, Save, - Go To..., - Toolbar*; toolbar? -> - Display 1 Byte Items* Display 2
    Byte Items, Display 4 Byte Items, - Go Back, - Fill, Save,
)";

/// What is loaded from a file with these lines, "|" between them and "~" before a key of the
/// window: base, item bytes, width, tool bar, boxes, last text.
QByteArray Loaded(QByteArray lines)
{
    QSettings().clear();
    QSettings().sync();
    QDir().mkpath(QFileInfo(QSettings().fileName()).path());
    lines.replace('|', '\n').replace(' ', "%20").replace('~', "HexEditor\\").replace('_', ' ');
    PutFile(QSettings().fileName(), "[AppData]\n" + lines + '\n');
    QSettings().sync();
    const WindowSettings settings = WINSET_Load("HexEditor");
    return QByteArray::number(settings.baseAddress, 16) + ' '
        + QByteArray::number(settings.bytesPerItem) + ' ' + QByteArray::number(settings.accessWidth)
        + (settings.showToolbar ? " shown [" : " [")
        + settings.addressBoxItems.join(u' ').toLatin1() + "] " + settings.lastInputText.toLatin1();
}

} // namespace

class MemCommandsTest : public QObject {
    Q_OBJECT

private slots:
    void clipboard_data() { AddScripts(kClipboard); }
    void clipboard() { RunScript(); }

    void jumps_data() { AddScripts(kJumps); }
    void jumps() { RunScript(); }

    void refreshSizesAndZones_data() { AddScripts(kRefresh); }
    void refreshSizesAndZones() { RunScript(); }

    void aMenuOfTheHostOffersTheZones()
    {
        MemScript c;
        c.Run("zones 2 Default,Data");
        QMenu menu;
        c.window.AddZoneMenu(&menu);
        menu.actions().at(0)->menu()->actions().at(1)->trigger();
        QCOMPARE(c.window.windowTitle(), "Memory @ 20000000, Zone: Data");
        c.window.SetZone(QString(140, 'z'));
        QCOMPARE(c.window.windowTitle(), "Memory @ 20000000, Zone: " + QString(127, 'z'));
    }

    void whatDoesNotFitTheToolBarIsInTheMenu()
    {
        for (const bool isByKey : {false, true}) {
            MemTestWindow w;
            w.window.resize(300, 400);
            QCursor::setPos(w.view->mapToGlobal(QPoint(50, 60)));
            w.Settled();
            auto *button = w.window.findChild<QAbstractButton *>("qt_toolbar_ext_button");
            const QPoint below = button->mapToGlobal(button->rect().bottomLeft());
            QPoint place;
            WhenOpen([&place] {
                place = QApplication::activePopupWidget()->pos();
                QApplication::activePopupWidget()->close();
            });
            isByKey ? (button->setFocus(), QTest::keyClick(button, Qt::Key_Space))
                    : QTest::mouseClick(button, Qt::LeftButton);
            QCOMPARE(place, isByKey ? below : QCursor::pos());
        }
    }

    void theListOfAddressesJumpsWhenOneIsChosen()
    {
        MemScript c;
        c.Run("enter 1000; enter 2000; scroll -5");
        c.addressBox->showPopup();
        c.TickAndChange(20); // leaves it alone
        QVERIFY(c.addressBox->view()->isVisible());
        QTest::keyClick(c.addressBox->view(), Qt::Key_Down); // does not jump
        QCOMPARE(c.window.BaseAddress(), 0x2050U);
        c.addressBox->hidePopup();
        emit c.addressBox->activated(0); // chosen although it is current already
        QVERIFY(c.window.BaseAddress() != 0x2050U);
    }

    void keysComeBeforeTicksOverASlowProbe()
    {
        MemTestWindow w;
        w.GoTo(0x1000);
        w.rates->setCurrentIndex(0); // 100 ms
        w.target.callTakesMs = 110;
        w.Tick();
        w.target.reads.clear();
        for (int key = 0; key < 6; ++key) // each arrives while the one before is worked on
            QApplication::postEvent(w.view, new QKeyEvent(QEvent::KeyPress, Qt::Key_Up, {}));
        QTRY_COMPARE(w.window.BaseAddress(), 0x1000U - 3 * 16); // every second one scrolls
        QCOMPARE(w.target.reads.size(), 3U);
        QTRY_VERIFY(w.target.reads.size() > 3U); // then the next tick comes
    }

    void everyIconIsDrawnInTheTextColour()
    {
        for (const int grey : {0, 255}) {
            QPalette palette;
            palette.setColor(QPalette::ButtonText, QColor(grey, grey, grey));
            QApplication::setPalette(palette);
            const MemTestWindow w;
            QList<QImage> pictures;
            for (const QAction *action : w.window.actions()) {
                const QImage picture = action->icon().pixmap(QSize(16, 16), 1.5).toImage();
                QCOMPARE(picture.size(), QSize(24, 24)); // drawn for this size
                int inked = 0;
                for (int i = 0; i < 24 * 24; ++i) {
                    const QColor ink = picture.pixelColor(i % 24, i / 24);
                    inked += ink.alpha() > 200 && std::abs(ink.red() - grey) < 3 ? 1 : 0;
                }
                QVERIFY2(inked > 8 && !pictures.contains(picture), qPrintable(action->text()));
                pictures << picture;
            }
        }
    }

    void everythingComesBackFromItsKey()
    {
        MemScript c; // the last jump counts, not where scrolling has led
        c.Run("enter 20000b00; enter main, or so; accept 0x20000c05; do Goto; scroll -7; "
              "do View2ByteItems; do Access4ByteItems; do ShowToolbar; destroy");
        QSettings().sync();
        QCOMPARE(FileContent(QSettings().fileName()),
            "[AppData]\n"
            "HexEditor\\Access%20Width=4\n"
            "HexEditor\\Address%20Box%20Items=0x20000C05, \"main, or so\", 20000B00\n"
            "HexEditor\\Base%20Address=536873989\n"
            "HexEditor\\Bytes%20Per%20Item=2\n"
            "HexEditor\\Last%20Input%20Text=0x20000c05\n"
            "HexEditor\\Show%20Toolbar=false\n");

        c.target.reads.clear();
        CHexEditor next;
        next.SetCallbacks(c.target.Callbacks());
        next.SetFeatureFlags(kFeatureAccessWidth);
        next.resize(900, 400); // gets its size after it has restored the address
        next.show();
        QApplication::processEvents();
        QVERIFY(
            QRegularExpression("^@C00\\+\\w+/4$").match(c.TakeReads()).hasMatch()); // a single one
        QCOMPARE(next.BytesPerItem(), 2);
        for (const char *checked : {"View2ByteItems", "Access4ByteItems"})
            QVERIFY(next.findChild<QAction *>(QString("pActionMemory") + checked)->isChecked());
        QVERIFY(!next.findChild<QToolBar *>("pToolBar")->isVisible());
        QCOMPARE(
            next.findChild<AddressBox *>()->Items().join(u'|'), "0x20000C05|main, or so|20000B00");
    }

    void aFileOfSomebodyElseIsBroughtIntoForm()
    {
        const QByteArray first = "0 1 0 shown [] 0"; // as at a first start
        QCOMPARE(Loaded(""), first);
        QCOMPARE(Loaded("~Base Address=-5|~Bytes Per Item=3|~Access Width=4294967297|"
                        "~Address Box Items=@Variant(\\0)"),
            first);
        QCOMPARE(Loaded("~Base Address=\"1,2\"|~Bytes Per Item=a,b|~Access Width=@Size(3_4)|"
                        "[AppData|HexEditor=7|\xFF="),
            first);
        QCOMPARE(Loaded("~Base Address=6442450960"), "80000010 1 0 shown [] 0");
        QCOMPARE(Loaded("~Last Input Text=a,_b"), "0 1 0 shown [] a, b");
        const QByteArray items = "~Address Box Items=";
        QCOMPARE(Loaded(items + "0x1a,_,_0x1A,_main"), "0 1 0 shown [0x1A main] 0");
        QCOMPARE(Loaded(items + "9,8,7,6,5,4,3,2,1,A,B"), "0 1 0 shown [9 8 7 6 5 4 3 2 1 A] 0");
        QCOMPARE(
            Loaded(items + QByteArray(5000, 'x')), "0 1 0 shown [" + QByteArray(256, 'x') + "] 0");
    }
};

QTEST_MAIN(MemCommandsTest)
#include "tst_memcommands.moc"
