#include "windowreports.h"

#include "appstate.h"
#include "mainwindow.h"

#include "syslock.h"
#include "utiltext.h"

#include <algorithm>

namespace {

/// Emits one of the window's queued signals; the window cannot go away meanwhile.
void Emit(void (MainWindow::*signal)())
{
    AppState &state = APP_State();
    const std::lock_guard lock(state.windowMutex);
    if (state.mainWindow != nullptr)
        (state.mainWindow->*signal)();
}

bool HasWindow()
{
    AppState &state = APP_State();
    const std::lock_guard lock(state.windowMutex);
    return state.mainWindow != nullptr;
}

/// Each text gets a box of its own: two reports in a row must not show the second text twice.
void Show(const char *text, bool isError, ConnectionGeneration generation)
{
    if (!HasWindow())
        return;
    Report report{isError, generation, {}};
    UTIL_CopyText(report.text, text);
    {
        AppState &state = APP_State();
        const SysLock lock(state.stateMutex);
        WindowState &window = state.window;
        if (window.reportCount < kMaxReports)
            ++window.reportCount;
        window.reports[window.reportCount - 1] = report;
    }
    Emit(isError ? &MainWindow::Signal_UpdateShowError : &MainWindow::Signal_UpdateShowWarning);
}

} // namespace

void APP_SetStatusField(const char *text, unsigned index)
{
    AppState &state = APP_State();
    if (index < kStatusFields) {
        const SysLock lock(state.stateMutex);
        UTIL_CopyText(state.window.statusTexts[index], text);
    }
    Emit(&MainWindow::Signal_UpdateGUI);
}

void APP_ShowError(const char *text)
{
    Show(text, true, 0);
}

void APP_ShowConnectError(const char *text, ConnectionGeneration generation)
{
    Show(text, true, generation);
}

void APP_ShowWarning(const char *text)
{
    Show(text, false, 0);
}

bool APP_OldestReport(Report *report)
{
    AppState &state = APP_State();
    const SysLock lock(state.stateMutex);
    *report = state.window.reports[0];
    return state.window.reportCount > 0;
}

void APP_DropOldestReport()
{
    AppState &state = APP_State();
    const SysLock lock(state.stateMutex);
    WindowState &window = state.window;
    if (window.reportCount == 0)
        return;
    std::move(window.reports.begin() + 1, window.reports.end(), window.reports.begin());
    --window.reportCount;
}

void APP_RefreshMemoryWindow()
{
    Emit(&MainWindow::Signal_UpdateMemWindow);
}

void APP_UpdateGui()
{
    Emit(&MainWindow::Signal_UpdateGUI);
}
