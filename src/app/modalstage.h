#pragma once

class QDialog;
class QWidget;

// The one way to show something modal over the main window: its boxes and dialogs. GUI thread.

/// What the next modal window goes over: the topmost one that is open, else the main window. Null
/// when there is neither.
[[nodiscard]] QWidget *STAGE_Top();

/// Places a dialog that is not shown yet: above the topmost modal window, even one that stays on
/// top of all others, and over the main window, on its screen.
void STAGE_Place(QDialog *dialog);

/// Runs a dialog until it is closed, by whomever. Open menus and lists are closed first: they would
/// keep the mouse from it.
/// @return the dialog's result; Rejected when it was destroyed meanwhile
int STAGE_Run(QDialog *dialog);

/// Closes whatever is modal, as its Cancel does: the main window ends.
void STAGE_Clear();
