#pragma once

#include "cellmap.h"
#include "memtypes.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>

class QMimeData;

/// The MIME types of target memory.
inline constexpr const char *kMimeText = "text/plain";
inline constexpr const char *kMimeBinary = "application/octet-stream";

/// How the view that is copied from lays out its rows.
struct RowLayout {
    const ViewGeometry &geometry;
    std::uint64_t pageBase; ///< rows start whole rows before or behind this address
    bool bigEndian;
};

/// Reads bytes of one row, all within the address space. Status is NotLoaded beforehand.
/// @return false to give the copy up
using RowReader = std::function<bool(
    std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status)>;

/// Which column of the view a copy takes.
enum class ClipColumn {
    Hex,  ///< from the item of the first byte to the item of the last; rows end in a line feed
    Text, ///< one character a byte, without line breaks
};

/// A column of the rows that hold lower .. upper (both inclusive), as the view shows it.
/// @return nothing when the reader gave up; an empty text when the view shows no rows
[[nodiscard]] std::optional<QString> CLIP_Rows(ClipColumn column, const RowLayout &layout,
    std::uint64_t lower, std::uint64_t upper, const RowReader &read);

/// Bytes as "0x"-prefixed hexadecimal items, least significant byte first in memory.
///
/// Items are separated by ", "; a line break takes the separator's place after each full row, also
/// after the last one. A partial last item is dropped.
/// @param itemBytes    1, 2 or 4
/// @param itemsPerRow  0: no line breaks
[[nodiscard]] QByteArray CLIP_InitializerList(
    std::span<const std::uint8_t> bytes, std::uint64_t itemBytes, std::uint64_t itemsPerRow);

/// @name New clipboard contents; the clipboard takes them over.
/// @{
[[nodiscard]] std::unique_ptr<QMimeData> CLIP_TextData(const QString &text);
[[nodiscard]] std::unique_ptr<QMimeData> CLIP_RawTextData(const QByteArray &text);
[[nodiscard]] std::unique_ptr<QMimeData> CLIP_BinaryData(const QByteArray &bytes);
/// @}

/// The bytes that pasting writes: those of the text if there is one, else the binary data. Texts
/// are not parsed, their characters are the bytes.
/// @return nothing when the contents are of another kind
[[nodiscard]] std::optional<QByteArray> CLIP_PasteBytes(const QMimeData &contents);
