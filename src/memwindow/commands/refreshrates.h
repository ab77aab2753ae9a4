#pragma once

#include <array>

/// A choice of the periodic refresh; its place in the table is its row in the combo box.
struct RefreshRate {
    const char *text;
    int intervalMs; ///< 0 = no periodic refresh
};

inline constexpr std::array kRefreshRates = {
    RefreshRate{"100 ms", 100},
    RefreshRate{"200 ms", 200},
    RefreshRate{"500 ms", 500},
    RefreshRate{"1 s", 1000},
    RefreshRate{"2 s", 2000},
    RefreshRate{"5 s", 5000},
    RefreshRate{"off", 0},
};
