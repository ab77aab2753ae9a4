#pragma once

#include <QIcon>

/// An icon of the memory window, drawn in the text colour of the palette in use.
///
/// One drawing serves light and dark palettes and every scale factor. It is loaded and drawn when
/// the icon is first shown.
/// @param name  file name of a drawing under :/Icons/memwindow, without its ending
[[nodiscard]] QIcon MemIcon(const char *name);
