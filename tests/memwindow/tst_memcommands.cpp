// The commands of menu and tool bar: copying and pasting, jumps, the refresh, sizes and zones.

#include "memscript.h"

#include <QAbstractItemView>

class MemCommandsTest : public QObject {
    Q_OBJECT

private slots:
    void clipboard_data()
    {
        AddRows<Script>({{"rows are read for texts", // selected upwards
                             "select @53 @4E; do Copy; clip?; messages?; reads?",
                             "4E 4F\n50 51 52 53|0: Memory selection copied to the clipboard "
                             "(format=hex)|@40+10 @50+10"},
            {"text", "select @53 @4E; do CopyText; clip?; messages?",
                "NOPQRS|0: Memory selection copied to the clipboard (format=text)"},
            {"bytes are read at once", "select @53 @4E; do CopyBinary; binary?; messages?; reads?",
                "4e4f50515253|0: Memory selection copied to the clipboard (format=binary)|@4E+6"},
            {"initializer", "select @53 @4E; do CopyIntList; clip?; messages?",
                "0x4E, 0x4F, 0x50, 0x51, 0x52, 0x53|0: Memory selection copied to the clipboard "
                "(format=hex as C initializer)"},
            {"whole little-endian items", "select @40 @44; size 4; big; do CopyIntList; clip?",
                "0x43424140"},
            {"over a group and an item's end",
                "select @44 @49; do CopyIntList; clip?; size 2; select @44 @49; do Copy; clip?; "
                "big; do Copy; clip?",
                "0x44, 0x45, 0x46, 0x47, 0x48, 0x49|4544 4746  4948|4445 4647  4849"},
            {"a full row ends in a break", "select @40 @4F; do CopyIntList; clip?",
                "0x40, 0x41, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x4B, 0x4C, "
                "0x4D, 0x4E, 0x4F\n"},
            {"of a page that starts inside a row",
                "drag @41; select @4F @52; do Copy; clip?; do CopyText; clip?",
                "20000041  ..|4F 50\n51 52|OPQR"},
            {"a row from before the space",
                "goto 0; set 0 1 2 3; select 0 2; drag 1; do Copy; clip?",
                "00000001  ..|01\n02 03"},
            {"unread bytes",
                "select @4E @4F; bad @4E; key Ctrl+C; clip?; messages?; do CopyBinary; binary?; "
                "failed?",
                "-- 4F|1: Failed to read target memory|0: Memory selection copied to the clipboard "
                "(format=hex)|004f|Copy: 1 of 2 bytes could not be read,Copy: 1 of 2 bytes could "
                "not be read"},
            {"out of sight", "select @53 @4E; scroll -1000; do CopyHex; clip?",
                "4E 4F\n50 51 52 53"},
            {"dragged over while the target changes",
                "press @12; move @22; ticks; move @25; lift; do CopyBinary; "
                "binary?",
                "12131415161718191a1b1c1d1e1f202122232425"},
            {"nothing selected",
                "put text/plain 61; do CopyBinary; messages?; do CopyIntList; messages?; clip?; do "
                "Copy; clip?",
                "1: Copy action could not be performed: no data to copy|1: Copy action could not "
                "be performed: no data to copy|a|"},
            {"more than a buffer should hold",
                "goto 0; hold Shift; key Ctrl+Shift+End; release Shift; reads?; do CopyBinary; do "
                "Copy; do CopyIntList; reads?; failed?",
                "FFFFFEC0+140||Copy: More than 256 MiB cannot be copied,Copy: More than 16 MiB "
                "cannot be copied,Copy: More than 16 MiB cannot be copied"},
            {"from a host that cannot read",
                "select @0 @3; host says; messages?; do CopyHex; clip?; messages?; put text/plain "
                "41; do Paste; failed?; host; do "
                "CopyBinary; binary?",
                "|.. .. .. ..|1: Failed to read target memory|1: Failed to read target memory|0: "
                "Memory selection copied to the clipboard (format=hex)|Copy: Failed to read target "
                "memory,Paste: Failed to write target memory|00000000"},
            {"paste", // not cut at the zero byte
                "click @25.1; put text/plain 41000A; key Ctrl+V; sent?; reads?; row? 2",
                "@25:41000A|@25+3|20000020  20 21 22 23 24 41 00 0A  28 29 2A 2B 2C 2D 2E 2F  "
                ".!\"#$A..()*+,-./"},
            {"a paste that fails is read back",
                "click @25; put text/plain 4142; readonly; set @26 99; do Paste; messages?; "
                "failed?; item? @26",
                "1: Failed to write target memory|Paste: Failed to write target memory|99"},
            {"a paste out of sight",
                "click @25; scroll -1000; put application/octet-stream 4142; do Paste; base?; "
                "item? @26",
                "@20|42"},
            {"nothing to paste",
                "do Paste; messages?; put image/png 61; do Paste; messages?; failed?; put "
                "application/octet-stream; do Paste; sent?; messages?",
                "|1: Cannot paste clipboard contents: unsupported content type|Paste: Cannot paste "
                "clipboard contents: unsupported content type||"},
            {"a paste ends with the space",
                "goto FFFFFFF0; click FFFFFFFD; put text/plain 78787878; do Paste; sent?",
                "FFFFFFFD:787878"}});
    }

