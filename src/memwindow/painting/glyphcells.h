#pragma once

#include "celllayout.h"
#include "plainrowpainter.h"

#include <QImage>
#include <QRgb>

#include <array>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

/// How the cell of one character looks; a plain number, so that it indexes tables.
using CellStyle = std::uint8_t;
inline constexpr CellStyle kCellPlain = 0;
inline constexpr CellStyle kCellSelected = 1; ///< bit 0: on the selection's background
inline constexpr CellStyle kCellFirstAge = 2; ///< bits 1 and 2: the age of a change
inline constexpr CellStyle kCellCursor = 8;   ///< bit 3: under the cursor
inline constexpr CellStyle kCellFramed = 16;  ///< bit 4: in the frame of a hollow cursor
inline constexpr std::size_t kCellStyles = 32;

/// Where a row begins on the device, in parts of a device pixel.
struct RowOrigin {
    int columnsX = 0; ///< left edge of its first column
    int topY = 0;
};

/// Ready-made pictures of single characters: drawn by the plain painter once for each font,
/// palette and scale, copied from then on.
///
/// The text engine draws a character differently for each part of a device pixel at which its
/// column starts, so each such fraction has a picture of its own. The edges of underlines and
/// frames are rounded to device pixels; their pictures also depend on the fraction at which the row
/// starts.
///
/// Many fonts let the ink of some characters reach a pixel into the next cell. A cell beside such
/// a character is a picture of its own, kept with its neighbours as the key.
class GlyphCells {
public:
    void SetFont(const QFont &font, int widthPx, int heightPx);
    void SetColours(const RowColours &colours);
    void SetScale(int partsPerPixel);

    /// Whether cells of this font give the engine's own pixels at the scale that was set, and are
    /// no higher than is sensible.
    [[nodiscard]] bool AreUsable() const;
    [[nodiscard]] const CellLayout &Layout() const { return m_layout; }

    /// Where the pictures of a row's cells are kept, one place for each character.
    /// @param places  as many as there are characters
    /// @return false when a character cannot be drawn as a cell
    [[nodiscard]] bool FindPlaces(std::span<const char> text, std::span<const CellStyle> styles,
        RowOrigin origin, std::span<std::int32_t> places);
    /// Pixels of the layout's width and height, line by line, valid until the next FindPlaces.
    [[nodiscard]] const QRgb *Pixels(std::int32_t place) const { return m_pixels.data() + place; }
    /// Another number than before means that no place found before may be used.
    [[nodiscard]] int Generation() const { return m_generation; }

    /// Whether ink of the character reaches into the cell on its left.
    [[nodiscard]] bool ReachesLeft(char character, int fractionX)
    {
        return (OverhangOf(character, fractionX) & kOverhangLeft) != 0;
    }

private:
    enum Overhang : std::uint8_t {
        kOverhangNone = 0,
        kOverhangLeft = 1,
        kOverhangRight = 2,
        kOverhangTooWide = 4, ///< beyond the next cell, or the character's advance is another
        kOverhangUnknown = 8,
    };
    /// The cell that is wanted, between the two beside it.
    struct Neighbours {
        std::array<char, 3> text{' ', ' ', ' '};
        std::array<CellStyle, 3> styles{};
        int fractionX = 0; ///< of the middle cell
        int fractionY = 0; ///< of the row
        [[nodiscard]] std::uint64_t Key() const;
    };
    static constexpr std::int32_t kNotRendered = -1;
    static constexpr std::int32_t kNoCell = -2;

    [[nodiscard]] std::size_t Index(
        CellStyle style, char character, int fractionX, int fractionY) const
    {
        return m_styleStarts[std::size_t(fractionY)][style] + std::size_t(fractionX) * 256
            + static_cast<unsigned char>(character);
    }
    std::uint8_t OverhangOf(char character, int fractionX)
    {
        const std::uint8_t overhang
            = m_overhangs[std::size_t(fractionX)][static_cast<unsigned char>(character)];
        return overhang == kOverhangUnknown ? Measure(character, fractionX) : overhang;
    }
    void Forget();
    void LayOutTables();
    /// Whether the picture depends on the fraction at which the row starts.
    [[nodiscard]] bool HasLines(CellStyle style) const;
    bool FindPlacesOnce(std::span<const char> text, std::span<const CellStyle> styles,
        RowOrigin origin, std::span<std::int32_t> places);
    bool FindOtherPlaces(std::size_t first, std::span<const char> text,
        std::span<const CellStyle> styles, RowOrigin origin, std::span<std::int32_t> places);
    std::uint8_t Measure(char character, int fractionX);
    std::int32_t LoneCell(CellStyle style, char character, int fractionX, int fractionY);
    std::int32_t CellBesideOverhang(std::span<const char> text, std::span<const CellStyle> styles,
        std::size_t column, RowOrigin origin);
    [[nodiscard]] QImage Draw(const Neighbours &cells);
    std::int32_t StoreMiddle(const QImage &image, int fractionX);

    PlainRowPainter m_painter;
    bool m_isScalable = true; // the font
    int m_partsPerPixel = kPixelParts;
    CellLayout m_layout;
    std::array<std::array<std::size_t, kCellStyles>, kPixelParts> m_styleStarts{};
    std::array<std::array<std::uint8_t, 256>, kPixelParts> m_overhangs{};
    std::vector<std::int32_t> m_places;                             // by Index
    std::unordered_map<std::uint64_t, std::int32_t> m_placesBeside; // by Neighbours::Key
    std::vector<QRgb> m_pixels;
    std::size_t m_maxPixels = 0;
    int m_generation = 0;
};
