// The memory window as a live view: what it reads when, what it paints, how it scrolls and selects.

#include "memtestwindow.h"

#include <QInputDialog>
#include <QMenu>

namespace {

constexpr std::uint64_t kBase = 0x2000'0000;

/// Counts the paint events of a widget.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget *widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::Paint;
        return false;
    }
    int count = 0;
};

/// The cells that are painted on this background, "row:column".
QString CellsOfColour(MemTestWindow &w, const QColor &colour)
{
    const QImage image = w.view->viewport()->grab().toImage();
    QStringList cells;
    for (int row = 0; row < 8; ++row) {
        for (int column = 10; column < 76; ++column) {
            const QPoint corner(w.CellCentre(row, column).x() - 2, row * w.heightPx);
            if (image.pixel(corner) == colour.rgb())
                cells += QStringLiteral("%1:%2").arg(row).arg(column);
        }
    }
    return cells.join(u' ');
}

QString SelectedCellsOf(MemTestWindow &w)
{
    return CellsOfColour(w, w.view->palette().color(QPalette::AlternateBase).darker(105));
}

QString CursorCellsOf(MemTestWindow &w)
{
    return CellsOfColour(w, w.view->palette().color(QPalette::Highlight));
}

} // namespace

class CHexEditorTest : public QObject {
    Q_OBJECT

private slots:
    void aTickReadsThePageOnceAndPaintsWhatChanged()
    {
        MemTestWindow w;
        QCOMPARE(w.window.BytesPerRow(), 16U);
        QCOMPARE(w.target.reads.size(), 1U); // of the first show
        w.GoTo(kBase);
        PaintCounter paints(w.view->viewport());
        w.Tick();
        QCOMPARE(w.target.reads.size(), 1U);
        QCOMPARE(w.LastRead(), (PageRange{kBase, w.window.BytesPerPage()}));
        QCOMPARE(paints.count, 0);

        w.target.Set(kBase + 0x13, std::uint8_t(w.target.ByteAt(kBase + 0x13) + 1));
        for (const int expected : {1, 2, 3, 4, 4}) { // changed, fading twice, plain again, still
            w.Tick();
            QCOMPARE(paints.count, expected);
        }
        w.target.unreadable = {kBase + 0x21}; // what stays unreadable is unchanged as well
        w.Tick(2);
        QCOMPARE(paints.count, 5);
    }

    void aDragResizeReadsOnce()
    {
        MemTestWindow w;
        w.target.reads.clear();
        for (int width = 900; width > 600; width -= 50) {
            w.window.resize(width, 300);
            QApplication::processEvents();
        }
        QVERIFY(w.target.reads.empty());
        QTRY_COMPARE(w.target.reads.size(), 1U);
        QCOMPARE(w.LastRead(), (PageRange{0, w.window.BytesPerPage()}));
        w.window.hide();
        w.window.show();
        QApplication::processEvents();
        QCOMPARE(w.target.reads.size(), 1U); // shown again it knows its page
        w.view->setFixedWidth(150);          // too narrow for a single byte
        QApplication::processEvents();
        QCOMPARE(w.window.BytesPerRow(), 0U);
        w.window.OnResizeTimerTimeout();
        QCOMPARE(w.target.reads.size(), 1U);
    }