    void clipboard() { RunScript(); }

    void onlyHexadecimalNumbersAreAddresses_data()
    {
        AddRows<Script>({{"20000a07", "20000A07", "@A00"}, {"0xfF0", "0xFF0", "FF0"},
            {"0X1f", "0X1F", "10"},                 // its prefix is not told apart from a digit
            {"12345678a", "12345678a", "FFFFFFF0"}, // beyond the space as it was typed
            {"FFFFFFFFFFFFFFFF", "FFFFFFFFFFFFFFFF", "FFFFFFF0"},
            {"00000000000000000000010", "00000000000000000000010", "10"}, {"main", "main", "@0"},
            {"0x", "0x", "@0"}, {"0x0x1", "0x0x1", "@0"}, {"-1", "-1", "@0"}, {"+1", "+1", "@0"},
            {"1 2", "1 2", "@0"}, {"1.0", "1.0", "@0"},
            {"10000000000000000", "10000000000000000", "@0"}});
    }

    void onlyHexadecimalNumbersAreAddresses()
    {
        QFETCH(const Script, row);
        QCOMPARE(MemScript().Run(QStringLiteral("enter %1; addresses?; base?").arg(row.name)),
            QString(row.steps) + u'|' + row.answers);
    }

    void jumps_data()
    {
        const char *typed
            = "@A00|20000A07|2000|2000 20000A07|@A00|20000A07 2000|2000|2000 20000A07";
        AddRows<Script>(
            {{"typed", // a beginning of another address, one of the list, by the list
                 "enter 20000a07; base?; addresses?; enter 2000; base?; addresses?; enter "
                 "20000A07; base?; addresses?; do GoBack; base?; item 1; addresses?",
                 typed},
                {"by an assistive program",
                    "assist 20000a07; base?; addresses?; assist 2000; base?; addresses?; assist "
                    "20000A07; base?; addresses?; do GoBack; base?; item 1; addresses?",
                    typed},
                {"ten are remembered",
                    "enter 1; enter 2; enter 3; enter 4; enter 5; enter 6; enter 7; enter 8; enter "
                    "9; enter A; enter B; box?; addresses?",
                    "closed|B A 9 8 7 6 5 4 3 2"},
                {"back", // from rows, each once
                    "do GoBack; base?; jump 1000; scroll -2; jump 5000; jump 5004; jump 5008; key "
                    "Alt+Left; base?; do GoBack; base?; do GoBack; base?; do GoBack; base?",
                    "@0|5000|1020|@0|@0"},
                {"asked for", // the text counts, not the button
                    "click @1A; accept 0x3000; do Goto; base?; reject 4000; do Goto; base?; "
                    "accept; do Goto; base?; addresses?",
                    "Goto 0x2000001A|3000|Goto 0x00003000|4000|Goto 0x00004000|4000|4000 0x3000"},
                {"given by a host",
                    "give Goto 5000; do Goto; base?; give Goto 6000,7000; do Goto; base?",
                    "5000|5000"},
                {"to what is pointed at", // in the host's own byte order, and selected there
                    "set @21 08 05 00 20; read; select @21 @24; big; key Ctrl+D; base?; do "
                    "CopyBinary; binary?",
                    "@500|08090a0b"},
                {"only where the pointer is known",
                    "set @21 08 05 00 20; bad @23; read; click @21; do ViewData; base?; good; "
                    "read; do ViewData; base?",
                    "@0|@500"},
                {"out of sight, where it is known",
                    "set @21 08 05 00 20; select @21 @24; scroll -100; bad @22; do ViewData; "
                    "base?; good; do ViewData; base?",
                    "@640|@500"},
                {"by what was typed",
                    "set @20 08 05 00 20; read; size 4; click @22; type 10; do ViewData; base?",
                    "20100500"},
                {"by no pointer at the end",
                    "goto FFFFFFF0; click FFFFFFFE; do ViewData; reads?; base?", "|FFFFFFF0"}});
    }

