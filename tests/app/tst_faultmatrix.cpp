// Every library function in every kind of trouble, beginning at every step of a window's life. In
// the suite a generated part of it; all of it, with calls of five seconds too, by
//   PELIMO_FAULTMATRIX=full build/dev/tests/fault/tst_faultmatrix

#include "appharness.h"

#include "appstate.h"
#include "mainwindow.h"
#include "probesession.h"

#include "cdeviceselectiondialog.h"
#include "chexeditor.h"
#include "cmemdialog.h"
#include "targetdevice.h"

#include <QAction>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTest>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>

namespace {

enum class Fault { Missing, Failing, Nonsense, Slow, NeverReturning, VerySlow };
constexpr std::array kFaultNames
    = {"missing", "failing", "nonsense", "slow", "never returning", "very slow"};
constexpr int kFaults = 5; // the last one takes its time and is left to the full run
constexpr unsigned long kSlowUs = 1'000;
constexpr unsigned long kVerySlowUs = 5'000'000;
constexpr int kVerySlowCalls
    = 6; // a list of 55 devices would take the test framework's five minutes

/// From where on the fault is there.
enum class Step { Connecting, Refreshing, Editing, Saving, Disconnecting, Closing };
constexpr std::array kStepNames
    = {"connecting", "refreshing", "editing", "saving", "disconnecting", "closing"};
constexpr int kSteps = static_cast<int>(kStepNames.size());

constexpr std::uint32_t kEditedAddress
    = 0x2000'1000; // RAM that the simulated firmware leaves alone
constexpr std::uint64_t kSavedBytes = 100;
constexpr int kPatienceMs = 60'000;
constexpr int kAnswerLimitMs = 100;

bool IsFullRun()
{
    return qEnvironmentVariable("PELIMO_FAULTMATRIX") == QLatin1String("full");
}

/// How long library calls have held the GUI thread; written on that thread only.
qint64 g_guiHeldNs = 0;
std::atomic<int> g_verySlowCallsLeft = 0;

/// How long this thread has been ready to run without a processor: the machine's fault, not ours.
qint64 WaitedForProcessorNs()
{
    QFile file(QStringLiteral("/proc/thread-self/schedstat"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toLongLong() : 0;
}

/// The longest time without an answer of the event loop, library calls on the GUI thread left out.
qint64 g_longestSilenceNs = 0;

/// Calls that never return sit here until the case is over. Never destroyed: the process may end
/// with somebody inside.
struct Trap {
    std::mutex mutex;
    std::condition_variable opened;
    bool closed = false;
    const std::thread::id guiThread = std::this_thread::get_id();

    [[nodiscard]] bool IsGuiThread() const { return std::this_thread::get_id() == guiThread; }
    void Enter()
    {
        std::unique_lock lock(mutex);
        // No window survives a call that holds the GUI thread for ever.
        if (!IsGuiThread())
            opened.wait(lock, [this] { return !closed; });
    }
    void Set(bool close)
    {
        {
            const std::lock_guard lock(mutex);
            closed = close;
        }
        opened.notify_all();
    }
} &g_trap = *new Trap;

/// The library functions' own names, by hook.
template <auto Hook> constinit const char *g_name = nullptr;

template <auto Hook, typename Function> struct FaultyFunction;
template <auto Hook, typename Result, typename... Arguments>
struct FaultyFunction<Hook, Result (*)(Arguments...)> {
    using Function = Result (*)(Arguments...);

    static Result Missing(Arguments...) { return Result(); }
    static Result Failing(Arguments...)
    {
        if constexpr (std::is_same_v<Result, const char *>)
            return "it failed";
        else
            return static_cast<Result>(-1);
    }
    static Result Nonsense(Arguments...)
    {
        if constexpr (std::is_same_v<Result, const char *>)
            return "%s%n%n%s \x01\xff\xfe nonsense";
        else
            return static_cast<Result>(0x7FFFFFF7);
    }
    template <unsigned long Us> static Result Slow(Arguments... arguments)
    {
        QElapsedTimer held;
        held.start();
        if (Us != kVerySlowUs || --g_verySlowCallsLeft >= 0)
            QThread::usleep(Us);
        if (g_trap.IsGuiThread())
            g_guiHeldNs += held.nsecsElapsed();
        return reinterpret_cast<Function>(FAULT_RealFunction(g_name<Hook>))(arguments...);
    }
    static Result NeverReturning(Arguments...)
    {
        g_trap.Enter();
        return Result();
    }
    static Function Of(Fault fault)
    {
        constexpr std::array<Function, kFaultNames.size()> functions
            = {Missing, Failing, Nonsense, Slow<kSlowUs>, NeverReturning, Slow<kVerySlowUs>};
        return functions[static_cast<std::size_t>(fault)];
    }
};

template <auto Hook> void SetFault(FaultHooks &hooks, const char *name, Fault fault)
{
    using Function = typename std::remove_reference_t<decltype(hooks.*Hook)>::value_type;
    g_name<Hook> = name;
    g_verySlowCallsLeft = kVerySlowCalls;
    hooks.*Hook = FaultyFunction<Hook, Function>::Of(fault);
}

struct MatrixRow {
    const char *name;
    void (*set)(FaultHooks &hooks, const char *name, Fault fault);
};

#define ROW(name)                                                                                  \
    MatrixRow                                                                                      \
    {                                                                                              \
        "RANVOARM_" #name, SetFault<&FaultHooks::name>                                             \
    }
constexpr std::array kRows = {ROW(Open), ROW(Close), ROW(IsConnected), ROW(SelectIP),
    ROW(SelectUSB), ROW(EMU_SelectByUSBSN), ROW(ExecCommand), ROW(SetEndian), ROW(TIF_Select),
    ROW(ConfigJTAG), ROW(SetSpeed), ROW(SetMaxSpeed), ROW(Connect), ROW(GetIdData), ROW(GetSpeed),
    ROW(GetHardwareVersion), ROW(ReadMemEx), ROW(WriteMemEx), ROW(DEVICE_GetInfo)};
static_assert(kRows.size() == 19);

/// The settings under which the function of a row is called at all.
QStringList SettingsFor(const QString &function)
{
    const QStringList jtag = {QStringLiteral("[TIF]"), QStringLiteral("TargetIF = 0"),
        QStringLiteral("UseMaxSpeed = 0"), QStringLiteral("[GENERAL]")};
    if (function.endsWith(QStringLiteral("SelectIP")))
        return jtag
            + QStringList{QStringLiteral("ConnectMode = 2"), QStringLiteral("HostName=\"sim\"")};
    if (function.endsWith(QStringLiteral("SelectByUSBSN")))
        return jtag
            + QStringList{
                QStringLiteral("UseSerialNo = 1"), QStringLiteral("USBSerialNo = 0x1ACC5A1")};
    if (function.endsWith(QStringLiteral("SelectUSB")))
        return jtag
            + QStringList{QStringLiteral("UseSerialNo = 1"), QStringLiteral("USBSerialNo = 0x00")};
    return function.endsWith(QStringLiteral("MaxSpeed")) ? QStringList() : jtag;
}

/// The texts of the boxes that a fault shows at each attempt to connect. A text that ends in "..."
/// stands for all that begin so.
QStringList BoxesOfConnecting(const QString &function, Fault fault)
{
    const bool zero = fault == Fault::Missing;
    const bool failing = fault == Fault::Failing;
    const bool nonsense = fault == Fault::Nonsense;
    const bool open = function.endsWith(QStringLiteral("_Open"));
    if (failing && open)
        return {QStringLiteral("Could not connect to Ranvo:\nit failed")};
    if (nonsense && open) // as it stands: no part of it is a format
        return {QStringLiteral("Could not connect to Ranvo:\n%s%n%n%s ...")};
    if (failing && function.endsWith(QStringLiteral("SelectByUSBSN")))
        return {QStringLiteral("No emulator with given S/N connected!")};
    if ((zero && (open || function.endsWith(QStringLiteral("_IsConnected"))))
        || ((zero || failing || nonsense) && function.endsWith(QStringLiteral("_Connect"))))
        return {QStringLiteral("Could not connect to target for unknown reason")};
    return {};
}

bool IsLike(const QStringList &texts, const QStringList &patterns)
{
    return std::equal(texts.begin(), texts.end(), patterns.begin(), patterns.end(),
        [](const QString &text, const QString &pattern) {
            return pattern.endsWith(QStringLiteral("...")) ? text.startsWith(pattern.chopped(3))
                                                           : text == pattern;
        });
}

/// Handles events until the condition holds. @return whether it came to hold
template <typename Condition> bool Soon(Condition condition)
{
    QElapsedTimer timer;
    for (timer.start(); !condition(); QCoreApplication::processEvents(QEventLoop::AllEvents, 1)) {
        if (timer.hasExpired(kPatienceMs))
            return false;
    }
    return true;
}

/// Whatever the worker is caught in, the window's event loop goes round.
bool WindowAnswers()
{
    int answers = 0;
    qint64 longestNs = 0;
    QElapsedTimer silence;
    QTimer heart;
    g_guiHeldNs = 0;
    qint64 waitedNs = WaitedForProcessorNs();
    QObject::connect(&heart, &QTimer::timeout, &heart, [&] {
        ++answers;
        const qint64 waitedNowNs = WaitedForProcessorNs();
        longestNs = std::max(longestNs,
            silence.nsecsElapsed() - std::exchange(g_guiHeldNs, 0)
                - (waitedNowNs - std::exchange(waitedNs, waitedNowNs)));
        silence.restart();
    });
    silence.start();
    heart.start(1);
    const bool answered = Soon([&answers] { return answers > 3; });
    g_longestSilenceNs = std::max(g_longestSilenceNs, longestNs);
    // A time is a figure of an idle machine: only the full run, which is started by hand, asks.
    return answered && (!IsFullRun() || longestNs < kAnswerLimitMs * 1'000'000LL);
}

/// Fills in the next dialog of a kind and accepts it.
template <typename Dialog, typename Fill> class DialogAnswer {
public:
    explicit DialogAnswer(Fill fill)
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [fill] {
            if (auto *const dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget())) {
                fill(*dialog);
                dialog->accept();
            }
        });
        m_timer.start(1);
    }

private:
    QTimer m_timer;
};

