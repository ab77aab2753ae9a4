// The memory window as a live view: what it reads when, and what it shows of it.

#include "memscript.h"

namespace {

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

    void aMoveReadsTheExposedBytesAlone_data()
    {
        AddRows<Script>({{"down", "scroll -3", "1030|1150+30"}, {"up", "scroll 5", "FB0|FB0+50"},
            {"far down", "scroll -1000", "4E80|4E80+150"},
            {"beyond the end", "scroll -2000000000", "FFFFFEC0|FFFFFEC0+140"},
            {"beyond the start", "scroll 2000000000", "0|0+150"},
            {"Ctrl+Home", "key Ctrl+Home", "0|0+150"},
            {"Ctrl+End", "key Ctrl+End", "FFFFFEC0|FFFFFEC0+140"},
            {"bar, a row on", "bar 1", "1010|1150+10"}, {"bar, a row back", "bar 2", "FF0|FF0+10"},
            {"bar, a page on", "bar 3", "1140|1150+140"},
            {"bar, a page back", "bar 4", "EC0|EC0+140"}, {"bar to the start", "bar 5", "0|0+150"},
            {"bar to the end", "bar 6", "FFFFFEC0|FFFFFEC0+140"},
            {"bar, scroll here", "slide @5", "@0|@0+150"},
            {"bar, a drag reads at its end", "drag 10 7FFFFFFF 80000000 800003E7",
                "800003E7  ..|800003E7|800003E7+150"},
            {"wheel up", "wheel view 120", "FD0|FD0+30"},
            {"two notches", "wheel view -240", "1060|1150+60"},
            {"parts of a notch", "wheel view -50 -50", "1000|"},
            {"parts add up", "wheel view -50 -50 -50 -90", "1060|1150+30 1180+30"},
            {"a turn round clears them", "wheel view -110 60 -110", "1000|"},
            {"wheel over the bar", "wheel pScrollBar -120", "1030|1150+30"},
            {"wheel over the boxes",
                "enter 3000; enter 4000; goto 1000; wheel pEditBoxAddr -120; rate 500 ms; wheel "
                "pRefreshBox -120; rate?",
                "500 ms|1000|"},
            {"a held page key", "hold PgDown; repeat PgDown; reads?; release PgDown",
                "|1280|1280+150"},
            {"whose release another gets", "hold PgUp; reads?; focus pEditBoxAddr",
                "|EC0|EC0+150"}});
    }

    void aMoveReadsTheExposedBytesAlone()
    {
        QFETCH(const Script, row);
        QCOMPARE(MemScript().Run(QStringLiteral("goto 1000; %1; base?; reads?").arg(row.steps)),
            row.answers);
    }

    void aDragResizeReadsOnce()
    {
        MemTestWindow w;
        for (int width = 900; width > 600; width -= 50) {
            w.window.resize(width, 300);
            QApplication::processEvents();
        }
        QVERIFY(w.target.reads.empty());
        QTRY_COMPARE(w.target.reads.size(), 1U);
        QCOMPARE(w.LastRead(), (PageRange{kBase, w.window.BytesPerPage()}));
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

    void theTopAddressStaysWhenTheWidthChanges()
    {
        MemTestWindow w;
        w.GoTo(kBase + 0x18);
        for (const unsigned bytesPerRow : {8U, 32U, 16U}) {
            w.window.resize(bytesPerRow == 8 ? 500 : bytesPerRow == 32 ? 1500 : 900, 400);
            QApplication::processEvents();
            QCOMPARE(w.window.BytesPerRow(), bytesPerRow);
            QCOMPARE(w.window.BaseAddress(), kBase + 0x18 - 0x18 % bytesPerRow);
        }
    }

    void aHostMayClaimMoreThanItWasAsked()
    {
        MemTestWindow w;
        MemoryCallbacks callbacks;
        callbacks.ReadMemory = [](std::uint64_t, std::uint64_t length, std::uint8_t, const char *,
                                   std::uint8_t *data, std::uint8_t *status) {
            if (length > 16)
                return -5;
            for (std::uint64_t i = 0; i < length; ++i) {
                data[i] = 0x47;
                status[i] = std::uint8_t(i); // nonsense from byte 3 on
            }
            return std::numeric_limits<int>::max();
        };
        w.window.SetCallbacks(callbacks);
        QCOMPARE(w.Row(1),
            "20000010  47 -- -- .. -- -- -- --  -- -- -- -- -- -- -- --  G...............");
    }

    void aSlowPageWithAHoleIsReadFromTheEventLoop()
    {
        MemTestWindow w;
        for (std::uint64_t at = 0; at < 16; ++at) // the page starts in a hole
            w.target.unreadable.insert(kBase + at);
        w.target.reads.clear();
        w.window.GoTo(kBase, true, false);
        const std::vector<FakeTarget::Call> fast = std::exchange(w.target.reads, {});
        QCOMPARE(fast.size(), 1U + 1 + 4 * 7 + 20); // rows, words, bytes

        w.window.GoTo(0x5000, true, false);
        w.target.reads.clear();
        w.target.callTakesMs = 5;
        w.window.GoTo(kBase, true, false);
        QVERIFY(w.target.reads.size() < fast.size());
        QVERIFY(w.Row(0).startsWith("20000000  -- ") && w.Row(5).startsWith("20000050  .. "));
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

    void aRowReads_data()
    {
        AddRows<Script>(
            {{"digits, text and changes", "bad @43; read; set @52 7A; tick; row? 4; row? 5; red?",
                 "20000040  40 41 42 -- 44 45 46 47  48 49 4A 4B 4C 4D 4E 4F  @AB.DEFGHIJKLMNO|"
                 "20000050  50 51 7A 53 54 55 56 57  58 59 5A 5B 5C 5D 5E 5F  PQzSTUVWXYZ[\\]^_|7A "
                 "z"},
                {"one bad byte",
                    "goto FFFFFFF0; set FFFFFFF0 0 1 2 3 4 5 6 7 8 9 A B C D E F; bad FFFFFFF6; "
                    "read; reads?; row? 0",
                    "FFFFFFF0+10 FFFFFFF0+10 FFFFFFF0+4 FFFFFFF4+4 FFFFFFF4+2 FFFFFFF6+2 "
                    "FFFFFFF6+1 FFFFFFF7+1 FFFFFFF8+4 FFFFFFFC+4|"
                    "FFFFFFF0  00 01 02 03 04 05 -- 07  08 09 0A 0B 0C 0D 0E 0F  "
                    "................"}});
    }

    void aRowReads() { RunScript(); }

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
};

QTEST_MAIN(MemViewTest)
#include "tst_memview.moc"