    void jumps() { RunScript(); }

    void refreshSizesAndZones_data()
    {
        AddRows<Script>({{"off at first", "rate?; title?", "off|Memory @ 20000000"},
            {"a rate", "rate 500 ms; title?", "Memory @ 20000000, 500 ms refresh"},
            {"by its text", "ratetext 1 s; title?; ratetext 5 S; rate?; title?",
                "Memory @ 20000000, 1 s refresh|off|Memory @ 20000000"},
            {"a host's own interval", "interval 300; title?; rate?",
                "Memory @ 20000000, 300 ms refresh|"},
            {"asked for", "accept _5 s; do AutoRefresh; rate?; reject _2 s; do AutoRefresh; rate?",
                "Periodic Refresh  off|5 s|Periodic Refresh  5 s|5 s"},
            {"given by a host",
                "give AutoRefresh _2 s; do AutoRefresh; rate?; give AutoRefresh _1 s,_5 s; do "
                "AutoRefresh; rate?",
                "2 s|2 s"},
            {"that nobody sees", "rate 1 s; do ShowToolbar; rate 2 s; rate?; title?; failed?",
                "1 s|Memory @ 20000000, 1 s refresh|Refresh: the interval is taken while the tool "
                "bar shows it"},
            {"not offered any more", "rate 1 s; features 0; rate?; title?",
                "off|Memory @ 20000000"},
            {"colours end with the page", "set @42 7A; read; red?; scroll -100; scroll 100; red?",
                "7A z|"},
            {"colours end by ticks",
                "interval 1000000; set @42 7A; read; scroll -100; scroll 100; red?; tick; red?",
                "7A z|"},
            {"other memory has not changed", "goto 5000; change; zone Data; red?; title?; reads?",
                "|Memory @ 00005000, Zone: Data|5000+150@Data"},
            {"zones",
                "zones 99 Default,,Data, Secure; menu Data; reads?; menu Secure; reads?; menu "
                "Default; reads?; title?",
                "@0+150@Data|@0+150@Secure|@0+150|Memory @ 20000000"},
            {"a zone of a long name",
                "zone "
                "zzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzz"
                "zzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzz; title?",
                "Memory @ 20000000, Zone: "
                "zzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzz"
                "zzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzz"},
            {"sizes", "key Ctrl+3; row? 4; checked? View4ByteItems; key Ctrl+2; row? 4",
                "20000040  43424140 47464544  4B4A4948 4F4E4D4C  @ABCDEFGHIJKLMNO|yes|20000040  "
                "4140 4342 4544 4746  4948 4B4A 4D4C 4F4E  @ABCDEFGHIJKLMNO"},
            {"widths",
                "do Access2ByteItems; reads?; checked? Access2ByteItems; features 1; reads?; "
                "checked? AccessAuto",
                "@0+150/2|yes|@0+150|yes"},
            {"the tool bar goes", "focus pEditBoxAddr; do ShowToolbar; box?; toolbar?",
                "closed|hidden"},
            {"everything is offered", "enter 20000000; zones 2 Default,Data; menu; toolbar?",
                "Copy, Copy Special, (Copy Text, Copy Hex, Copy Hex As C Initializer, Copy "
                "Binary,) - View Data, - Display 1 Byte Items* Display 2 Byte Items, Display 4 "
                "Byte Items, Access 1 Byte Items, Access 2 Byte Items, Access 4 Byte Items, Set "
                "access width automatically* Memory Zone, (Default* Data,) - Fill, Load, Save, - "
                "Go Back, Go To..., Periodic Refresh..., - Toolbar*|- Display 1 Byte Items* "
                "Display 2 Byte Items, Display 4 Byte Items, - Go Back, - Fill, Save, Load,"},
            {"little is offered", "features 0; menu; toolbar?",
                "Copy, Copy Special, (Copy Text, Copy Hex, Copy Hex As C Initializer, Copy "
                "Binary,) - View Data, - Display 1 Byte Items* Display 2 Byte Items, Display 4 "
                "Byte Items, - Fill, Save, - Go To..., - Toolbar*|- Display 1 Byte Items* Display "
                "2 Byte Items, Display 4 Byte Items, - Go Back, - Fill, Save,"}});
    }

