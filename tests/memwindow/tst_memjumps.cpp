// Every way to jump: the address box, the dialog, the way back, a pointer.

#include "memcommandwindow.h"

#include <QAbstractItemView>

class MemJumpsTest : public QObject {
    Q_OBJECT

private slots:
    void typedAddressesJumpAndAreRemembered_data()
    {
        QTest::addColumn<bool>("toEdit");
        QTest::newRow("by the keyboard") << false;
        QTest::newRow("by an assistive program") << true;
    }

    void typedAddressesJumpAndAreRemembered()
    {
        QFETCH(bool, toEdit);
        Commands c;
        const auto enter = [&](const QString &text) {
            c.EnterAddress(text, toEdit);
            return QString::number(c.window.BaseAddress(), 16) + u' ' + c.AddressItems();
        };
        QCOMPARE(enter("20000a07"), "20000a00 20000A07");
        QVERIFY(c.view->hasFocus());
        QCOMPARE(enter("2000"), "2000 2000 20000A07"); // a beginning of another one of the list
        QCOMPARE(enter("main"), "2000 main 2000 20000A07");
        QCOMPARE(enter("20000A07"), "20000a00 20000A07 main 2000"); // one of the list
        QCOMPARE(c.TakeMessages(), "");
        c.Trigger("GoBack");
        QCOMPARE(c.window.BaseAddress(), 0x2000U); // the jump is in the history once

        c.addressBox->setCurrentIndex(2); // chosen from the list
        QCOMPARE(c.AddressItems(), "2000 20000A07 main");
        for (int i = 0; i < 11; ++i)
            c.EnterAddress(QString::number(0x1000 + i, 16), toEdit);
        QCOMPARE(c.AddressItems(), "100A 1009 1008 1007 1006 1005 1004 1003 1002 1001");
        c.window.ScrollRows(-5);
        const std::uint64_t scrolled = c.window.BaseAddress();
        c.addressBox->showPopup();
        QTest::keyClick(c.addressBox->view(), Qt::Key_Down); // browsing is no jump
        QCOMPARE(c.window.BaseAddress(), scrolled);
        c.addressBox->hidePopup();
        emit c.addressBox->activated(0); // chosen although it is current already
        QCOMPARE(c.window.BaseAddress(), 0x1000U);
    }

    void goBackReturnsThroughTheHistory()
    {
        Commands c;
        QVERIFY(!c.Action("GoBack")->isEnabled());
        c.window.GoTo(0x1000, true, true);
        c.window.ScrollRows(-2);
        c.window.GoTo(0x5000, true, true);
        c.window.GoTo(0x5004, true, true);
        c.window.GoTo(0x5008, true, true); // the same row: remembered once
        c.Key(Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(c.window.BaseAddress(), 0x5000U);
        c.Trigger("GoBack");
        QCOMPARE(c.window.BaseAddress(), 0x1020U);
        c.Trigger("GoBack");
        QCOMPARE(c.window.BaseAddress(), kBase);
        QVERIFY(!c.Action("GoBack")->isEnabled());
        QVERIFY(c.Action("Copy")->isEnabled());
    }

    void theGoToDialogCountsWhateverButtonClosesIt()
    {
        Commands c;
        c.ClickByte(kBase + 0x1A);
        c.TriggerWithDialog<QInputDialog>("Goto", [&](QInputDialog &dialog) {
            QCOMPARE(dialog.windowTitle() + u'|' + dialog.labelText() + u'|' + dialog.textValue(),
                "Goto|Memory Location:|0x2000001A");
            dialog.setTextValue("0x3000");
            dialog.accept();
        });
        QCOMPARE(c.window.BaseAddress(), 0x3000U);
        c.RunGoTo("4000", false);
        QCOMPARE(c.window.BaseAddress(), 0x4000U);
        c.RunGoTo("", true);
        QCOMPARE(c.window.BaseAddress(), 0x4000U);
        QCOMPARE(c.AddressItems(), "4000 0x3000");

        c.Action("Goto")->setData(QStringList("5000")); // a host knows the address already
        c.Trigger("Goto");
        QCOMPARE(c.window.BaseAddress(), 0x5000U);
        c.Action("Goto")->setData(QStringList({"6000", "7000"}));
        c.Trigger("Goto");
        QCOMPARE(c.window.BaseAddress(), 0x5000U);
    }

    void viewDataFollowsAPointer()
    {
        Commands c;
        for (int i = 0; i < 4; ++i)
            c.target.Set(kBase + 0x21 + unsigned(i), std::uint8_t(0x20000508 >> (8 * i)));
        c.window.UpdateFromTarget();
        c.Select(kBase + 0x21, kBase + 0x24);
        c.SetBigEndian(true); // pointers are read in the host's own order
        c.Key(Qt::Key_D, Qt::ControlModifier);
        QCOMPARE(c.window.BaseAddress(), kBase + 0x500);
        c.Trigger("CopyBinary"); // what it points to is selected
        QCOMPARE(c.ClipboardData(kBinary).toHex(), "08090a0b");
        c.Trigger("GoBack");
        c.Key(Qt::Key_Escape);
        c.ClickByte(kBase + 0x21); // without a selection, at the cursor
        c.target.unreadable = {kBase + 0x23};
        c.window.UpdateFromTarget();
        c.Trigger("ViewData");
        QCOMPARE(c.window.BaseAddress(), kBase); // not known, so no jump
        c.target.unreadable.clear();
        c.window.UpdateFromTarget();
        c.Trigger("ViewData");
        QCOMPARE(c.window.BaseAddress(), kBase + 0x500);
    }
};

QTEST_MAIN(MemJumpsTest)
#include "tst_memjumps.moc"
