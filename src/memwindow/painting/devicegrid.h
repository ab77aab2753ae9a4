#pragma once

#include <QTransform>

#include <cmath>
#include <optional>

/// The number of parts of a device pixel. At the usual scale factors (1.25, 1.5, 1.75 and
/// whole ones) every position of the view is a whole number of parts.
inline constexpr int kPixelParts = 4;

/// The device pixel at which something begins or ends that lies so many parts from the device's
/// edge: the nearest one, as the raster engine rounds areas and the baselines of text.
constexpr int PixelAt(int parts)
{
    return (parts + kPixelParts / 2) >> 2;
}

/// How many parts a place lies behind the edge of its device pixel, 0 to kPixelParts - 1.
constexpr int FractionAt(int parts)
{
    return parts & (kPixelParts - 1);
}

static_assert(PixelAt(kPixelParts) == 1 && FractionAt(kPixelParts) == 0);

/// Where the view lies on the device, in parts of a device pixel.
struct DeviceGrid {
    int originX = 0; ///< of the view's upper left corner
    int originY = 0;
    int scale = kPixelParts; ///< parts for each pixel of the view

    /// @return nothing where a position is no whole number of parts, the view is made smaller, or
    ///         whole pixels begin inside device pixels
    [[nodiscard]] static std::optional<DeviceGrid> Of(const QTransform &transform)
    {
        const qreal scale = transform.m11() * kPixelParts;
        const qreal dx = transform.dx() * kPixelParts;
        const qreal dy = transform.dy() * kPixelParts;
        const auto isPart = [](qreal value) { return value == std::floor(value); };
        if (transform.type() > QTransform::TxScale || transform.m11() != transform.m22()
            || scale < kPixelParts || !isPart(scale) || !isPart(dx) || !isPart(dy))
            return std::nullopt;
        const DeviceGrid grid{int(dx), int(dy), int(scale)};
        const bool isWhole = (FractionAt(grid.originX) | FractionAt(grid.originY)) == 0;
        // The raster engine rounds halves away from zero, PixelAt upwards.
        const bool roundsAlike = grid.originX >= 0 && grid.originY >= 0;
        return (grid.HasWholeScale() ? isWhole : roundsAlike) ? std::optional(grid) : std::nullopt;
    }

    /// Whether a pixel of the view is made of whole device pixels.
    [[nodiscard]] bool HasWholeScale() const { return FractionAt(scale) == 0; }
    [[nodiscard]] int PartsAtX(int xPx) const { return originX + xPx * scale; }
    [[nodiscard]] int PartsAtY(int yPx) const { return originY + yPx * scale; }
};
