// What a window that stays open for weeks goes through, in a short time: the real main window over
// the simulated target. Prints what the process holds before and after, and fails when that grows.
// PELIMO_ENDURANCE=N does N hundredths of it, for a look; without it, all of it.

#include "appharness.h"

#include "mainwindow.h"

#include "chexeditor.h"

#include <QAbstractEventDispatcher>
#include <QAction>
#include <QDir>
#include <QFile>
#include <QPointer>
#include <QRandomGenerator>

#include <array>
#include <cstdio>
#include <map>

#include <malloc.h>
#include <unistd.h>

namespace {

// A hundredth of the whole.
constexpr int kCycles = 10;
constexpr int kTicks = 10'000;
constexpr int kJumps = 1'000;
constexpr int kEdits = 100;
/// Times at least before anything is held against: what is made once is made by then.
constexpr int kWarmUp = 5;

/// What may be in use more at the end than after the first tenth: texts and lists that Qt keeps.
constexpr std::int64_t kHeapSlackBytes = 128 * 1024;
/// Pictures of the glyphs in each colour, made when a byte first needs them: a dozen colours at
/// most.
constexpr std::int64_t kGlyphPictureBytes = 256 * 1024;
/// Pages that the allocator keeps are no leak, but they have a bound too.
constexpr std::int64_t kResidentSlackBytes = 4 * 1024 * 1024;
/// A jump's entry in the history, with the room that a growing list keeps.
constexpr std::int64_t kBytesPerJump = 16;

constexpr std::uint32_t kFreeRam = 0x2000'1000; // where the simulated firmware keeps nothing
constexpr std::uint32_t kFreeRamRows = 256;     // of 128 bytes

int Percent()
{
    const int percent = qEnvironmentVariableIntValue("PELIMO_ENDURANCE");
    return percent > 0 ? percent : 100;
}

std::atomic<bool> g_lost = false;

template <typename Function> Function Real(Function, const char *name)
{
    return reinterpret_cast<Function>(FAULT_RealFunction(name));
}

/// A library whose target is gone until the probe is opened again.
void LetTargetsGetLost(FaultHooks &hooks)
{
    g_lost = false;
    hooks.Open = [] {
        g_lost = false;
        return Real(&RANVOARM_Open, "RANVOARM_Open")();
    };
    hooks.IsConnected = [] {
        return g_lost ? static_cast<signed char>(0)
                      : Real(&RANVOARM_IsConnected, "RANVOARM_IsConnected")();
    };
    hooks.ReadMemEx
        = [](std::uint32_t address, std::uint32_t count, void *data, std::uint32_t width) {
              return g_lost
                  ? -1
                  : Real(&RANVOARM_ReadMemEx, "RANVOARM_ReadMemEx")(address, count, data, width);
          };
}

int CountEntries(const QString &folder)
{
    return static_cast<int>(
        QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size());
}

/// What the process holds.
struct Figures {
    std::int64_t residentBytes = 0;
    std::int64_t heapBytes = 0;
    int threads = 0;
    int descriptors = 0;
    int timers = 0;
    int objects = 0;

    static Figures Now(const QObject &window)
    {
        Figures figures;
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QFile statm(QStringLiteral("/proc/self/statm"));
        if (statm.open(QIODevice::ReadOnly))
            figures.residentBytes
                = statm.readAll().split(' ').value(1).toLongLong() * getpagesize();
        figures.heapBytes = static_cast<std::int64_t>(mallinfo2().uordblks);
        figures.threads = CountEntries(QStringLiteral("/proc/self/task"));
        figures.descriptors = CountEntries(QStringLiteral("/proc/self/fd"));
        QObjectList objects = window.findChildren<QObject *>();
        for (QWidget *widget : QApplication::allWidgets())
            objects.append(widget);
        figures.objects = static_cast<int>(objects.size());
        for (QObject *object : std::as_const(objects))
            figures.timers += static_cast<int>(
                QAbstractEventDispatcher::instance()->registeredTimers(object).size());
        return figures;
    }

    [[nodiscard]] bool HoldsNoMoreThan(const Figures &other) const
    {
        return threads <= other.threads && descriptors <= other.descriptors
            && timers <= other.timers && objects <= other.objects;
    }

    void Print(const char *what, int done) const
    {
        std::printf("  %-12s %8d   %9lld %9lld   %4d %4d %4d %5d\n", what, done,
            static_cast<long long>(residentBytes / 1024), static_cast<long long>(heapBytes / 1024),
            threads, descriptors, timers, objects);
    }
};

} // namespace

class EnduranceTest : public QObject {
    Q_OBJECT

private slots:
    void nothingGrows();

private:
    /// Does something count times; holds the figures after the first tenth against those at the
    /// end.
    template <typename Step>
    void Repeat(const char *what, int count, std::int64_t keptBytes, Step step);
    void LoseAndReconnect();
    void JumpTo(std::uint32_t address);