/// One window's life with a fault that begins at a step.
class Life {
public:
    Life(AppHarness &app, int row, Fault fault, Step begins)
        : m_app(app)
        , m_row(kRows[static_cast<std::size_t>(row)])
        , m_function(QString::fromLatin1(m_row.name))
        , m_fault(fault)
        , m_begins(begins)
    {
        g_trap.Set(true);
    }

    /// @return what went wrong; empty when nothing did
    QString Run(Step step)
    {
        if (step == m_begins)
            m_row.set(m_app.Hooks(), m_row.name, m_fault);
        switch (step) {
        case Step::Connecting:
            return Connect();
        case Step::Refreshing:
            return Refresh();
        case Step::Editing:
            return Edit();
        case Step::Saving:
            return Save();
        case Step::Disconnecting:
            return Reconnect();
        default:
            return Close();
        }
    }

private:
    [[nodiscard]] bool Is(const char *function) const
    {
        return m_function.endsWith(QLatin1String(function));
    }
    [[nodiscard]] bool Hangs() const { return m_fault == Fault::NeverReturning; }
    [[nodiscard]] bool IsSlow() const
    {
        return m_fault == Fault::Slow || m_fault == Fault::VerySlow;
    }

    /// The boxes of this step and no others, and a window that answers.
    QString Settle(const QStringList &boxes)
    {
        // Every change of the status bar asks for the state of the connection.
        emit m_app.Action(QStringLiteral("&About..."))->hovered();
        if (!WindowAnswers())
            return QStringLiteral("the window is silent");
        if (!Soon([&] { return m_app.BoxTexts().size() >= boxes.size(); }) || !WindowAnswers()
            || !IsLike(m_app.BoxTexts(), boxes))
            return QStringLiteral("boxes: ") + m_app.BoxTexts().join(QLatin1Char('|'));
        m_app.TakeBoxTexts();
        return {};
    }

