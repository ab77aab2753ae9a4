#pragma once

#include <QStringList>

/// What a column's filter list offers: for each text a pattern that keeps this text alone, whatever
/// its case. Where the plain text would keep others too (8 KB is part of 48 KB) it is "text*" or
/// "*text"; a text that no pattern singles out is left out.
/// @param texts  the texts of the column, each once; none is empty
/// @return in the order of the texts
[[nodiscard]] QStringList OfferedPatterns(const QStringList &texts);
