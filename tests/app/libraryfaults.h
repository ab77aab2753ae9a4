#pragma once

#include "faulthooks.h"

#include <QStringList>

#include <array>

/// What may be wrong with a function of the probe library.
enum class Fault { Missing, Failing, Nonsense, Slow, NeverReturning, VerySlow };
inline constexpr std::array kFaultNames
    = {"missing", "failing", "nonsense", "slow", "never returning", "very slow"};
inline constexpr int kFaults = 5;     // the last one takes its time and is left to the full run
inline constexpr int kFunctions = 19; // all that the library has

/// @param function  below kFunctions. @return its name, static
const char *FAULT_FunctionName(int function);
/// The lines of the settings file under which the function is called at all.
QStringList FAULT_SettingsFor(int function);

/// From now on the function has this fault. One function at a time.
void FAULT_Set(FaultHooks &hooks, int function, Fault fault);
/// Whether calls that never return stay inside; those that did come back when it becomes false. A
/// call on the GUI thread, the one on which the process began, always comes back: no window
/// survives it.
void FAULT_KeepHangingCalls(bool keep);
/// How long slow calls have held the GUI thread since the last time that this was asked, there.
qint64 FAULT_TakeGuiHeldNs();
