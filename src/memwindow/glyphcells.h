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

    /// The picture of the cell at a column of a row of characters and their styles.
    /// @return DeviceWidth x DeviceHeight pixels, row by row, valid until the next call; null when
    ///         a character there cannot be drawn as a cell
    [[nodiscard]] const QRgb *Cell(
        std::span<const char> text, std::span<const CellStyle> styles, std::size_t column)
    {
        const char left = column > 0 ? text[column - 1] : ' ';
        const char right = column + 1 < text.size() ? text[column + 1] : ' ';
        const bool inkFromBeside
            = ((OverhangOf(left) & kOverhangRight) | (OverhangOf(right) & kOverhangLeft)) != 0;
        if (inkFromBeside)
            return CellBesideOverhang(text, styles, column);
        const std::int32_t place = m_places[Index(styles[column], text[column])];
        return place >= 0 ? m_pixels.data() + place : LoneCell(styles[column], text[column]);
    }

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
    std::uint8_t Measure(char character);
    const QRgb *LoneCell(CellStyle style, char character);
    const QRgb *CellBesideOverhang(
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
};
