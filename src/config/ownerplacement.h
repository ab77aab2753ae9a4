#pragma once

class QWidget;

/// Ties a dialog without a parent to the active window and centres it there; the window manager
/// would not know otherwise which window it belongs to. Called before the dialog is shown.
void PlaceOverActiveWindow(QWidget *dialog);