    AppHarness *m_app = nullptr;
    QRandomGenerator m_random{20'26};
};

template <typename Step>
void EnduranceTest::Repeat(const char *what, int count, std::int64_t keptBytes, Step step)
{
    Figures early;
    for (int i = 0; i < count; ++i) {
        step(i);
        if (QTest::currentTestFailed())
            return;
        if (i + 1 != std::max(count / 10, kWarmUp))
            continue;
        early = Figures::Now(m_app->Window());
        early.Print(what, i + 1);
    }
    const Figures late = Figures::Now(m_app->Window());
    late.Print(what, count);
    // A thread that ends may still be on its way out.
    QTRY_VERIFY2(Figures::Now(m_app->Window()).HoldsNoMoreThan(early), what);
    QVERIFY2(late.heapBytes - early.heapBytes <= keptBytes + kHeapSlackBytes, what);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    QVERIFY2(late.residentBytes - early.residentBytes <= keptBytes + kResidentSlackBytes, what);
#endif
}

void EnduranceTest::LoseAndReconnect()
{
    const QPointer<CHexEditor> former = m_app->MemoryWindow();
    g_lost = true;
    former->OnAutoUpdateTimerTimeout();
    SOON(former.isNull());
    SOON_COMPARE(m_app->Boxes(), QStringList("Warning|Target disconnected."));
    m_app->TakeBoxes();
    m_app->Trigger("&Connect");
    SOON(m_app->MemoryWindow() != nullptr);
    SOON_COMPARE(m_app->StatusTexts()[1], "Connected");
    SOON(!m_app->Action("&Connect")->isEnabled());
    m_app->TakeCalls();
}

void EnduranceTest::JumpTo(std::uint32_t address)
{
    auto *const jump = m_app->MemoryWindow()->findChild<QAction *>("pActionMemoryGoto");
    jump->setData(QStringList{QString::number(address, 16)});
    jump->trigger();
}

void EnduranceTest::nothingGrows()
{
    AppHarness app("; mine|[TIF]|UseMaxSpeed = 0|Speed = 77");
    m_app = &app;
    LetTargetsGetLost(app.Hooks());
    const QByteArray settings = AppHarness::SettingsFile();
    app.StartConnected();
    std::printf("  %-12s %8s   %9s %9s   %4s %4s %4s %5s\n", "", "done", "RSS KiB", "heap KiB",
        "thr", "fds", "tmr", "objs");

    Repeat("reconnects", kCycles * Percent(), 0, [this](int) { LoseAndReconnect(); });
    if (QTest::currentTestFailed())
        return;

    app.MemoryWindow()->GoTo(0x2000'0000, true, false);
    app.MemoryWindow()->SetRefreshInterval(5000);
    Repeat("ticks", kTicks * Percent(), kGlyphPictureBytes, [&](int i) {
        app.MemoryWindow()->OnAutoUpdateTimerTimeout();
        if (i % 100 == 0)
            QCoreApplication::processEvents(); // paints what changed
    });

    const int jumps = kJumps * Percent();
    std::vector<std::uint32_t> bases; // of the pages that were left
    Repeat(
        "go-tos", jumps, jumps * (kBytesPerJump + std::int64_t{sizeof bases[0]} * 2), [&](int i) {
            const auto here = static_cast<std::uint32_t>(app.MemoryWindow()->BaseAddress());
            if (bases.empty() || bases.back() != here)
                bases.push_back(here);
            JumpTo(0x2000'0000 + m_random.bounded(0x1'0000U));
            if (i % 100 == 0)
                QCoreApplication::processEvents();
        });
    auto *const back = app.MemoryWindow()->findChild<QAction *>("pActionMemoryGoBack");
    for (; !bases.empty(); bases.pop_back()) {
        QVERIFY(back->isEnabled());
        back->trigger();
        QCOMPARE(app.MemoryWindow()->BaseAddress(), std::uint64_t{bases.back()});
    }
    QVERIFY(!back->isEnabled());

    std::map<std::uint32_t, std::uint8_t> typed;
    Repeat("edits", kEdits * Percent(), 0, [&](int i) {
        const std::uint32_t address = kFreeRam + 0x80 * m_random.bounded(kFreeRamRows);
        typed[address] = static_cast<std::uint8_t>(m_random.generate());
        app.TypeOver(address, typed[address]);
        app.TakeCalls(); // or the record of the writes would grow, and Qt's list of posted events
        if (i % 10 == 0)
            QCoreApplication::processEvents();
    });
    for (const auto &[address, value] : typed) {
        std::uint8_t byte = 0;
        QCOMPARE(RANVOARM_ReadMemEx(address, 1, &byte, 1), 1);
        QVERIFY2(byte == value, qPrintable(QString::number(address, 16)));
    }
    QCOMPARE(app.Boxes(), QStringList());
    app.DestroyWindow();
    QCOMPARE(AppHarness::SettingsFile(), settings);
}

QTEST_MAIN(EnduranceTest)
#include "endurance.moc"
