#include "appharness.h"

#include "appstate.h"
#include "mainwindow.h"

#include "chexeditor.h"

#include <QAction>
#include <QElapsedTimer>
#include <QTest>

#include <array>
#include <condition_variable>

namespace {

enum class Fault { Missing, Failing, Nonsense, Slow, NeverReturning };
constexpr std::array kFaults
    = {Fault::Missing, Fault::Failing, Fault::Nonsense, Fault::Slow, Fault::NeverReturning};
constexpr std::array kFaultNames = {"missing", "failing", "nonsense", "slow", "never returning"};

/// Calls that never return sit here until the case is over.
struct Trap {
    std::mutex mutex;
    std::condition_variable opened;
    bool closed = false;
    std::thread::id guiThread;
    bool onGuiThread = false; ///< somebody holds the GUI thread: nothing can be asked of it then

    void Enter()
    {
        std::unique_lock lock(mutex);
        if (std::this_thread::get_id() == guiThread)
            return; // a call that holds the GUI thread for ever is outside what a window can
                    // survive
        opened.wait(lock, [this] { return !closed; });
    }
    void Set(bool close)
    {
        {
            const std::lock_guard lock(mutex);
            closed = close;
            guiThread = std::this_thread::get_id();
        }
        opened.notify_all();
    }
} g_trap;

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
    static Result Slow(Arguments... arguments)
    {
        QThread::usleep(2000);
        return reinterpret_cast<Function>(FAULT_RealFunction(g_name<Hook>))(arguments...);
    }
    static Result NeverReturning(Arguments...)
    {
        g_trap.Enter();
        return Result();
    }
    static Function Of(Fault fault)
    {
        constexpr std::array<Function, 5> functions
            = {Missing, Failing, Nonsense, Slow, NeverReturning};
        return functions[static_cast<std::size_t>(fault)];
    }
};

template <auto Hook> void SetFault(FaultHooks &hooks, const char *name, Fault fault)
{
    using Function = typename std::remove_reference_t<decltype(hooks.*Hook)>::value_type;
    g_name<Hook> = name;
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

/// The texts of the boxes that a fault must show while connecting, each once.
QStringList ExpectedBoxes(const QString &function, Fault fault)
{
    const bool zero = fault == Fault::Missing;
    const bool failing = fault == Fault::Failing;
    if (failing && function.endsWith(QStringLiteral("_Open")))
        return {QStringLiteral("Could not connect to Ranvo:\nit failed")};
    if (failing && function.endsWith(QStringLiteral("SelectByUSBSN")))
        return {QStringLiteral("No emulator with given S/N connected!")};
    if ((zero
            && (function.endsWith(QStringLiteral("_Open"))
                || function.endsWith(QStringLiteral("_IsConnected"))))
        || ((zero || failing) && function.endsWith(QStringLiteral("_Connect"))))
        return {QStringLiteral("Could not connect to target for unknown reason")};
    return {};
}

/// Handles events until the condition holds. @return whether it came to hold
template <typename Condition> bool Soon(Condition condition)
{
    QElapsedTimer timer;
    for (timer.start(); !condition(); QCoreApplication::processEvents(QEventLoop::AllEvents, 1)) {
        if (timer.hasExpired(20'000))
            return false;
    }
    return true;
}

/// Whatever the worker is caught in, the window's event loop goes round.
bool WindowAnswers()
{
    int answers = 0;
    QTimer heart;
    QObject::connect(&heart, &QTimer::timeout, &heart, [&answers] { ++answers; });
    heart.start(1);
    return Soon([&answers] { return answers > 10; });
}

} // namespace

/// Every library function in every kind of trouble, through a whole life of the window.
class FaultMatrixTest : public QObject {
    Q_OBJECT

private slots:
    void theWindowSurvives_data();
    void theWindowSurvives();
};

void FaultMatrixTest::theWindowSurvives_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("fault");
    for (std::size_t row = 0; row < kRows.size(); ++row) {
        for (const Fault fault : kFaults)
            QTest::addRow("%s %s", kRows[row].name, kFaultNames[static_cast<std::size_t>(fault)])
                << static_cast<int>(row) << static_cast<int>(fault);
    }
}

void FaultMatrixTest::theWindowSurvives()
{
    QFETCH(int, row);
    QFETCH(int, fault);
    const MatrixRow &cell = kRows[static_cast<std::size_t>(row)];
    AppHarness app(SettingsFor(QString::fromLatin1(cell.name)));
    g_trap.Set(true);
    cell.set(app.Hooks(), cell.name, static_cast<Fault>(fault));
    app.Start();

    QVERIFY(WindowAnswers());
    // Nonsense may look like anything; a call that hangs shows nothing at all.
    if (fault != static_cast<int>(Fault::Nonsense)
        && fault != static_cast<int>(Fault::NeverReturning)) {
        const QStringList expected
            = ExpectedBoxes(QString::fromLatin1(cell.name), static_cast<Fault>(fault));
        QVERIFY2(Soon([&] { return app.BoxTexts() == expected; }),
            qPrintable(app.BoxTexts().join(QLatin1Char('|'))));
        // A wrong serial number alone still connects: the default probe is used.
        const bool connects
            = expected.isEmpty() || expected.first().startsWith(QStringLiteral("No emulator"));
        QVERIFY(Soon([&] { return (app.MemoryWindow() != nullptr) == connects; }));
    }
    if (CHexEditor *const memory = app.MemoryWindow()) {
        memory->UpdateFromTarget();
        QTest::keyClick(
            memory->focusProxy() != nullptr ? memory->focusProxy() : memory, Qt::Key_PageDown);
        QTest::keyClick(memory->focusProxy() != nullptr ? memory->focusProxy() : memory, Qt::Key_A);
    }
    QVERIFY(WindowAnswers());
    app.Action(QStringLiteral("&Disconnect"))->trigger();
    app.Action(QStringLiteral("&Connect"))->trigger();
    QVERIFY(WindowAnswers());
    app.Window().close();
    QVERIFY(!app.Window().isVisible());
    g_trap.Set(false);
}

QTEST_MAIN(FaultMatrixTest)
#include "tst_faultmatrix.moc"
