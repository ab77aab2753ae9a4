#pragma once

#include <QStringView>

/// Compares as a reader would sort: runs of digits by their value, letters without regard to case.
///
/// Texts that differ only in case or in leading zeros still have a fixed order, so 0 means equal.
/// @return below, equal to or above 0
[[nodiscard]] int CompareNaturally(QStringView left, QStringView right);
