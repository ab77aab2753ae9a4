#include "boxplacement.h"

#include <algorithm>

QPoint APP_PlaceBox(const QRect &window, const QSize &boxHint, const QSize &screenSize)
{
    const int x = std::max(0, window.x() + window.width() / 2 - boxHint.width() / 2);
    const int y = std::max(0, window.y() + window.height() / 2 - boxHint.height() / 2);
    return {std::min(x, screenSize.width() - boxHint.width()),
        std::min(y, screenSize.height() - boxHint.height())};
}
