#pragma once

#include "faulthooks.h"

#include <array>
#include <atomic>
#include <thread>

/// What may be wrong with a function of the probe library. A call that does not return does so on
/// the GUI thread, the one on which the process began: no window survives it there.
enum class Fault { Missing, Failing, Nonsense, NeverReturning };

/// One at a time. Written before the hook that reads it.
inline Fault g_fault = Fault::Missing;
/// Whether calls that do not return stay inside; those that did fail when it becomes false.
inline std::atomic<bool> g_holdsCalls = false;
inline const std::thread::id kGuiThread = std::this_thread::get_id();

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