    /// The boxes of a step of a connected window.
    [[nodiscard]] QStringList BoxesWhileConnected(Step step) const
    {
        return step == m_begins && Is("_IsConnected") && m_fault == Fault::Missing
            ? QStringList{QStringLiteral("Target disconnected.")}
            : QStringList();
    }

    QString Connect()
    {
        if (m_begins == Step::Connecting && Is("GetHardwareVersion"))
            (void)PROBE_HardwareVersion();
        m_app.Start();
        return AwaitConnection(m_begins == Step::Connecting);
    }

    QString AwaitConnection(bool isFaulty)
    {
        const QStringList boxes = isFaulty ? BoxesOfConnecting(m_function, m_fault) : QStringList();
        if (isFaulty && Hangs())
            return Settle(boxes); // connected or not
        // A wrong serial number alone still connects: the default probe is used.
        const bool connects
            = boxes.isEmpty() || boxes.first().startsWith(QStringLiteral("No emulator"));
        if (!Soon([&] { return (m_app.MemoryWindow() != nullptr) == connects; }))
            return QStringLiteral("connected: the wrong way round");
        const QString trouble = Settle(boxes);
        if (!trouble.isEmpty() || !connects)
            return trouble;
        return Soon([&] { return m_app.Action(QStringLiteral("&Disconnect"))->isEnabled(); })
            ? QString()
            : QStringLiteral("Disconnect is not offered");
    }

