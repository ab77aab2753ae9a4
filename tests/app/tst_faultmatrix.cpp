// Every library function in every kind of trouble, beginning at every step of a window's life on
// one of several screens. In the suite a part of it; all of it by
//   PELIMO_FAULTMATRIX=full build/dev/tests/fault/tst_faultmatrix

#include "appharness.h"

#include "mainwindow.h"
#include "probesession.h"

#include "cdeviceselectiondialog.h"
#include "chexeditor.h"
#include "cmemdialog.h"
#include "targetdevice.h"

#include <array>
#include <atomic>
#include <thread>

namespace {

/// What may be wrong with a function of the probe library. A call that does not return does so on
/// the GUI thread, the one on which the process began: no window survives it there.
enum class Fault { Missing, Failing, Nonsense, NeverReturning };

/// One at a time. Written before the hook that reads it.
Fault g_fault = Fault::Missing;
/// While true, calls with the fault NeverReturning wait; when it becomes false they fail.
std::atomic<bool> g_holdsCalls = false;
const std::thread::id kGuiThread = std::this_thread::get_id();

template <typename Result> Result FaultyAnswer()
{
    const bool comesBack = g_fault == Fault::NeverReturning;
    const auto kind = static_cast<std::size_t>(comesBack ? Fault::Failing : g_fault);
    if constexpr (std::is_pointer_v<Result>)
        return std::array<Result, 3>{nullptr, "it failed", "%s%n \x01\xff<b>nonsense"}[kind];
    else if constexpr (!std::is_void_v<Result>)
        return static_cast<Result>(std::array{0, -1, 0x7FFFFFF7}[kind]);
}

/// From now on a function has a fault.
template <typename Result, typename... Arguments>
void SetFault(std::atomic<Result (*)(Arguments...)> &hook, Fault fault)
{
    g_fault = fault;
    g_holdsCalls = fault == Fault::NeverReturning;
    hook = [](Arguments...) -> Result {
        if (std::this_thread::get_id() != kGuiThread)
            g_holdsCalls.wait(true);
        return FaultyAnswer<Result>();
    };
}

/// Settings, as AppHarness takes them, and the calls that set a probe up as they say.
struct Setup {
    const char *settings;
    const char *calls;
};
constexpr Setup kUsual = {
    "", "Open, ExecCommand Device = SIM-M4 256, SetEndian 0, TIF_Select 1, SetMaxSpeed, Connect"};
constexpr Setup kScanChain = {"[TIF]|TargetIF = 0|UseMaxSpeed = 0|UseAdaptive = 1|Speed = 9|"
                              "MultipleTargets = 1|DRPre = 2|IRPre = 5|[CPU]|Device=\"X\"",
    "Open, ExecCommand Device = X 256, SetEndian 0, TIF_Select 0, ConfigJTAG 5 2, SetSpeed 9, "
    "SetSpeed 65535, Connect"};
constexpr Setup kHost = {"[GENERAL]|ConnectMode = 2|HostName=\"sim\"|UseSerialNo = 1|"
                         "USBSerialNo = 0x04|[CPU]|EndianMode = 1",
    "SelectIP sim 0, Open, ExecCommand Device = SIM-M4 256, SetEndian 1, TIF_Select 1, "
    "SetMaxSpeed, Connect"};
constexpr Setup kUsbIndex = {"[GENERAL]|UseSerialNo = 1|USBSerialNo = 0x00|[TIF]|TargetIF = 0|"
                             "UseMaxSpeed = 0|Speed = 77|DRPre = 2|IRPre = 5",
    "SelectUSB 0, Open, ExecCommand Device = SIM-M4 256, SetEndian 0, TIF_Select 0, "
    "ConfigJTAG 0 0, SetSpeed 77, Connect"};
constexpr Setup kSerialNo = {"[GENERAL]|UseSerialNo = 1|USBSerialNo = 0x1ACC5A1",
    "EMU_SelectByUSBSN 28100001, Open, ExecCommand Device = SIM-M4 256, SetEndian 0, "
    "TIF_Select 1, SetMaxSpeed, Connect"};

/// All functions that the library has, each with a set-up in which it is called.
struct LibraryFunction {
    const char *name; ///< without the library's prefix
    Setup setup;
    void (*set)(FaultHooks &hooks, Fault fault);
};
#define ROW(name, setup)                                                                           \
    LibraryFunction                                                                                \
    {                                                                                              \
#name, setup, [](FaultHooks & hooks, Fault fault) { SetFault(hooks.name, fault); }         \
    }
constexpr std::array kLibraryFunctions
    = {ROW(Open, kUsual), ROW(Close, kScanChain), ROW(IsConnected, kUsual), ROW(SelectIP, kHost),
        ROW(SelectUSB, kUsbIndex), ROW(EMU_SelectByUSBSN, kSerialNo), ROW(ExecCommand, kUsual),
        ROW(SetEndian, kUsual), ROW(TIF_Select, kUsual), ROW(ConfigJTAG, kScanChain),
        ROW(SetSpeed, kUsbIndex), ROW(SetMaxSpeed, kUsual), ROW(Connect, kUsual),
        ROW(GetIdData, kUsual), ROW(GetSpeed, kUsual), ROW(GetHardwareVersion, kUsual),
        ROW(ReadMemEx, kUsual), ROW(WriteMemEx, kUsual), ROW(DEVICE_GetInfo, kUsual)};
#undef ROW

constexpr std::array kStepNames
    = {"connecting", "refreshing", "editing", "saving", "disconnecting", "closing"};
constexpr std::array kFaultNames = {"missing", "failing", "nonsense", "never returning"};

constexpr std::uint32_t kFreeRam = 0x2000'1000; // the simulated firmware leaves it alone
constexpr std::uint64_t kSavedBytes = 100;

std::uint8_t TargetByte(std::uint32_t address)
{
    std::uint8_t byte = 0;
    reinterpret_cast<decltype(&RANVOARM_ReadMemEx)>(FAULT_RealFunction("RANVOARM_ReadMemEx"))(
        address, 1, &byte, 1);
    return byte;
}

} // namespace

