// What a window keeps, and what it makes of a file that somebody else has written.

#include "memscript.h"
#include "windowsettings.h"

#include <QFileInfo>

namespace {

/// What is loaded from a file with these lines: base, item bytes, width, tool bar, boxes, last
/// text.
QByteArray Loaded(const QByteArray &lines)
{
    QSettings().clear();
    QSettings().sync();
    QDir().mkpath(QFileInfo(QSettings().fileName()).path());
    PutFile(QSettings().fileName(), "[AppData]\n" + lines);
    QSettings().sync();
    const WindowSettings settings = WINSET_Load("HexEditor");
    return QByteArray::number(settings.baseAddress, 16) + ' '
        + QByteArray::number(settings.bytesPerItem) + ' ' + QByteArray::number(settings.accessWidth)
        + (settings.showToolbar ? " shown [" : " [")
        + settings.addressBoxItems.join(u' ').toLatin1() + "] " + settings.lastInputText.toLatin1();
}

} // namespace

class WindowSettingsTest : public QObject {
    Q_OBJECT

private slots:
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

        CHexEditor next;
        next.SetCallbacks(c.target.Callbacks());
        next.SetFeatureFlags(kFeatureAccessWidth);
        next.resize(900, 400); // gets its size after it has restored the address
        c.target.reads.clear();
        next.show();
        QApplication::processEvents();
        QCOMPARE(c.target.reads.size(), 1U);
        QCOMPARE(c.target.reads.at(0).address, kBase + 0xC00);
        QCOMPARE(int{c.target.reads.at(0).accessWidth}, 4);
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
        QCOMPARE(
            Loaded("HexEditor\\Base%20Address=-5\nHexEditor\\Bytes%20Per%20Item=3\nHexEditor\\"
                   "Access%20Width=4294967297\nHexEditor\\Address%20Box%20Items=@Variant(\\0)\n"),
            first);
        QCOMPARE(Loaded("HexEditor\\Base%20Address=\"1,2\"\nHexEditor\\Bytes%20Per%20Item=a,b\n"
                        "HexEditor\\Access%20Width=@Size(3 4)\n[AppData\nHexEditor=7\n\xFF=\n"),
            first);
        QCOMPARE(Loaded("HexEditor\\Base%20Address=6442450960\n"), "80000010 1 0 shown [] 0");
        QCOMPARE(Loaded("HexEditor\\Last%20Input%20Text=a, b\n"), "0 1 0 shown [] a, b");
        const QByteArray items = "HexEditor\\Address%20Box%20Items=";
        QCOMPARE(Loaded(items + "0x1a, , 0x1A, main\n"), "0 1 0 shown [0x1A main] 0");
        QCOMPARE(Loaded(items + "9, 8, 7, 6, 5, 4, 3, 2, 1, A, B\n"),
            "0 1 0 shown [9 8 7 6 5 4 3 2 1 A] 0");
        QCOMPARE(
            Loaded(items + QByteArray(5000, 'x')), "0 1 0 shown [" + QByteArray(256, 'x') + "] 0");
    }
};

QTEST_MAIN(WindowSettingsTest)
#include "tst_windowsettings.moc"