    QString Refresh()
    {
        if (m_begins <= Step::Refreshing && Is("DEVICE_GetInfo")) {
            const DialogAnswer<CDeviceSelectionDialog, void (*)(CDeviceSelectionDialog &)> answer(
                [](CDeviceSelectionDialog &) {});
            (void)ChooseTargetDevice({});
        }
        if (CHexEditor *const memory = m_app.MemoryWindow()) {
            memory->OnAutoUpdateTimerTimeout();
            memory->ScrollRows(-3);
        }
        return Settle(BoxesWhileConnected(Step::Refreshing));
    }

    static std::uint8_t TargetByte(std::uint32_t address)
    {
        std::uint8_t byte = 0;
        reinterpret_cast<decltype(&RANVOARM_ReadMemEx)>(FAULT_RealFunction("RANVOARM_ReadMemEx"))(
            address, 1, &byte, 1);
        return byte;
    }

    QString Edit()
    {
        CHexEditor *const memory = m_app.MemoryWindow();
        const auto typed = static_cast<std::uint8_t>(TargetByte(kEditedAddress) + 0x11);
        if (memory != nullptr)
            m_app.TypeOver(kEditedAddress, typed);
        const bool mustArrive = memory != nullptr && IsReachable()
            && ((!Is("WriteMemEx") && !Is("ReadMemEx")) || IsSlow() || m_begins > Step::Editing);
        if (mustArrive && TargetByte(kEditedAddress) != typed)
            return QStringLiteral("what was typed is lost");
        return Settle(BoxesWhileConnected(Step::Editing));
    }

    /// The target answers as long as nothing has gone wrong with connecting.
    [[nodiscard]] bool IsReachable() const
    {
        return BoxesOfConnecting(m_function, m_fault).isEmpty() && !Hangs();
    }

    QString Save()
    {
        CHexEditor *const memory = m_app.MemoryWindow();
        const QString fileName = QDir::homePath() + QStringLiteral("/saved.bin");
        QFile::remove(fileName);
        if (memory != nullptr) {
            const auto fill = [&](CMemDialog &dialog) {
                dialog.SetFileName(fileName);
                dialog.SetStartAddress(kEditedAddress);
                dialog.SetSize(kSavedBytes);
            };
            const DialogAnswer<CMemDialog, decltype(fill)> answer(fill);
            memory->OnActionSaveTriggered();
        }
        const bool reads = !Is("ReadMemEx") || IsSlow() || m_begins > Step::Saving;
        QFile file(fileName);
        const bool isSaved = file.open(QIODevice::ReadOnly);
        const QByteArray bytes = isSaved ? file.readAll() : QByteArray();
        if (memory != nullptr && IsReachable() && reads
            && (static_cast<std::uint64_t>(bytes.size()) != kSavedBytes
                || static_cast<std::uint8_t>(bytes.front()) != TargetByte(kEditedAddress)))
            return QStringLiteral("saved something else");
        if (!reads && isSaved && m_fault != Fault::Nonsense)
            return QStringLiteral("a file of nothing");
        return Settle(BoxesWhileConnected(Step::Saving));
    }

    QString Reconnect()
    {
        const bool isFaulty = m_begins <= Step::Disconnecting;
        QAction *const disconnect = m_app.Action(QStringLiteral("&Disconnect"));
        // The call may hang before the worker comes to say that there is a connection.
        if (isFaulty && Hangs() && !disconnect->isEnabled())
            return Settle({});
        disconnect->trigger();
        if (m_app.MemoryWindow() != nullptr)
            return QStringLiteral("the memory window stays");
        if (!(isFaulty && Hangs())
            && !Soon([&] { return m_app.Action(QStringLiteral("&Connect"))->isEnabled(); }))
            return QStringLiteral("Connect is not offered");
        m_app.Action(QStringLiteral("&Connect"))->trigger();
        return AwaitConnection(isFaulty);
    }