    void scrollingReadsTheExposedRowsOnly()
    {
        MemTestWindow w;
        w.GoTo(0x1000);
        const std::uint64_t page = w.window.BytesPerPage();
        w.window.ScrollRows(-3);
        QCOMPARE(w.LastRead(), (PageRange{0x1000 + page, 48}));
        w.window.ScrollRows(5);
        QCOMPARE(w.LastRead(), (PageRange{0x0FE0, 0x20 + 48}));
        w.window.ScrollRows(-1000);
        QCOMPARE(w.LastRead(), (PageRange{0x0FE0 + 16000, page}));
        QCOMPARE(w.target.reads.size(), 3U);
        w.window.ScrollRows(-2'000'000'000);
        QCOMPARE(w.LastRead().End(), kAddressSpaceEnd);
        w.target.reads.clear();
        w.window.ScrollRows(-1); // at the end
        QVERIFY(w.target.reads.empty());
    }

    void theScrollBarReachesBothEnds()
    {
        MemTestWindow w;
        w.GoTo(kBase);
        const std::uint64_t page = w.window.BytesPerPage();
        const std::vector<std::pair<QAbstractSlider::SliderAction, std::uint64_t>> steps{
            {QAbstractSlider::SliderToMinimum, 0}, {QAbstractSlider::SliderPageStepAdd, page - 16},
            {QAbstractSlider::SliderSingleStepSub, page - 32},
            {QAbstractSlider::SliderToMaximum, kAddressSpaceEnd - (page - 16)}}; // wholly visible
        for (const auto &[action, base] : steps) {
            w.scrollBar->triggerAction(action);
            QCOMPARE(w.window.BaseAddress(), base);
        }
        w.target.reads.clear();
        w.scrollBar->setSliderDown(true); // a drag reads at its end
        for (const int position : {-2000000000, 0, 1, 1000})
            w.scrollBar->setSliderPosition(position);
        QVERIFY(w.target.reads.empty());
        QCOMPARE(w.Row(0).left(12), "800003E7  ..");
        w.scrollBar->setSliderDown(false);
        QCOMPARE(w.target.reads.size(), 1U);
        QCOMPARE(w.LastRead(), (PageRange{0x8000'03E7, page}));
    }

    void aSlowPageWithAHoleIsReadFromTheEventLoop()
    {
        MemTestWindow w;
        for (std::uint64_t at = 0; at < 16; ++at) // the page starts in a hole
            w.target.unreadable.insert(kBase + at);
        w.target.reads.clear();
        w.window.GoTo(kBase, true, false);
        const std::vector<FakeTarget::Call> fast = std::exchange(w.target.reads, {});
        QCOMPARE(fast.size(), 1 + 1 + 4 * 7 + (w.window.VisibleRows() - 1)); // rows, words, bytes

        w.window.GoTo(0x5000, true, false);
        w.target.reads.clear();
        w.target.callTakesMs = 5;
        w.window.GoTo(kBase, true, false);
        QVERIFY(w.target.reads.size() < fast.size());
        QVERIFY(w.Row(0).startsWith("20000000  -- ") && w.Row(5).startsWith("20000050  .. "));
        w.window.OnAutoUpdateTimerTimeout(); // no second read beside the one under way
        QTRY_COMPARE(w.target.reads.size(), fast.size());
        QVERIFY(w.target.reads == fast); // the same calls in the same order
        QVERIFY(!w.Row(int(w.window.VisibleRows()) - 2).contains(".. "));

        w.window.GoTo(kBase, true, false);
        w.window.GoTo(0x5000, true, false); // what is left of the first page is not asked for
        w.target.reads.clear();
        for (int turn = 0; turn < 20; ++turn)
            QApplication::processEvents();
        QVERIFY(w.target.reads.empty());

        w.window.GoTo(kBase, true, false); // a scroll takes what was left along
        w.window.ScrollRows(-1);
        QTRY_VERIFY(!w.Row(int(w.window.VisibleRows()) - 2).contains(".. "));
    }

    void thePageStartsAtARow()
    {
        for (const auto &[saved, base] :
            {std::pair{0x2000'0A05U, 0x2000'0A00U}, std::pair{0xFFFF'FFFFU, 0xFFFF'FFF0U}}) {
            MemTestWindow first;
            first.window.GoTo(saved, true, false);
            first.owner.reset();
            CHexEditor next; // gets its size after it has restored the address
            FakeTarget target;
            next.SetCallbacks(target.Callbacks());
            next.resize(900, 400);
            next.show();
            QApplication::processEvents();
            QCOMPARE(next.BaseAddress(), base);
            QCOMPARE(target.reads.size(), 1U);
            QCOMPARE(target.reads.at(0).address, std::uint64_t{base});
        }
        MemTestWindow w;
        w.GoTo(kBase + 0x18);
        for (const int widthPx : {500, 1500, 900}) { // 8, 32 and 16 bytes a row
            w.window.resize(widthPx, 400);
            QApplication::processEvents();
            QCOMPARE(w.window.BaseAddress() % w.window.BytesPerRow(), 0U);
            const std::uint64_t distance = kBase + 0x18 - w.window.BaseAddress();
            QVERIFY2(distance < w.window.BytesPerRow(), "the address stays in the top row");
        }
        QCOMPARE(w.window.BaseAddress(), kBase + 0x10);
    }

    void onlyWhatIsMeantScrolls()
    {
        MemTestWindow w;
        w.GoTo(0x1000);
        const auto wheelOver = [](QWidget *widget, int units) {
            QWheelEvent event({5, 5}, widget->mapToGlobal(QPointF(5, 5)), {}, {0, units},
                Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
            QApplication::sendEvent(widget, &event);
        };
        wheelOver(w.scrollBar, -120);
        QCOMPARE(w.window.BaseAddress(), 0x1030U); // three rows, as over the view
        wheelOver(w.scrollBar, 60);
        wheelOver(w.scrollBar, 60);
        QCOMPARE(w.window.BaseAddress(), 0x1000U);
        w.scrollBar->setValue(0x20000000 - 0x7FFFFFFF + 5); // "Scroll here" of the bar's menu
        QCOMPARE(w.window.BaseAddress(), 0x2000'0000U);
        {
            const QSignalBlocker quietly(w.addressBox);
            w.addressBox->addItems({"3000", "4000"});
        }
        w.rates->setCurrentIndex(2);
        w.target.reads.clear();
        wheelOver(w.addressBox, -120);
        wheelOver(w.rates, -120);
        QCOMPARE(w.window.BaseAddress(), 0x2000'0000U);
        QCOMPARE(w.rates->currentIndex(), 2);

        w.window.ScrollRows(-100); // the cursor is out of sight now
        const std::uint64_t base = w.window.BaseAddress();
        w.target.reads.clear();
        for (const auto &[key, modifiers] : {std::pair{Qt::Key_F5, Qt::NoModifier},
                 {Qt::Key_CapsLock, Qt::NoModifier}, {Qt::Key_Z, Qt::NoModifier},
                 {Qt::Key_Insert, Qt::NoModifier}, {Qt::Key_Left, Qt::AltModifier},
                 {Qt::Key_Down, Qt::MetaModifier}, {Qt::Key_Home, Qt::AltModifier},
                 {Qt::Key_Shift, Qt::ShiftModifier}, {Qt::Key_A, Qt::ControlModifier}})
            w.Key(key, modifiers);
        QVERIFY(w.target.reads.empty());
        QCOMPARE(w.window.BaseAddress(), base);
    }

    void theCursorComesIntoSight_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<std::uint64_t>("address"); // of the cursor, from 0x1000 in row 3
        const auto row = [](const char *name, Qt::Key key, std::uint64_t address) {
            QTest::newRow(name) << int(key) << address;
        };
        row("Up", Qt::Key_Up, 0x1020);
        row("Down", Qt::Key_Down, 0x1040);
        row("Left", Qt::Key_Left, 0x102F);
        row("Right", Qt::Key_Right, 0x1030);
        row("Home", Qt::Key_Home, 0x1030);
        row("End", Qt::Key_End, 0x103F);
    }

    void theCursorComesIntoSight()
    {
        QFETCH(int, key);
        QFETCH(std::uint64_t, address);
        for (const int scrolled : {-200, 100}) {
            MemTestWindow w;
            w.GoTo(0x1000);
            w.ClickByte(0x1030);
            w.window.ScrollRows(scrolled);
            w.target.reads.clear();
            w.Key(Qt::Key(key));
            QVERIFY(!CursorCellsOf(w).isEmpty());
            QTest::keyClick(w.view, 'a');
            QTest::keyClick(w.overlay, Qt::Key_Return);
            w.window.OnEditUpdateTimerTimeout();
            const bool scrolls = key == Qt::Key_Up; // on the first row, where the page came to rest
            QCOMPARE(w.target.writes.at(0).address, scrolls ? std::uint64_t{0x1030} : address);
        }
    }

    void theLastRowIsWhollyVisible()
    {
        MemTestWindow w;
        w.window.resize(900, 400 + 3 - (w.view->height() % w.heightPx)); // 3 pixels of a last row
        QApplication::processEvents();
        w.Key(Qt::Key_End, Qt::ControlModifier);
        const int lastWhole = int(w.window.VisibleRows()) - 2;
        QVERIFY(w.Row(lastWhole).startsWith("FFFFFFF0  "));
        QCOMPARE(CursorCellsOf(w).isEmpty(), lastWhole > 7); // that helper sees eight rows
        QTest::keyClick(w.view, Qt::Key_Home, Qt::ControlModifier);
        w.ClickByte((w.window.VisibleRows() - 1) * 16); // on a row that is cut off
        w.Key(Qt::Key_Right);
        QCOMPARE(w.window.BaseAddress(), 16U);
    }

    void colourEndsWhenTheByteLeavesAndNothingTicks()
    {
        for (const bool ticks : {false, true}) {
            MemTestWindow w;
            w.GoTo(0x1000);
            if (ticks)
                w.window.SetRefreshInterval(1'000'000);
            w.target.Set(0x1002, std::uint8_t(w.target.ByteAt(0x1002) ^ 1));
            w.window.UpdateFromTarget();
            const auto isRed = [&w] {
                const auto texts = PaintRecorder::Record(*w.view->viewport());
                return std::any_of(texts.begin(), texts.end(),
                    [](const PaintRecorder::Text &text) { return text.colour == 0xFFFF0000U; });
            };
            QVERIFY(isRed());
            w.window.ScrollRows(-100);
            w.window.ScrollRows(100);
            QCOMPARE(isRed(), ticks);
        }
    }

    void aHeldPageKeyReadsOnceAtTheRelease()
    {
        MemTestWindow w;
        w.GoTo(0x1000);
        const std::uint64_t step = w.window.BytesPerPage() - 16;
        QTest::keyPress(w.view, Qt::Key_PageDown);
        for (int repeat = 0; repeat < 3; ++repeat) {
            for (const auto type : {QEvent::KeyRelease, QEvent::KeyPress}) {
                QKeyEvent repeated(type, Qt::Key_PageDown, {}, {}, true);
                QApplication::sendEvent(w.view, &repeated);
            }
            QApplication::processEvents();
        }
        QVERIFY(w.target.reads.empty());
        QTest::keyRelease(w.view, Qt::Key_PageDown);
        QCOMPARE(w.target.reads.size(), 1U);
        QCOMPARE(w.LastRead(), (PageRange{0x1000 + 4 * step, w.window.BytesPerPage()}));
        QTest::keyPress(w.view, Qt::Key_PageUp); // whose release another window gets
        w.view->clearFocus();
        QCOMPARE(w.target.reads.size(), 2U);
    }

    void wheelRemaindersAddUp()
    {
        MemTestWindow w;
        w.GoTo(0x1000);
        std::int64_t rows = 0;
        const std::vector<std::pair<int, int>> turns{{120, -3}, {-240, 6}, {-50, 0}, {-50, 0},
            {-50, 3},          // 150 units, 30 are left
            {60, 0}, {-90, 0}, // each turn round clears them
            {-30, 3}};
        for (const auto &[units, moved] : turns) {
            w.Wheel(units);
            rows += moved;
            QCOMPARE(std::int64_t(w.window.BaseAddress()), 0x1000 + 16 * rows);
        }
    }

    void rowsArePaintedAsTextElsewhere()
    {
        MemTestWindow w;
        for (std::uint64_t i = 0; i < 32; ++i)
            w.target.Set(kBase + i, std::uint8_t(0x41 + i));
        w.target.unreadable = {kBase + 3};
        w.GoTo(kBase);
        w.target.Set(kBase + 0x11, 0x7A);
        w.Tick();
        const QList<PaintRecorder::Text> texts = PaintRecorder::Record(*w.view->viewport());
        QCOMPARE(texts.at(0).text,
            "20000000  41 42 43 -- 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50  ABC.EFGHIJKLMNOP");
        QCOMPARE(texts.at(1).text + texts.at(2).text, "4A"); // the cursor's digit and character
        QCOMPARE(texts.at(3).text,
            "20000010  51    53 54 55 56 57 58  59 5A 5B 5C 5D 5E 5F 60  Q STUVWXYZ[\\]^_`");
        QCOMPARE(texts.at(3).baseline.y() - texts.at(0).baseline.y(), qreal(w.heightPx));
        QCOMPARE(texts.at(4).text, "7A");
        QCOMPARE(texts.at(4).colour, 0xFFFF0000U);
        QCOMPARE(texts.at(4).baseline.x(), 2.0 + 13 * w.widthPx);
        QCOMPARE(texts.at(5).text, "z");
        QCOMPARE(texts.at(5).baseline.x(), 2.0 + 61 * w.widthPx);
    }

    void theSixthWindowStaysEmptyUntilAnotherIsGone()
    {
        FakeTarget target;
        std::vector<std::unique_ptr<CHexEditor>> windows;
        const auto open = [&] {
            windows.push_back(std::make_unique<CHexEditor>());
            windows.back()->SetCallbacks(target.Callbacks());
            windows.back()->resize(900, 300);
            windows.back()->show();
            target.reads.clear();
            windows.back()->UpdateFromTarget();
            return target.reads.size();
        };
        for (int window = 0; window < 5; ++window)
            QCOMPARE(open(), 1U);
        QCOMPARE(open(), 0U);
        const auto *view = windows.back()->findChild<QPlainTextEdit *>();
        QVERIFY(PaintRecorder::Record(*view->viewport()).isEmpty());
        windows.erase(windows.begin() + 2);
        QCOMPARE(open(), 1U);
    }

    void theRefreshBoxDrivesTimerAndTitle()
    {
        MemTestWindow w;
        w.GoTo(kBase);
        QCOMPARE(w.rates->currentText() + w.window.windowTitle(), " offMemory @ 20000000");
        w.rates->setCurrentIndex(2);
        QCOMPARE(w.window.windowTitle(), "Memory @ 20000000, 500 ms refresh");
        QTRY_VERIFY(w.target.reads.size() >= 2);
        w.window.SelectRefreshText("");
        QCOMPARE(w.rates->currentIndex(), 2);
        w.window.SelectRefreshText(" 5 S"); // no such text
        QCOMPARE(w.rates->currentText() + w.window.windowTitle(), " offMemory @ 20000000");

        w.window.SelectRefreshText(" 1 s");
        w.window.SetFeatureFlags(0); // hides the controls and stops the refresh
        w.window.UpdateWindowTitle();
        QCOMPARE(w.window.windowTitle(), "Memory @ 20000000");
        QApplication::processEvents();
        w.rates->setCurrentIndex(0); // unseen
        w.window.UpdateWindowTitle();
        QCOMPARE(w.window.windowTitle(), "Memory @ 20000000");
    }

    void theIntervalCanBeChosenByAction()
    {
        MemTestWindow w;
        const auto choose = [&w](const QStringList &texts) {
            w.Action("AutoRefresh")->setData(texts);
            w.Trigger("AutoRefresh");
            return w.rates->currentText();
        };
        QCOMPARE(choose({" 2 s"}), " 2 s");
        QCOMPARE(choose({" 1 s", " 5 s"}), " 2 s");
        w.Action("AutoRefresh")->setData({});
        for (const bool accept : {false, true}) { // asked for
            QTimer::singleShot(0, &w.window, [&] {
                auto *dialog = w.window.findChild<QInputDialog *>();
                QCOMPARE(dialog->windowTitle(), "Periodic Refresh");
                dialog->setTextValue(" 5 s");
                accept ? dialog->accept() : dialog->reject();
            });
            w.Trigger("AutoRefresh");
            QCOMPARE(w.rates->currentText(), accept ? " 5 s" : " 2 s");
        }
    }

    void aChoiceThatNobodySeesIsTakenBack()
    {
        MemTestWindow w;
        w.rates->setCurrentIndex(3);
        const auto state = [&w] {
            return w.rates->currentText() + w.window.windowTitle()
                + QString::number(w.target.reads.size());
        };
        QSignalSpy failed(&w.window, &CHexEditor::CommandFailed);
        w.Trigger("ShowToolbar"); // hides it
        w.Action("AutoRefresh")->setData(QStringList(" 100 ms"));
        const QString before = state();
        w.Trigger("AutoRefresh");
        QCOMPARE(state(), before);
        QCOMPARE(failed.size(), 1);
        w.window.SetFeatureFlags(0);
        QCOMPARE(w.rates->currentText() + w.window.windowTitle(), " offMemory @ 00000000");
        w.window.SetRefreshInterval(300); // a host's own interval
        QCOMPARE(w.window.windowTitle(), "Memory @ 00000000, 300 ms refresh");
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
    }

    void zonesAreOfferedAndUsed()
    {
        MemTestWindow w;
        QMenu menu;
        w.window.AddZoneMenu(&menu);
        QVERIFY(menu.isEmpty());
        w.target.zones = "Default,,Data, Secure";
        w.target.zoneCount = 99; // more than there are
        w.window.AddZoneMenu(&menu);
        QCOMPARE(menu.actions().first()->text(), "Memory &Zone");
        const QList<QAction *> zones = menu.actions().first()->menu()->actions();
        QCOMPARE(zones.size(), 3);
        QVERIFY(zones.at(0)->isChecked() && !zones.at(1)->isChecked());
        w.GoTo(0x100);
        zones.at(1)->trigger();
        QCOMPARE(w.target.reads.back().zone, "Data");
        QCOMPARE(w.window.windowTitle(), "Memory @ 00000100, Zone: Data");
        w.target.zones = "Default, Data";
        QMenu again;
        w.window.AddZoneMenu(&again);
        const QList<QAction *> checked = again.actions().first()->menu()->actions();
        QVERIFY(!checked.at(0)->isChecked() && checked.at(1)->isChecked());
        w.target.ChangeAll(); // other memory has other bytes: nothing has changed, nothing glows
        w.window.SetZone("Default");
        w.window.SetZone("Data");
        for (const PaintRecorder::Text &text : PaintRecorder::Record(*w.view->viewport()))
            QVERIFY(text.colour != 0xFFFF0000U);
        zones.at(0)->trigger();
        QCOMPARE(w.target.reads.back().zone, "");
        QCOMPARE(w.window.windowTitle(), "Memory @ 00000100");
    }

    void theMouseSelectsAfterASmallMove()
    {
        MemTestWindow w;
        w.GoTo(0x1000);
        const QPoint press = w.ByteCentre(0x1012);
        w.Mouse(QEvent::MouseButtonPress, press);
        QCOMPARE(CursorCellsOf(w), "1:16 1:62");
        w.Mouse(QEvent::MouseMove, press + QPoint(5, 0));
        QCOMPARE(SelectedCellsOf(w), "");
        w.Mouse(QEvent::MouseMove, w.ByteCentre(0x1013, 1));
        // The cursor's cells lie on top of the selection.
        QCOMPARE(SelectedCellsOf(w), "1:16 1:17 1:18 1:19 1:62");
        w.Mouse(QEvent::MouseButtonRelease, w.ByteCentre(0x1013, 1));
        w.Mouse(QEvent::MouseButtonPress, w.ByteCentre(0x1032), Qt::ShiftModifier);
        QVERIFY(SelectedCellsOf(w).contains("2:40"));
        w.Key(Qt::Key_Escape);
        QCOMPARE(SelectedCellsOf(w), "");
        QCOMPARE(CursorCellsOf(w), "3:16 3:62");
    }

    void theKeyboardSelects()
    {
        MemTestWindow w;
        w.window.SetBytesPerItem(2);
        w.GoTo(0x1000);
        const auto press = [&w](Qt::Key key) {
            QTest::keyPress(w.view, key, Qt::ShiftModifier);
            return SelectedCellsOf(w);
        };
        const QString item = "0:11 0:12 0:13 0:52";             // of the cursor, both bytes
        for (const Qt::Key key : {Qt::Key_Shift, Qt::Key_Down}) // held over both moves
            press(key);
        QCOMPARE(press(Qt::Key_Up), item);
        w.ClickByte(0x1040);
        QTest::keyRelease(w.view, Qt::Key_Shift); // after a move the selection stays
        QCOMPARE(SelectedCellsOf(w), "0:10 " + item + " 0:53");
        const QString selected = SelectedCellsOf(w);
        QVERIFY(press(Qt::Key_Shift) != selected); // Shift alone begins one at the cursor
        QTest::keyRelease(w.view, Qt::Key_Shift);
        QCOMPARE(SelectedCellsOf(w), selected);
        press(Qt::Key_Shift);
        press(Qt::Key_Control);
        QTest::keyClick(w.view, 'B', Qt::ShiftModifier); // opens the edit box
        QCOMPARE(SelectedCellsOf(w), selected);
        QTest::keyPress(w.overlay, Qt::Key_Shift, Qt::ShiftModifier);
        QCOMPARE(SelectedCellsOf(w), selected);
        QTest::keyClick(w.overlay, Qt::Key_Escape);
        w.Key(Qt::Key_Home, Qt::ControlModifier);
        QCOMPARE(w.window.BaseAddress(), 0ULL);
        w.Key(Qt::Key_End, Qt::ControlModifier);
        QCOMPARE(w.LastRead().End(), kAddressSpaceEnd);
    }

    void theViewScrollsUnderASelectionBeyondIt()
    {
        MemTestWindow w;
        w.GoTo(0x1000);
        w.Mouse(QEvent::MouseButtonPress, w.CellCentre(1, 16));
        w.Mouse(QEvent::MouseMove, w.CellCentre(2, 20));
        std::uint64_t base = 0x1010;
        for (const int yPx : {w.view->height() + 30, -30, -30}) {
            QCursor::setPos(w.view->viewport()->mapToGlobal(QPoint(100, yPx)));
            w.window.OnAutoScrollSelectionTimerTimeout();
            QCOMPARE(w.window.BaseAddress(), base);
            base -= 16;
        }
        w.Mouse(QEvent::MouseButtonRelease, w.CellCentre(2, 20));
    }

    void jumpsKeepPageAndCursorInTheSpace()
    {
        MemTestWindow w;
        w.GoTo(kBase + 0xA05);
        QCOMPARE(w.window.BaseAddress(), kBase + 0xA00);
        QCOMPARE(CursorCellsOf(w), "0:10 0:60");
        for (const std::uint64_t far :
            {0xFFFF'FFF8ULL, 0x1'0000'0000ULL, 0x1'2345'6789ULL, ~0ULL}) {
            w.window.GoTo(far, true, true);
            QCOMPARE(w.window.BaseAddress(), 0xFFFF'FFF0ULL);
            QCOMPARE(w.LastRead(), (PageRange{0xFFFF'FFF0, 16}));
        }
        QTest::keyClick(w.view, 'a'); // the cursor stands where a whole page would begin
        QTest::keyClick(w.overlay, Qt::Key_Return);
        w.window.OnEditUpdateTimerTimeout();
        QCOMPARE(w.target.writes.at(0).address, kAddressSpaceEnd - w.window.BytesPerPage());
    }
};

QTEST_MAIN(CHexEditorTest)
#include "tst_chexeditor.moc"
