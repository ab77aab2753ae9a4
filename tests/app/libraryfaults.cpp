#include "libraryfaults.h"

#include <QElapsedTimer>
#include <QThread>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace {

constexpr unsigned long kSlowUs = 1'000;
constexpr unsigned long kVerySlowUs = 5'000'000;
/// A list of 55 devices would take more than the test framework's five minutes.
constexpr int kVerySlowCalls = 6;

/// Written on the GUI thread only.
qint64 g_guiHeldNs = 0;
std::atomic<int> g_verySlowCallsLeft = 0;

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
static_assert(kRows.size() == kFunctions);

} // namespace

const char *FAULT_FunctionName(int function)
{
    return kRows[static_cast<std::size_t>(function)].name;
}

QStringList FAULT_SettingsFor(int index)
{
    const QString function = QString::fromLatin1(FAULT_FunctionName(index));
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

void FAULT_Set(FaultHooks &hooks, int function, Fault fault)
{
    const MatrixRow &row = kRows[static_cast<std::size_t>(function)];
    row.set(hooks, row.name, fault);
}

void FAULT_KeepHangingCalls(bool keep)
{
    g_trap.Set(keep);
}

qint64 FAULT_TakeGuiHeldNs()
{
    return std::exchange(g_guiHeldNs, 0);
}