    void refreshSizesAndZones() { RunScript(); }

    void theMenuKeyOpensItAtTheCursor()
    {
        MemTestWindow c;
        c.ClickByte(kBase + 0x38);
        QPoint place;
        WhenOpen([&place] {
            place = QApplication::activePopupWidget()->pos();
            QApplication::activePopupWidget()->close();
        });
        QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, QPoint(1, 1), QPoint(1, 1));
        QApplication::sendEvent(c.view, &menuKey);
        const QPoint below = c.ByteCentre(kBase + 0x48) - QPoint(c.widthPx / 2, c.heightPx / 2);
        QCOMPARE(place, c.view->viewport()->mapToGlobal(below));
    }

    void aMenuOfTheHostOffersTheZones()
    {
        MemTestWindow c;
        c.target.zones = "Default, Data";
        c.target.zoneCount = 2;
        QMenu menu;
        c.window.AddZoneMenu(&menu);
        menu.actions().at(0)->menu()->actions().at(1)->trigger();
        c.window.AddZoneMenu(&menu);
        QVERIFY(menu.actions().at(1)->menu()->actions().at(1)->isChecked());
        QCOMPARE(c.window.windowTitle(), "Memory @ 20000000, Zone: Data");
    }

    void theListOfAddressesJumpsWhenOneIsChosen()
    {
        MemTestWindow c;
        c.EnterAddress("1000");
        c.EnterAddress("2000");
        c.window.ScrollRows(-5);
        c.addressBox->showPopup();
        c.TickAndChange(20); // leaves it alone
        QVERIFY(c.addressBox->view()->isVisible());
        QTest::keyClick(c.addressBox->view(), Qt::Key_Down); // browsing is no jump
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
                for (const qreal scale : {2.0, 1.5, 1.0}) {
                    const QImage picture = action->icon().pixmap(QSize(16, 16), scale).toImage();
                    QCOMPARE(picture.size(), QSize(16, 16) * scale); // not blown up
                    int inked = 0;
                    for (int i = 0; i < picture.width() * picture.height(); ++i) {
                        const QColor ink
                            = picture.pixelColor(i % picture.width(), i / picture.width());
                        inked += ink.alpha() > 200 && std::abs(ink.red() - grey) < 3 ? 1 : 0;
                    }
                    QVERIFY2(inked > 8, qPrintable(action->objectName()));
                    QVERIFY2(!pictures.contains(picture), qPrintable(action->objectName()));
                    pictures << picture;
                }
            }
        }
    }
};

QTEST_MAIN(MemCommandsTest)
#include "tst_memcommands.moc"
