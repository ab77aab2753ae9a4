#include "paintrecorder.h"
#include "shownwindow.h"

#include <QInputDialog>
#include <QMenu>

class CHexEditorTest : public QObject {
    Q_OBJECT

private slots:
    void showingReadsThePageOnce();
    void aTickReadsThePageOnceAndUnchangedMemoryPaintsNothing();
    void aDragResizeReadsOnce();
    void scrollingReadsTheExposedRowsOnly();
    void aHeldPageKeyReadsOnceAtTheRelease();
    void aScrollBarDragReadsOnceAtTheRelease();
    void rowsArePaintedAsTextElsewhere();
    void theSixthWindowStaysEmptyUntilAnotherIsGone();
    void wheelRemaindersAddUp();
    void theRefreshBoxDrivesTimerAndTitle();
    void zonesAreOfferedAndUsed();
    void theMouseSelectsAfterASmallMove();
    void theKeyboardSelects();
    void theViewScrollsUnderASelectionBelowIt();
    void jumpsNearTheEndKeepTheCursorInTheSpace();
    void theIntervalCanBeChosenByAction();
};

namespace {

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

} // namespace

void CHexEditorTest::showingReadsThePageOnce()
{
    ShownWindow s;
    QCOMPARE(s.window.BytesPerRow(), 16U);
    QCOMPARE(s.target.reads.size(), std::size_t(1));
    QCOMPARE(s.LastRead(), (PageRange{0, s.window.BytesPerPage()}));
}

