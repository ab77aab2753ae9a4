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
        w.view->setFixedWidth(150); // too narrow for a single byte
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
            "20000010  51 7A 53 54 55 56 57 58  59 5A 5B 5C 5D 5E 5F 60  QzSTUVWXYZ[\\]^_`");
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
        // Held over both moves; a pressed Shift starts anew.
        for (const Qt::Key key : {Qt::Key_Shift, Qt::Key_Down, Qt::Key_Up}) {
            QKeyEvent press(QEvent::KeyPress, key, Qt::ShiftModifier);
            QApplication::sendEvent(w.view, &press);
        }
        QCOMPARE(SelectedCellsOf(w), "0:11 0:12 0:13 0:52"); // the item of the cursor, both bytes
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
