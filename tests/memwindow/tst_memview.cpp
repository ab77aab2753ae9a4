// The memory window as a live view: what it reads when, and what it shows of it.

#include "memscript.h"

namespace {

constexpr const char *kMoves = R"(
down: goto 1000; scroll -3; base? -> 1030; reads? -> 1150+30
beyond the end: goto 1000; scroll -2000000000; base? -> FFFFFEC0; reads? -> FFFFFEC0+140
Ctrl+End: goto 1000; key Ctrl+End; base? -> FFFFFEC0; reads? -> FFFFFEC0+140
bar, scroll here: goto 1000; slide @5; base? -> @0; reads? -> @0+150
bar, a drag reads at its end: goto 1000; drag 10 7FFFFFFF 80000000 800003E7 -> 800003E7  ..;
    base? -> 800003E7; reads? -> 800003E7+150
parts add up: goto 1000; wheel view -50 -50 -50 -90; base? -> 1060; reads? -> 1150+30 1180+30
a turn round clears them: goto 1000; wheel view -110 60 -110; base? -> 1000; reads? ->
wheel over the bar: goto 1000; wheel pScrollBar -120; base? -> 1030; reads? -> 1150+30
wheel over the boxes: goto 1000; enter 3000; enter 4000; goto 1000; wheel pEditBoxAddr -120;
    rate 500 ms; wheel pRefreshBox -120; rate? -> 500 ms; base? -> 1000; reads? ->
a held page key: goto 1000; hold PgDown; repeat PgDown; reads? ->; release PgDown; base? -> 1280;
    reads? -> 1280+150
whose release another gets: goto 1000; hold PgUp; reads? ->; focus pEditBoxAddr; base? -> EC0;
    reads? -> EC0+150
the frame, to its end: goto 1000; resize 110 19; wait; resize 100 15; wait; resize 90 10; wait;
    reads? ->; later; reads? -> 1000+B0; hide; show; wait; reads? ->; narrow; wait; settle; row? 0 ->;
    reads? ->
the top address stays when the width changes: goto @18; resize 60 20; wait; base? -> @18;
    resize 160 20; wait; base? -> @0; resize 118 20; wait; base? -> @10
)";

constexpr const char *kRows = R"(
digits, text and changes: bad @43; read; set @52 7A; tick; row? 4 -> 20000040  40 41 42 -- 44 45 46
    47  48 49 4A 4B 4C 4D 4E 4F  @AB.DEFGHIJKLMNO; row? 5 -> 20000050  50 51 7A 53 54 55 56 57  58
    59 5A 5B 5C 5D 5E 5F  PQzSTUVWXYZ[\]^_; red? -> 7A z
one bad byte: goto FFFFFFF0; set FFFFFFF0 0 1 2 3 4 5 6 7 8 9 A B C D E F; bad FFFFFFF6; read;
    reads? -> FFFFFFF0+10 FFFFFFF0+10 FFFFFFF0+4 FFFFFFF4+4 FFFFFFF4+2 FFFFFFF6+2 FFFFFFF6+1
    FFFFFFF7+1 FFFFFFF8+4 FFFFFFFC+4; row? 0 -> FFFFFFF0  00 01 02 03 04 05 -- 07  08 09 0A 0B 0C 0D
    0E 0F  ................
an item has the colour of its youngest byte: size 4; set @41 7A; set @46 7B; tick; set @42 7C;
    set @45 7D; bad @48; set @4A 7E; tick; red? -> 437C7A40 477B7D44 | } ~
)";

/// Counts the rows that a view is asked to paint.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(const MemTestWindow &w)
        : m_heightPx(w.heightPx)
    {
        w.view->viewport()->installEventFilter(this);
    }
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            rows
                += static_cast<QPaintEvent *>(event)->region().boundingRect().height() / m_heightPx;
        return false;
    }
    int rows = 0;

