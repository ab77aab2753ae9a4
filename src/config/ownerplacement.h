#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

class QWidget;

/// Where a dialog goes: its middle over its owner's middle, pulled into the area. One that is
/// larger than the area shows its upper left corner.
/// @param area  what of the owner's screen is free for windows; its origin may be negative
[[nodiscard]] QPoint PlaceInArea(const QRect &owner, const QSize &dialog, const QRect &area);

/// Tells the window manager which window a dialog without a parent has to stay above. To be called
/// before the dialog is shown. Null: does nothing.
void TieToOwner(QWidget *dialog, const QWidget *owner);

/// Places a dialog that is not shown yet over another window, wholly on that one's screen. Null:
/// the window manager decides.
void PlaceOver(QWidget *dialog, const QWidget *owner);

/// Pulls a dialog that is shown, and whose size and frame are known by that, back onto the screen.
/// One that is there already stays.
void PullOntoScreen(QWidget *dialog, const QWidget *owner);
