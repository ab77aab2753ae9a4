#pragma once

#include <QString>

/// A file path that the load and save dialog remembers between runs.
enum class RememberedFile { Open, Save };

/// The remembered path, data.bin in the user's home directory when there is none yet.
[[nodiscard]] QString MEMFILE_Remembered(RememberedFile which);
void MEMFILE_Remember(RememberedFile which, const QString &fileName);
