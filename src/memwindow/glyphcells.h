#pragma once

#include <QFont>
#include <QRect>
#include <QRgb>

#include <array>
#include <cstdint>
#include <vector>

class QPainter;

/// The colours of the view.
struct RowColours {
    QRgb base = 0; ///< background of a row
    QRgb text = 0;
    QRgb selection = 0;     ///< background of selected cells
    QRgb runBackground = 0; ///< background of changed bytes, drawn where it is not the base
    QRgb highlight = 0;     ///< background of the cursor's cells
    QRgb highlightedText = 0;
    bool operator==(const RowColours &) const = default;
};

/// Colour of changed bytes of age 1, 2 and 3.
inline constexpr std::array<QRgb, 3> kAgeColours = {0xFFFF0000, 0xFFAA0000, 0xFF770000};

/// Whether text of this colour is hard to see on the background, so that it is underlined too.
[[nodiscard]] bool NeedsUnderline(QRgb text, QRgb background);

/// How the cell of one character looks; a plain number, so that it indexes tables.
using CellStyle = std::uint8_t;
inline constexpr CellStyle kCellPlain = 0;
inline constexpr CellStyle kCellSelected = 1; ///< bit 0: on the selection's background
inline constexpr CellStyle kCellFirstAge = 2; ///< 2 * age, plus bit 0
inline constexpr CellStyle kCellCursor = 8;
inline constexpr std::size_t kCellStyles = 9;

/// Ready-made pictures of single characters: rendered by the text engine once for each font,
/// palette and scale, copied from then on.
class GlyphCells {
public:
    /// @param font  advances by exactly widthPx
    void SetFont(const QFont &font, int widthPx, int heightPx, int ascentPx);
    void SetColours(const RowColours &colours);
    /// Device pixels per pixel; with it both cell sides have to be whole device pixels.
    void SetScale(qreal scale);

    [[nodiscard]] int DeviceWidth() const { return m_deviceWidth; }
    [[nodiscard]] int DeviceHeight() const { return m_deviceHeight; }

    /// @return DeviceWidth x DeviceHeight pixels, row by row, valid until the next call; null when
    ///         the character's ink leaves its cell or its advance is not the grid's
    [[nodiscard]] const QRgb *Cell(CellStyle style, char character)
    {
        const std::int32_t place = m_places[Index(style, character)];
        if (place >= 0)
            return m_pixels.data() + place;
        return place == kDoesNotFit ? nullptr : Render(style, character);
    }

    /// The line under text that is hard to see, which fills the box run.
    [[nodiscard]] QRect UnderlineOf(const QRect &run) const;

private:
    static constexpr std::int32_t kNotRendered = -1;
    static constexpr std::int32_t kDoesNotFit = -2;

    static std::size_t Index(CellStyle style, char character)
    {
        return std::size_t{style} * 256 + static_cast<unsigned char>(character);
    }
    void Forget();
    [[nodiscard]] bool HasRunBackground(CellStyle style) const;
    [[nodiscard]] QRgb BackgroundOf(CellStyle style) const;
    /// Draws one cell at the painter's origin with the text engine.
    void Paint(QPainter &painter, CellStyle style, char character) const;
    const QRgb *Render(CellStyle style, char character);

    QFont m_font;
    int m_widthPx = 1;
    int m_heightPx = 1;
    int m_ascentPx = 1;
    RowColours m_colours;
    qreal m_scale = 1;
    int m_deviceWidth = 1;
    int m_deviceHeight = 1;
    std::array<std::int32_t, kCellStyles * 256> m_places{};
    std::vector<QRgb> m_pixels;
};
