#pragma once

#include "connectionstate.h"

struct Report;

/// Reports to the main window from the worker, the settings and the window itself. Any thread.
///
/// Each takes the state mutex, writes, releases it and then emits the signal that makes the GUI
/// thread read them. Without a main window nothing is emitted.

/// Sets a status bar field; index below kStatusFields, else nothing is written. Cut to 127
/// characters.
void APP_SetStatusField(const char *text, unsigned index);
/// Queues an error or a warning for a message box. Cut to 255 characters. Nothing without a window.
void APP_ShowError(const char *text);
void APP_ShowWarning(const char *text);
/// An error of a connect; dropped once that connect is out of date.
void APP_ShowConnectError(const char *text, ConnectionGeneration generation);
/// The oldest report that waits; it stays until its box is closed. @return false when there is none
bool APP_OldestReport(Report *report);
void APP_DropOldestReport();
/// Makes an existing memory window re-read its page.
void APP_RefreshMemoryWindow();
/// Makes the GUI thread run one GUI update.
void APP_UpdateGui();