    QString Close()
    {
        m_app.Window().close();
        if (m_app.Window().isVisible())
            return QStringLiteral("the window stays");
        return m_app.BoxTexts().isEmpty() ? QString() : QStringLiteral("a box at the end");
    }

    AppHarness &m_app;
    const MatrixRow &m_row;
    QString m_function;
    Fault m_fault;
    Step m_begins;
};

/// One life in a process of its own that ends as the program does, whoever is still caught.
int RunAndEnd(int row, int fault, int step)
{
    // Never destroyed, as nobody destroys what the program has when it ends.
    static auto *const app = new AppHarness(
        SettingsFor(QString::fromLatin1(kRows[static_cast<std::size_t>(row)].name)));
    Life life(*app, row, static_cast<Fault>(fault), static_cast<Step>(step));
    for (int i = 0; i < kSteps; ++i) {
        const QString trouble = life.Run(static_cast<Step>(i));
        if (!trouble.isEmpty()) {
            std::fprintf(stderr, "%s\n", qPrintable(trouble));
            return 1;
        }
    }
    app->DestroyWindow();
    return 0;
}

} // namespace

class FaultMatrixTest : public QObject {
    Q_OBJECT

private slots:
    void theWindowSurvives_data();
    void theWindowSurvives();
    void theProcessEnds_data();
    void theProcessEnds();
    void cleanupTestCase();

private:
    static void AddColumns()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("fault");
        QTest::addColumn<int>("step");
    }
    static void AddCase(int row, int fault, int step)
    {
        QTest::addRow("%s %s from %s on", kRows[static_cast<std::size_t>(row)].name,
            kFaultNames[static_cast<std::size_t>(fault)],
            kStepNames[static_cast<std::size_t>(step)])
            << row << fault << step;
    }
};

void FaultMatrixTest::theWindowSurvives_data()
{
    AddColumns();
    for (int row = 0; row < static_cast<int>(kRows.size()); ++row) {
        for (int fault = 0; fault < kFaults; ++fault) {
            for (int step = 0; step < kSteps; ++step) {
                // In the suite each fault begins at one or two steps, from function to function at
                // others.
                if (IsFullRun() || (row + fault + step) % 4 == 0)
                    AddCase(row, fault, step);
            }
        }
        if (IsFullRun())
            AddCase(row, static_cast<int>(Fault::VerySlow), row % 2);
    }
}

void FaultMatrixTest::theWindowSurvives()
{
    QFETCH(int, row);
    QFETCH(int, fault);
    QFETCH(int, step);
    AppHarness app(SettingsFor(QString::fromLatin1(kRows[static_cast<std::size_t>(row)].name)));
    Life life(app, row, static_cast<Fault>(fault), static_cast<Step>(step));
    for (int i = 0; i < kSteps; ++i) {
        const QString trouble = life.Run(static_cast<Step>(i));
        if (!trouble.isEmpty())
            g_trap.Set(false);
        QVERIFY2(trouble.isEmpty(),
            qPrintable(QLatin1String(kStepNames[static_cast<std::size_t>(i)]) + QStringLiteral(": ")
                + trouble));
    }
    g_trap.Set(false);
}

void FaultMatrixTest::theProcessEnds_data()
{
    AddColumns();
    const int hangs = static_cast<int>(Fault::NeverReturning);
    for (int row = 0; row < static_cast<int>(kRows.size()); ++row) {
        if (IsFullRun() || row < 3) // Open, Close and IsConnected
            AddCase(row, hangs, 0);
        if (IsFullRun())
            AddCase(row, hangs, kSteps - 1);
    }
}

void FaultMatrixTest::theProcessEnds()
{
    QFETCH(int, row);
    QFETCH(int, fault);
    QFETCH(int, step);
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QCoreApplication::applicationFilePath(),
        {QStringLiteral("--life"), QString::number(row), QString::number(fault),
            QString::number(step)});
    QVERIFY(process.waitForFinished(kPatienceMs));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void FaultMatrixTest::cleanupTestCase()
{
    std::printf("Longest silence of the event loop: %lld ms\n",
        static_cast<long long>(g_longestSilenceNs / 1'000'000));
}

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 5 && arguments[1] == QLatin1String("--life"))
        return RunAndEnd(arguments[2].toInt(), arguments[3].toInt(), arguments[4].toInt());
    FaultMatrixTest test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_faultmatrix.moc"
