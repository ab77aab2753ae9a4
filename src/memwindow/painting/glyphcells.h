#pragma once

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
inline constexpr std::size_t kCellStyles = 16;

/// Ready-made pictures of single characters: drawn by the plain painter once for each font,
/// palette and scale, copied from then on.
///
/// Many fonts let the ink of some characters reach a pixel into the next cell. A cell beside such
/// a character is a picture of its own, kept with its neighbours as the key.
class GlyphCells {
public:
    void SetFont(const QFont &font, int widthPx, int heightPx);
    void SetColours(const RowColours &colours);
    /// Device pixels per pixel; with it both cell sides have to be whole device pixels.
    void SetScale(qreal scale);

    [[nodiscard]] int DeviceWidth() const { return m_deviceWidth; }
    [[nodiscard]] int DeviceHeight() const { return m_deviceHeight; }

    /// Where the pictures of a row's cells are kept, one place for each character.
    /// @param places  as many as there are characters
    /// @return false when a character cannot be drawn as a cell
    [[nodiscard]] bool FindPlaces(std::span<const char> text, std::span<const CellStyle> styles,
        std::span<std::int32_t> places);
    /// DeviceWidth x DeviceHeight pixels, row by row, valid until the next FindPlaces.
    [[nodiscard]] const QRgb *Pixels(std::int32_t place) const { return m_pixels.data() + place; }
    /// Changes whenever the places known so far have lost their meaning.
    [[nodiscard]] int Generation() const { return m_generation; }

    /// Whether ink of the character reaches into the cell on its left.
    [[nodiscard]] bool ReachesLeft(char character)
    {
        return (OverhangOf(character) & kOverhangLeft) != 0;
    }

private:
    enum Overhang : std::uint8_t {
        kOverhangNone = 0,
        kOverhangLeft = 1,
        kOverhangRight = 2,
        kOverhangTooWide = 4, ///< beyond the next cell, or the character's advance is another
        kOverhangUnknown = 8,
    };
    /// Three cells side by side, of which the middle one is meant.
    struct Neighbours {
        std::array<char, 3> text{' ', ' ', ' '};
        std::array<CellStyle, 3> styles{};
        [[nodiscard]] std::uint64_t Key() const;
    };
    static constexpr std::int32_t kNotRendered = -1;
    static constexpr std::int32_t kNoCell = -2;

    static std::size_t Index(CellStyle style, char character)
    {
        return std::size_t{style} * 256 + static_cast<unsigned char>(character);
    }
    std::uint8_t OverhangOf(char character)
    {
        const std::uint8_t overhang = m_overhangs[static_cast<unsigned char>(character)];
        return overhang == kOverhangUnknown ? Measure(character) : overhang;
    }
    void Forget();
    bool FindPlacesOnce(std::span<const char> text, std::span<const CellStyle> styles,
        std::span<std::int32_t> places);
    std::uint8_t Measure(char character);
    std::int32_t LoneCell(CellStyle style, char character);
    std::int32_t CellBesideOverhang(
        std::span<const char> text, std::span<const CellStyle> styles, std::size_t column);
    [[nodiscard]] QImage Draw(const Neighbours &cells);
    std::int32_t StoreMiddle(const QImage &image);

    PlainRowPainter m_painter;
    qreal m_scale = 1;
    int m_deviceWidth = 1;
    int m_deviceHeight = 1;
    std::array<std::uint8_t, 256> m_overhangs{};
    std::array<std::int32_t, kCellStyles * 256> m_places{};
    std::unordered_map<std::uint64_t, std::int32_t> m_placesBeside; // by Neighbours::Key
    std::vector<QRgb> m_pixels;
    int m_generation = 0;
};
