#pragma once

class QDropEvent;
class QMimeData;
class QString;

/// The one local file of a drag, or an empty text.
[[nodiscard]] QString DROP_File(const QMimeData &contents);
/// The hexadecimal address of a dragged text, or an empty text.
[[nodiscard]] QString DROP_Address(const QMimeData &contents);

/// Takes or refuses what is dragged over the window: a file where files can be loaded, an address.
/// @return whether it is taken
bool DROP_Offer(QDropEvent &event, bool canLoad);
