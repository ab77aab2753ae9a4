#pragma once

#include <QIcon>

/// An icon of the memory window, drawn in the text colour of the palette in use.
///
/// One drawing serves light and dark palettes and every scale factor. It is read and drawn when it
/// is first shown, not when the icon is made.
/// @param name  file name of a drawing under :/Icons/memwindow, without its ending
[[nodiscard]] QIcon MemIcon(const char *name);