void CHexEditorTest::aTickReadsThePageOnceAndUnchangedMemoryPaintsNothing()
{
    ShownWindow s;
    s.GoTo(0x2000'0000);
    PaintCounter paints(s.view->viewport());
    s.window.OnAutoUpdateTimerTimeout();
    QApplication::processEvents();
    QCOMPARE(s.target.reads.size(), std::size_t(1));
    QCOMPARE(s.LastRead(), (PageRange{0x2000'0000, s.window.BytesPerPage()}));
    QCOMPARE(paints.count, 0);

    s.target.Set(0x2000'0013, std::uint8_t(s.target.ByteAt(0x2000'0013) + 1));
    for (int tick = 1; tick <= 4; ++tick) { // changed, fading twice, plain again
        s.window.OnAutoUpdateTimerTimeout();
        QApplication::processEvents();
        QCOMPARE(paints.count, tick);
    }
    s.window.OnAutoUpdateTimerTimeout();
    QApplication::processEvents();
    QCOMPARE(paints.count, 4);

    // Memory that stays unreadable is unchanged as well.
    s.target.unreadable = {0x2000'0021};
    s.window.OnAutoUpdateTimerTimeout();
    QApplication::processEvents();
    QCOMPARE(paints.count, 5);
    s.window.OnAutoUpdateTimerTimeout();
    QApplication::processEvents();
    QCOMPARE(paints.count, 5);
}

void CHexEditorTest::aDragResizeReadsOnce()
{
    ShownWindow s;
    s.target.reads.clear();
    for (int width = 900; width > 600; width -= 50) {
        s.window.resize(width, 300);
        QApplication::processEvents();
    }
    QVERIFY(s.target.reads.empty());
    QTRY_COMPARE(s.target.reads.size(), std::size_t(1));
    QCOMPARE(s.LastRead(), (PageRange{0, s.window.BytesPerPage()}));
    s.view->setFixedWidth(150); // too narrow for a single byte
    QApplication::processEvents();
    QCOMPARE(s.window.BytesPerRow(), 0U);
    s.window.OnResizeTimerTimeout();
    QCOMPARE(s.target.reads.size(), std::size_t(1));
}

void CHexEditorTest::scrollingReadsTheExposedRowsOnly()
{
    ShownWindow s;
    s.GoTo(0x1000);
    const std::uint64_t page = s.window.BytesPerPage();
    s.window.ScrollRows(-3);
    QCOMPARE(s.LastRead(), (PageRange{0x1000 + page, 48}));
    s.window.ScrollRows(5);
    QCOMPARE(s.LastRead(), (PageRange{0x0FE0, 0x20 + 48}));
    s.window.ScrollRows(-1000);
    QCOMPARE(s.LastRead(), (PageRange{0x0FE0 + 16000, page}));
    QCOMPARE(s.target.reads.size(), std::size_t(3));
    s.window.ScrollRows(-2'000'000'000);
    QCOMPARE(s.LastRead().End(), kAddressSpaceEnd);
    s.target.reads.clear();
    s.window.ScrollRows(-1); // at the end
    QVERIFY(s.target.reads.empty());
    s.scrollBar->triggerAction(QAbstractSlider::SliderToMinimum);
    QCOMPARE(s.LastRead(), (PageRange{0, page}));
    s.scrollBar->triggerAction(QAbstractSlider::SliderPageStepAdd);
    QCOMPARE(s.window.BaseAddress(), page - 16);
    s.scrollBar->triggerAction(QAbstractSlider::SliderSingleStepSub);
    QCOMPARE(s.window.BaseAddress(), page - 32);
    s.scrollBar->triggerAction(QAbstractSlider::SliderToMaximum);
    QCOMPARE(s.window.BaseAddress(), kAddressSpaceEnd - page);
    QCOMPARE(s.scrollBar->maximum(), 2147483647 - int(page));
}

void CHexEditorTest::aHeldPageKeyReadsOnceAtTheRelease()
{
    ShownWindow s;
    s.GoTo(0x1000);
    const std::uint64_t step = s.window.BytesPerPage() - 16;
    QTest::keyPress(s.view, Qt::Key_PageDown);
    for (int repeat = 0; repeat < 3; ++repeat) {
        QKeyEvent release(QEvent::KeyRelease, Qt::Key_PageDown, {}, {}, true);
        QKeyEvent press(QEvent::KeyPress, Qt::Key_PageDown, {}, {}, true);
        QApplication::sendEvent(s.view, &release);
        QApplication::sendEvent(s.view, &press);
        QApplication::processEvents();
    }
    QVERIFY(s.target.reads.empty());
    QCOMPARE(s.window.BaseAddress(), 0x1000 + 4 * step);
    QTest::keyRelease(s.view, Qt::Key_PageDown);
    QCOMPARE(s.target.reads.size(), std::size_t(1));
    QCOMPARE(s.LastRead(), (PageRange{0x1000 + 4 * step, s.window.BytesPerPage()}));

    QTest::keyPress(s.view, Qt::Key_PageUp); // whose release another window gets
    s.view->clearFocus();
    QCOMPARE(s.target.reads.size(), std::size_t(2));
}

void CHexEditorTest::aScrollBarDragReadsOnceAtTheRelease()
{
    ShownWindow s;
    s.target.reads.clear();
    s.scrollBar->setSliderDown(true);
    for (const int position : {-2000000000, 0, 1, 1000})
        s.scrollBar->setSliderPosition(position);
    QVERIFY(s.target.reads.empty());
    QCOMPARE(PaintRecorder::Record(*s.view->viewport()).first().text.left(12), "800003E7  ..");
    s.scrollBar->setSliderDown(false);
    QCOMPARE(s.target.reads.size(), std::size_t(1));
    QCOMPARE(s.LastRead(), (PageRange{0x8000'03E7, s.window.BytesPerPage()}));
}

void CHexEditorTest::rowsArePaintedAsTextElsewhere()
{
    ShownWindow s;
    for (std::uint64_t i = 0; i < 32; ++i)
        s.target.Set(0x2000'0000 + i, std::uint8_t(0x41 + i));
    s.target.unreadable = {0x2000'0003};
    s.GoTo(0x2000'0000);
    s.target.Set(0x2000'0011, 0x7A);
    s.window.OnAutoUpdateTimerTimeout();
    const QList<PaintRecorder::Text> texts = PaintRecorder::Record(*s.view->viewport());
    QCOMPARE(texts.at(0).text,
        "20000000  41 42 43 -- 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50  ABC.EFGHIJKLMNOP");
    QCOMPARE(texts.at(1).text, "4"); // the cursor's digit and its text character
    QCOMPARE(texts.at(2).text, "A");
    QCOMPARE(texts.at(3).text,
        "20000010  51 7A 53 54 55 56 57 58  59 5A 5B 5C 5D 5E 5F 60  QzSTUVWXYZ[\\]^_`");
    QCOMPARE(texts.at(4).text, "7A");
    QCOMPARE(texts.at(4).colour, 0xFFFF0000U);
    QCOMPARE(texts.at(5).text, "z");
    const qreal lineHeight = texts.at(3).baseline.y() - texts.at(0).baseline.y();
    QCOMPARE(lineHeight, qreal(QFontMetrics(s.view->font()).height()));
    const int cell = QFontMetrics(s.view->font()).horizontalAdvance('0');
    QCOMPARE(texts.at(4).baseline.x(), 2.0 + 13 * cell);
    QCOMPARE(texts.at(5).baseline.x(), 2.0 + 61 * cell);
}

void CHexEditorTest::theSixthWindowStaysEmptyUntilAnotherIsGone()
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
        QCOMPARE(open(), std::size_t(1));
    QCOMPARE(open(), std::size_t(0));
    QVERIFY(PaintRecorder::Record(*windows.back()->findChild<QPlainTextEdit *>()->viewport())
                .isEmpty());
    windows.erase(windows.begin() + 2);
    QCOMPARE(open(), std::size_t(1));
}

void CHexEditorTest::wheelRemaindersAddUp()
{
    ShownWindow s;
    s.GoTo(0x1000);
    s.Wheel(120);
    QCOMPARE(s.window.BaseAddress(), 0x1000ULL - 48);
    s.Wheel(-240);
    QCOMPARE(s.window.BaseAddress(), 0x1000ULL + 48);
    for (int part = 0; part < 3; ++part)
        s.Wheel(-50);
    QCOMPARE(s.window.BaseAddress(), 0x1000ULL + 96); // 150 units, 30 are left
    s.Wheel(60);
    s.Wheel(-90); // the turn has cleared them
    QCOMPARE(s.window.BaseAddress(), 0x1000ULL + 96);
    s.Wheel(-30);
    QCOMPARE(s.window.BaseAddress(), 0x1000ULL + 144);
}

void CHexEditorTest::theRefreshBoxDrivesTimerAndTitle()
{
    ShownWindow s;
    s.GoTo(0x2000'0000);
    QCOMPARE(s.window.windowTitle(), "Memory @ 20000000");
    QCOMPARE(s.rates->currentText(), " off");
    s.rates->setCurrentIndex(2);
    QCOMPARE(s.window.windowTitle(), "Memory @ 20000000, 500 ms refresh");
    s.target.reads.clear();
    QTRY_VERIFY(s.target.reads.size() >= 2);
    s.window.SelectRefreshText("");
    QCOMPARE(s.rates->currentIndex(), 2);
    s.window.SelectRefreshText(" 5 S");
    QCOMPARE(s.rates->currentText(), " off");
    QCOMPARE(s.window.windowTitle(), "Memory @ 20000000");

    s.window.SelectRefreshText(" 1 s");
    s.window.SetFeatureFlags(0); // hides the controls and stops the refresh
    s.window.UpdateWindowTitle();
    QCOMPARE(s.window.windowTitle(), "Memory @ 20000000");
    QApplication::processEvents();
    s.rates->setCurrentIndex(0); // unseen
    s.window.UpdateWindowTitle();
    QCOMPARE(s.window.windowTitle(), "Memory @ 20000000");
}

void CHexEditorTest::zonesAreOfferedAndUsed()
{
    ShownWindow s;
    QMenu menu;
    s.window.AddZoneMenu(&menu);
    QVERIFY(menu.isEmpty());
    s.target.zones = "Default,,Data, Secure";
    s.target.zoneCount = 99;
    s.window.AddZoneMenu(&menu);
    const QList<QAction *> zones = menu.actions().first()->menu()->actions();
    QCOMPARE(menu.actions().first()->text(), "Memory &Zone");
    QCOMPARE(zones.size(), 3);
    QVERIFY(zones.at(0)->isChecked() && !zones.at(1)->isChecked());
    s.GoTo(0x100);
    zones.at(1)->trigger();
    QCOMPARE(s.target.reads.back().zone, "Data");
    QCOMPARE(s.window.windowTitle(), "Memory @ 00000100, Zone: Data");
    s.window.OnMemZoneMenuActionTriggered(zones.at(0));
    QCOMPARE(s.target.reads.back().zone, "");
    QCOMPARE(s.window.windowTitle(), "Memory @ 00000100");
}

/// The cells that are painted on the selection's background or under the cursor, "row:column".
static QStringList CellsOfColour(ShownWindow &s, QPalette::ColorRole role, int darkness = 100)
{
    const QRgb colour = s.view->palette().color(role).darker(darkness).rgb();
    const QImage image = s.view->viewport()->grab().toImage();
    QStringList cells;
    for (int row = 0; row < 8; ++row) {
        for (int column = 10; column < 76; ++column) {
            const QPoint centre = s.CellCentre(row, column);
            const QPoint corner(centre.x() - 2, row * QFontMetrics(s.view->font()).height());
            if (image.pixel(corner) == colour)
                cells += QStringLiteral("%1:%2").arg(row).arg(column);
        }
    }
    return cells;
}

static QStringList SelectedCellsOf(ShownWindow &s)
{
    return CellsOfColour(s, QPalette::AlternateBase, 105);
}

void CHexEditorTest::theMouseSelectsAfterASmallMove()
{
    ShownWindow s;
    s.GoTo(0x1000);
    const QPoint press = s.CellCentre(1, 16); // first digit of byte 0x1012
    s.Mouse(QEvent::MouseButtonPress, press);
    QCOMPARE(CellsOfColour(s, QPalette::Highlight), QStringList({"1:16", "1:62"}));
    s.Mouse(QEvent::MouseMove, press + QPoint(5, 0));
    QVERIFY(SelectedCellsOf(s).isEmpty());
    s.Mouse(QEvent::MouseMove, s.CellCentre(1, 20));
    // The cursor's cells lie on top of the selection.
    QCOMPARE(SelectedCellsOf(s), QStringList({"1:16", "1:17", "1:18", "1:19", "1:62"}));
    s.Mouse(QEvent::MouseButtonRelease, s.CellCentre(1, 20));
    s.Mouse(QEvent::MouseButtonPress, s.CellCentre(3, 16), Qt::ShiftModifier);
    QCOMPARE(SelectedCellsOf(s).count("2:40"), 1);
    s.Key(Qt::Key_Escape);
    QVERIFY(SelectedCellsOf(s).isEmpty());
    QCOMPARE(CellsOfColour(s, QPalette::Highlight), QStringList({"3:16", "3:62"}));
}

void CHexEditorTest::theKeyboardSelects()
{
    ShownWindow s;
    s.window.SetBytesPerItem(2);
    s.GoTo(0x1000);
    // Held over both moves; a pressed Shift starts anew.
    for (const Qt::Key key : {Qt::Key_Shift, Qt::Key_Down, Qt::Key_Up}) {
        QKeyEvent press(QEvent::KeyPress, key, Qt::ShiftModifier);
        QApplication::sendEvent(s.view, &press);
    }
    QCOMPARE(SelectedCellsOf(s).count("0:12"), 1); // the item of the cursor, both bytes
    QCOMPARE(SelectedCellsOf(s).count("0:14"), 0);
    s.Key(Qt::Key_Home, Qt::ControlModifier);
    QCOMPARE(s.window.BaseAddress(), 0ULL);
    s.Key(Qt::Key_End, Qt::ControlModifier);
    QCOMPARE(s.LastRead().End(), kAddressSpaceEnd);
}

void CHexEditorTest::theViewScrollsUnderASelectionBelowIt()
{
    ShownWindow s;
    s.GoTo(0x1000);
    s.Mouse(QEvent::MouseButtonPress, s.CellCentre(1, 16));
    s.Mouse(QEvent::MouseMove, s.CellCentre(2, 20));
    QCursor::setPos(s.view->viewport()->mapToGlobal(QPoint(100, s.view->height() + 30)));
    s.window.OnAutoScrollSelectionTimerTimeout();
    QCOMPARE(s.window.BaseAddress(), 0x1010ULL);
    QCursor::setPos(s.view->viewport()->mapToGlobal(QPoint(100, -30)));
    s.window.OnAutoScrollSelectionTimerTimeout();
    s.window.OnAutoScrollSelectionTimerTimeout();
    QCOMPARE(s.window.BaseAddress(), 0x0FF0ULL);
    s.Mouse(QEvent::MouseButtonRelease, s.CellCentre(2, 20));
}

void CHexEditorTest::jumpsNearTheEndKeepTheCursorInTheSpace()
{
    ShownWindow s;
    s.window.GoTo(0xFFFF'FFF8, true, false);
    QCOMPARE(s.window.BaseAddress(), 0xFFFF'FFF0ULL);
    QCOMPARE(s.LastRead(), (PageRange{0xFFFF'FFF0, 16}));
    s.Key(Qt::Key_Up); // from the cursor, which stands a page before the end
    s.window.GoTo(0x1234'5678'9ABC, true, false);
    QCOMPARE(s.window.BaseAddress(), 0xFFFF'FFF0ULL);
    s.GoTo(0x2000'0A05);
    QCOMPARE(s.window.BaseAddress(), 0x2000'0A00ULL);
    QCOMPARE(CellsOfColour(s, QPalette::Highlight), QStringList({"0:10", "0:60"}));
}

void CHexEditorTest::theIntervalCanBeChosenByAction()
{
    ShownWindow s;
    auto *action = s.window.findChild<QAction *>("pActionMemoryAutoRefresh");
    action->setData(QStringList{" 2 s"});
    s.window.OnActionAutoRefreshTriggered();
    QCOMPARE(s.rates->currentText(), " 2 s");
    action->setData(QStringList{" 1 s", " 5 s"});
    s.window.OnActionAutoRefreshTriggered();
    QCOMPARE(s.rates->currentText(), " 2 s");
    // Asked for, and answered by cancelling: nothing changes.
    action->setData({});
    QString title;
    QTimer::singleShot(0, &s.window, [&] {
        auto *dialog = s.window.findChild<QDialog *>();
        title = dialog->windowTitle();
        dialog->reject();
    });
    s.window.OnActionAutoRefreshTriggered();
    QCOMPARE(title, "Periodic Refresh");
    QCOMPARE(s.rates->currentText(), " 2 s");
}

QTEST_MAIN(CHexEditorTest)
#include "tst_chexeditor.moc"
