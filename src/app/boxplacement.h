#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

/// Where a message box of the main window goes: its middle over the window's middle, never left of
/// or above the origin, and pulled back onto the screen at its right and bottom edge.
/// @param screenSize  size of the screen that holds the window, pixels
QPoint APP_PlaceBox(const QRect &window, const QSize &boxHint, const QSize &screenSize);
