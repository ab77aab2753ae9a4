#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

class QMimeData;

/// MIME types that target memory travels under.
inline constexpr const char *kMimeText = "text/plain";
inline constexpr const char *kMimeBinary = "application/octet-stream";

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
