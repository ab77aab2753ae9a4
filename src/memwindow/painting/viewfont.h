#pragma once

#include <QFont>

/// The fixed-pitch font of the view, in the size, weight and slant of the application's font.
QFont FixedPitchFont(const QFont &applicationFont);

/// Pixels from one character column to the next.
int CharacterWidth(const QFont &fixedPitchFont);

/// The same font with its advance forced to CharacterWidth. A font's real advance is often a
/// fraction of a pixel off, which over a row would carry the text away from the cells.
QFont GridFont(QFont fixedPitchFont);