class FaultMatrixTest : public QObject {
    Q_OBJECT

private slots:
    void theWindowSurvives_data()
    {
        QTest::addColumn<int>("function");
        QTest::addColumn<int>("fault");
        QTest::addColumn<int>("begins");
        const bool isFull = qgetenv("PELIMO_FAULTMATRIX") == "full";
        for (int function = 0; function < int(kLibraryFunctions.size()); ++function) {
            for (int fault = 0; fault < int(kFaultNames.size()); ++fault) {
                for (int step = 0; step < int(kStepNames.size()); ++step) {
                    // In the suite each fault begins at one or two steps, from function to function
                    // at others.
                    if (isFull || (function + fault + step) % 4 == 0)
                        QTest::addRow("%s %s from %s on",
                            kLibraryFunctions[std::size_t(function)].name,
                            kFaultNames[std::size_t(fault)], kStepNames[std::size_t(step)])
                            << function << fault << step;
                }
            }
        }
    }

    void theWindowSurvives()
    {
        QFETCH(int, function);
        QFETCH(int, fault);
        QFETCH(int, begins);
        m_function = &kLibraryFunctions[std::size_t(function)];
        m_fault = Fault(fault);
        m_begins = begins;
        m_app.emplace(m_function->setup.settings);
        QTimer answers;
        connect(&answers, &QTimer::timeout, this, &FaultMatrixTest::AnswerDialogs);
        answers.start(1);
        static constexpr void (FaultMatrixTest::*kSteps[])()
            = {&FaultMatrixTest::Connect, &FaultMatrixTest::Refresh, &FaultMatrixTest::Edit,
                &FaultMatrixTest::Save, &FaultMatrixTest::Reconnect, &FaultMatrixTest::Close};
        for (m_step = 0; m_step < int(kStepNames.size()) && !QTest::currentTestFailed(); ++m_step) {
            if (m_step == begins)
                m_function->set(m_app->Hooks(), m_fault);
            // Called right out of the array, GCC 12's bounds check looks at a wrong index.
            const auto step = kSteps[m_step];
            (this->*step)();
        }
        if (QTest::currentTestFailed())
            qInfo("while %s", kStepNames[std::size_t(m_step - 1)]);
    }

    void cleanup()
    {
        m_app->DestroyWindow(); // now, so that the dialogs of a failed step are closed
        g_holdsCalls = false;
        g_holdsCalls.notify_all();
        m_app.reset();
    }

private:
    bool Is(const char *function) const { return qstrcmp(m_function->name, function) == 0; }
    bool IsFaulty() const { return m_step >= m_begins; }
    bool Hangs() const { return IsFaulty() && m_fault == Fault::NeverReturning; }

    QStringList BoxesOfConnecting() const
    {
        const QString unknown = "Error|Could not connect to target for unknown reason";
        const QString notOpen = "Error|Could not connect to Ranvo:\n";
        if (!IsFaulty() || Hangs())
            return {};
        if (Is("Open"))
            return {std::array{unknown, notOpen + "it failed",
                notOpen + QString::fromUtf8("%s%n \x01\xff<b>nonsense")}[std::size_t(m_fault)]};
        if (Is("EMU_SelectByUSBSN") && m_fault == Fault::Failing)
            return {"Error|No emulator with given S/N connected!"};
        if (Is("Connect") || (Is("IsConnected") && m_fault == Fault::Missing))
            return {unknown};
        return {};
    }

