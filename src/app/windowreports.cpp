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
    if (state.windowMutex == nullptr)
        return;
    const SysLock lock(state.windowMutex);
    if (state.mainWindow != nullptr)
        (state.mainWindow->*signal)();
}

bool HasWindow()
{
    AppState &state = APP_State();
    if (state.windowMutex == nullptr)
        return false;
    const SysLock lock(state.windowMutex);
    return state.mainWindow != nullptr;
}

/// Each text gets a box of its own: two reports in a row must not become the second one twice.
/// One that says what the latest box on show or in wait says already adds nothing: an accepted
/// change connects twice, and would report one failure twice.
void QueueReport(const char *text, bool isError)
{
    Report report{isError, {}};
    UTIL_CopyText(report.text, text);
    AppState &state = APP_State();
    const SysLock lock(state.stateMutex);
    WindowState &window = state.window;
    if (window.reportCount > 0) {
        const Report &latest = window.reports[window.reportCount - 1];
        if (latest.isError == isError && latest.text == report.text)
            return;
    }
    if (window.reportCount < kMaxReports)
        ++window.reportCount;
    window.reports[window.reportCount - 1] = report;
}

void SetMemoryWindowWanted(bool wanted)
{
    {
        AppState &state = APP_State();
        const SysLock lock(state.stateMutex);
        state.window.memoryWindowWanted = wanted ? 1 : 0;
    }
    Emit(&MainWindow::Signal_UpdateGUI);
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
    if (!HasWindow())
        return;
    QueueReport(text, true);
    Emit(&MainWindow::Signal_UpdateShowError);
}

void APP_ShowWarning(const char *text)
{
    if (!HasWindow())
        return;
    QueueReport(text, false);
    Emit(&MainWindow::Signal_UpdateShowWarning);
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

void APP_RequestMemoryWindow()
{
    SetMemoryWindowWanted(true);
}

void APP_DropMemoryWindow()
{
    SetMemoryWindowWanted(false);
}

bool APP_QueryMemoryWindow()
{
    bool wanted = false;
    {
        AppState &state = APP_State();
        const SysLock lock(state.stateMutex);
        wanted = state.window.memoryWindowWanted != 0;
    }
    Emit(&MainWindow::Signal_UpdateGUI);
    return wanted;
}

void APP_RefreshMemoryWindow()
{
    Emit(&MainWindow::Signal_UpdateMemWindow);
}

void APP_UpdateGui()
{
    Emit(&MainWindow::Signal_UpdateGUI);
}