private:
    int m_heightPx;
};

} // namespace

class MemViewTest : public QObject {
    Q_OBJECT

private slots:
    void aTickReadsThePageOnceAndPaintsTheRowsThatChanged()
    {
        MemTestWindow w;
        PaintCounter paints(w);
        w.Tick();
        QCOMPARE(w.target.reads.size(), 1U);
        QCOMPARE(w.LastRead(), (PageRange{kBase, w.window.BytesPerPage()}));
        QCOMPARE(paints.rows, 0);

        w.target.Set(kBase + 0x13, std::uint8_t(w.target.ByteAt(kBase + 0x13) + 1));
        for (const int expected : {1, 2, 3, 4, 4}) { // changed, fading twice, plain again, still
            w.Tick();
            QCOMPARE(paints.rows, expected);
        }
        w.target.unreadable = {kBase + 0x21}; // what stays unreadable is unchanged as well
        w.Tick(2);
        QCOMPARE(paints.rows, 5);
    }

    void aMoveReadsTheExposedBytesAlone_data() { AddScripts(kMoves); }
    void aMoveReadsTheExposedBytesAlone() { RunScript(); }

    void aRowReads_data() { AddScripts(kRows); }
    void aRowReads() { RunScript(); }

    void aSlowPageWithAHoleIsReadFromTheEventLoop()
    {
        MemTestWindow w;
        for (std::uint64_t at = 0; at < 16; ++at) // the page starts in a hole
            w.target.unreadable.insert(kBase + at);
        w.target.reads.clear();
        w.window.GoTo(kBase, true, false);
        const std::vector<FakeTarget::Call> fast = std::exchange(w.Settled().target.reads, {});
        QCOMPARE(fast.size(), 1U + 1 + 4 * 7 + 20); // rows, words, bytes

        w.window.GoTo(0x5000, true, false);
        w.target.reads.clear();
        w.target.callTakesMs = 5;
        w.window.GoTo(kBase, true, false);
        QVERIFY(w.target.reads.size() < fast.size());
        for (int turn = 0; turn < 100 && !w.Row(0).startsWith("20000000  -- "); ++turn)
            QApplication::processEvents(); // the first turn gets less far on a loaded machine
        QVERIFY(w.Row(0).startsWith("20000000  -- ") && w.Row(19).startsWith("20000130  .. "));
        w.window.OnAutoUpdateTimerTimeout(); // no second read beside the one under way
        QTRY_COMPARE(w.target.reads.size(), fast.size());
        QVERIFY(w.target.reads == fast); // the same calls in the same order
        QVERIFY(!w.Row(19).contains(".. "));

        w.window.GoTo(kBase, true, false);
        w.window.GoTo(0x5000, true, false); // what is left of the first page is not asked for
        w.target.reads.clear();
        for (int turn = 0; turn < 20; ++turn)
            QApplication::processEvents();
        QVERIFY(w.target.reads.empty());

        w.window.GoTo(kBase, true, false); // a scroll takes what was left along
        w.window.ScrollRows(-1);
        QTRY_VERIFY(!w.Row(19).contains(".. "));
    }

    void theSixthWindowStaysEmptyUntilAnotherIsGone()
    {
        std::vector<std::unique_ptr<MemTestWindow>> windows;
        const auto readsOfANewOne = [&] {
            MemTestWindow &w = *windows.emplace_back(std::make_unique<MemTestWindow>());
            w.window.UpdateFromTarget();
            return w.target.reads.size();
        };
        for (int window = 0; window < 5; ++window)
            QCOMPARE(readsOfANewOne(), 1U);
        QCOMPARE(readsOfANewOne(), 0U);
        QVERIFY(windows.back()->Rows().isEmpty());
        windows.erase(windows.begin() + 2);
        QCOMPARE(readsOfANewOne(), 1U);
    }
};

QTEST_MAIN(MemViewTest)
#include "tst_memview.moc"
