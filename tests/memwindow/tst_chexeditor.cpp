#include "chexeditor.h"
#include "faketarget.h"
#include "paintrecorder.h"

#include <QComboBox>
#include <QMenu>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSettings>
#include <QtTest>

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
};

namespace {

/// A window of 16 bytes a row that shows a fake target.
struct Shown {
    Shown()
    {
        window.SetCallbacks(target.Callbacks());
        window.SetFeatureFlags(kFeatureRefresh);
        window.resize(900, 400);
        window.show();
        window.activateWindow();
        view->setFocus();
        QApplication::processEvents();
    }
    void GoTo(std::uint64_t address)
    {
        window.GoTo(address, true, false);
        QApplication::processEvents();
        target.reads.clear();
    }
    [[nodiscard]] PageRange LastRead() const
    {
        return {target.reads.back().address, target.reads.back().length};
    }
    void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(view, key, modifiers);
    }
    void Wheel(int units)
    {
        QWheelEvent event(QPointF(50, 50), view->viewport()->mapToGlobal(QPointF(50, 50)), {},
            {0, units}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(view->viewport(), &event);
    }

    struct FirstStart {
        FirstStart() { QSettings().clear(); }
    } firstStart; // each window as if no other had left its settings behind
    FakeTarget target;
    CHexEditor window;
    QPlainTextEdit *view = window.findChild<QPlainTextEdit *>("pTextEditor");
    QScrollBar *scrollBar = window.findChild<QScrollBar *>("pScrollBar");
    QComboBox *rates = window.findChild<QComboBox *>("pRefreshBox");
};

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
    Shown s;
    QCOMPARE(s.window.BytesPerRow(), 16U);
    QCOMPARE(s.target.reads.size(), std::size_t(1));
    QCOMPARE(s.LastRead(), (PageRange{0, s.window.BytesPerPage()}));
}

void CHexEditorTest::aTickReadsThePageOnceAndUnchangedMemoryPaintsNothing()
{
    Shown s;
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
    Shown s;
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
    Shown s;
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
    Shown s;
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
    Shown s;
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
    Shown s;
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
    Shown s;
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
    Shown s;
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
    Shown s;
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

QTEST_MAIN(CHexEditorTest)
#include "tst_chexeditor.moc"
