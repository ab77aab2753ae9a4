// What holds for the commands as a whole: sizes, menu, settings, what may happen meanwhile.

#include "memcommandwindow.h"

#include <QAbstractItemView>
#include <QMenu>
#include <QToolBar>

class MemCommandsTest : public QObject {
    Q_OBJECT

private slots:
    void sizesAndWidthsFollowTheirActions()
    {
        Commands c;
        QVERIFY(c.Action("AccessAuto")->isChecked());
        c.Key(Qt::Key_3, Qt::ControlModifier);
        QVERIFY(c.Row(0).startsWith("20000000  03020100 07060504  "));
        c.Trigger("Access2ByteItems");
        QCOMPARE(int{c.target.reads.back().accessWidth}, 2);
        c.window.SetFeatureFlags(kFeatureRefresh); // taking the choice away resets it
        QVERIFY(c.Action("AccessAuto")->isChecked());
        QVERIFY(!c.Action("AccessAuto")->isVisible() && !c.Action("Load")->isVisible());
        QCOMPARE(int{c.target.reads.back().accessWidth}, 0);

        auto *toolBar = c.window.findChild<QToolBar *>("pToolBar");
        c.addressBox->setFocus();
        c.Trigger("ShowToolbar");
        QVERIFY(!toolBar->isVisible() && c.view->hasFocus());
        c.Trigger("ShowToolbar");
        QVERIFY(toolBar->isVisible());
    }

    void theContextMenuOpensByKeyAtTheCursor()
    {
        Commands c;
        c.ClickByte(kBase + 0x38);
        QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, QPoint(1, 1), QPoint(1, 1));
        QKeyEvent shiftF10(QEvent::KeyPress, Qt::Key_F10, Qt::ShiftModifier);
        const QPoint below = c.ByteCentre(kBase + 0x48) - QPoint(c.widthPx / 2, c.heightPx / 2);
        for (QEvent *event : {static_cast<QEvent *>(&menuKey), static_cast<QEvent *>(&shiftF10)}) {
            QPoint place;
            QTimer::singleShot(0, &c.window, [&] {
                place = QApplication::activePopupWidget()->pos();
                QApplication::activePopupWidget()->close();
            });
            QApplication::sendEvent(c.view, event);
            QCOMPARE(place, c.view->viewport()->mapToGlobal(below));
        }
    }

    void settingsComeBack()
    {
        Commands c;
        c.EnterAddress("20000b00");
        c.RunGoTo("0x20000c00", true);
        c.window.ScrollRows(-7); // the last jump counts, not where scrolling has led
        for (const char *action : {"View2ByteItems", "Access4ByteItems", "ShowToolbar"})
            c.Trigger(action);
        c.owner.reset();

        CHexEditor next;
        next.SetCallbacks(c.target.Callbacks());
        next.SetFeatureFlags(kFeatureAccessWidth);
        next.resize(900, 400);
        next.show();
        QApplication::processEvents();
        QCOMPARE(next.windowTitle(), "Memory @ 20000C00");
        QCOMPARE(next.BaseAddress(), kBase + 0xC00);
        QCOMPARE(next.BytesPerItem(), 2);
        QCOMPARE(int{c.target.reads.back().accessWidth}, 4);
        QVERIFY(next.findChild<QAction *>("pActionMemoryView2ByteItems")->isChecked());
        QVERIFY(next.findChild<QAction *>("pActionMemoryAccess4ByteItems")->isChecked());
        QVERIFY(!next.findChild<QAction *>("pActionMemoryShowToolbar")->isChecked());
        QVERIFY(!next.findChild<QToolBar *>("pToolBar")->isVisible());
        const auto *box = next.findChild<QComboBox *>("pEditBoxAddr");
        QCOMPARE(box->itemText(0) + u' ' + box->itemText(1), "0x20000C00 20000B00");
        QCOMPARE(QSettings().value("AppData/HexEditor/Last Input Text").toString(), "0x20000c00");
    }

    void ticksLeaveMenusAndDragsAlone()
    {
        Commands c;
        const auto changingTicks = [&c] {
            for (int i = 0; i < 1000; ++i) {
                c.target.Set(kBase + 0x30, std::uint8_t(i));
                c.Tick();
            }
        };
        bool menuStayed = false;
        QTimer::singleShot(0, &c.window, [&] {
            const QPointer<QWidget> menu = QApplication::activePopupWidget();
            changingTicks();
            menuStayed = menu && menu->isVisible();
            if (menu)
                menu->close();
        });
        emit c.window.customContextMenuRequested(QPoint(20, 20));
        QVERIFY(menuStayed);

        c.EnterAddress("20000000");
        c.addressBox->showPopup();
        changingTicks();
        QVERIFY(c.addressBox->view()->isVisible());
        c.addressBox->hidePopup();

        const QPoint to = c.ByteCentre(kBase + 0x25);
        QCursor::setPos(c.view->viewport()->mapToGlobal(to));
        c.Mouse(QEvent::MouseButtonPress, c.ByteCentre(kBase + 0x12));
        c.Mouse(QEvent::MouseMove, to);
        changingTicks();
        c.Mouse(QEvent::MouseMove, to);
        c.Mouse(QEvent::MouseButtonRelease, to);
        c.Trigger("CopyBinary");
        QCOMPARE(c.ClipboardData(kBinary).size(), 0x25 - 0x12 + 1);
        QCOMPARE(c.window.BaseAddress(), kBase);
    }
};

QTEST_MAIN(MemCommandsTest)
#include "tst_memcommands.moc"