    /// The window answers, and its boxes are these.
    void Settle(const QStringList &boxes)
    {
        // Every change of the status bar asks for the state of the connection, too.
        for (const char *const entry : {"&Exit", "&About..."}) {
            emit m_app->Action(entry)->hovered();
            SOON_COMPARE(m_app->StatusTexts()[0], m_app->Action(entry)->statusTip());
        }
        SOON(m_app->Boxes().size() >= boxes.size());
        QCOMPARE(m_app->TakeBoxes(), boxes);
    }

    /// As above; the boxes are those of a connected window.
    void SettleConnected()
    {
        const bool isLost = m_step == m_begins && Is("IsConnected") && m_fault == Fault::Missing;
        Settle(isLost ? QStringList("Warning|Target disconnected.") : QStringList());
    }

    void Connect()
    {
        if (IsFaulty() && Is("GetHardwareVersion"))
            (void)PROBE_HardwareVersion();
        m_app->Start();
        m_app->Window().setGeometry(-1400, -300, 400, 300); // half beyond the first screen's left
        QCOMPARE(m_app->Window().screen()->name(), "left");
        AwaitConnection();
        if (!IsFaulty())
            QCOMPARE(m_app->TakeCalls(), m_function->setup.calls);
    }

    void AwaitConnection()
    {
        const QStringList boxes = BoxesOfConnecting();
        if (Hangs())
            return Settle(boxes); // connected or not
        // A wrong serial number alone still connects: the default probe is used.
        const bool connects = boxes.isEmpty() || boxes.first().contains("No emulator");
        SOON_COMPARE(m_app->MemoryWindow() != nullptr, connects);
        Settle(boxes);
        SOON_COMPARE(m_app->Action("&Disconnect")->isEnabled(), connects);
    }

    void Refresh()
    {
        if (IsFaulty() && Is("DEVICE_GetInfo"))
            (void)ChooseTargetDevice({});
        if (CHexEditor *const memory = m_app->MemoryWindow()) {
            memory->OnAutoUpdateTimerTimeout();
            memory->ScrollRows(-3);
        }
        SettleConnected();
    }

    /// Memory is there: a window, and no function that memory needs fails.
    bool HasMemory(bool isNeeded) const
    {
        return m_app->MemoryWindow() != nullptr && BoxesOfConnecting().isEmpty() && !Hangs()
            && !(isNeeded && IsFaulty());
    }

    void Edit()
    {
        const auto typed = static_cast<std::uint8_t>(TargetByte(kFreeRam) + 0x11);
        const bool mustArrive = HasMemory(Is("WriteMemEx") || Is("ReadMemEx"));
        if (m_app->MemoryWindow() != nullptr)
            m_app->TypeOver(kFreeRam, typed);
        if (mustArrive)
            QCOMPARE(TargetByte(kFreeRam), typed);
        SettleConnected();
    }

    void Save()
    {
        QFile file(m_fileName);
        file.remove();
        const bool mustArrive = HasMemory(Is("ReadMemEx"));
        if (CHexEditor *const memory = m_app->MemoryWindow())
            memory->OnActionSaveTriggered();
        if (mustArrive) {
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(file.size(), qint64(kSavedBytes));
            QCOMPARE(std::uint8_t(file.read(1).at(0)), TargetByte(kFreeRam));
        }
        if (Is("ReadMemEx") && IsFaulty() && m_fault != Fault::Nonsense) {
            QVERIFY(!file.exists()); // nothing could be read, so nothing is saved
            if (m_app->MemoryWindow() != nullptr)
                SOON(m_app->StatusTexts()[kStatusMessage].startsWith("Save: "));
        }
        SettleConnected();
    }

    void Reconnect()
    {
        QAction *const disconnect = m_app->Action("&Disconnect");
        // The call may hang before the worker comes to say that there is a connection.
        if (Hangs() && !disconnect->isEnabled())
            return Settle({});
        disconnect->trigger();
        QVERIFY(m_app->MemoryWindow() == nullptr);
        if (!Hangs())
            SOON(m_app->Action("&Connect")->isEnabled());
        m_app->Trigger("&Connect");
        AwaitConnection();
    }

    void Close()
    {
        m_app->Window().close();
        QVERIFY(!m_app->Window().isVisible());
        QCOMPARE(m_app->Boxes(), QStringList());
    }

    void AnswerDialogs()
    {
        QWidget *const modal = QApplication::activeModalWidget();
        if (auto *const device = qobject_cast<CDeviceSelectionDialog *>(modal))
            device->accept();
        if (auto *const range = qobject_cast<CMemDialog *>(modal)) {
            range->SetFileName(m_fileName);
            range->SetStartAddress(kFreeRam);
            range->SetSize(kSavedBytes);
            range->accept();
        }
    }

    const QString m_fileName = QDir::homePath() + "/saved.bin";
    std::optional<AppHarness> m_app;
    const LibraryFunction *m_function = nullptr;
    Fault m_fault = Fault::Missing;
    int m_begins = 0;
    int m_step = 0;
};

QTEST_MAIN(FaultMatrixTest)
#include "tst_faultmatrix.moc"
