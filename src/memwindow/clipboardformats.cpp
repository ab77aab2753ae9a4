#include "clipboardformats.h"

#include <QMimeData>

#include <array>

namespace
{

constexpr std::array kUpperHex
    = {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F'};

/// Appends one item, most significant byte first. A call of a formatter for each of some million
/// items would keep the user waiting.
void AppendItem(QByteArray &text, std::span<const std::uint8_t> item)
{
    text.append("0x");
    for (auto byte = item.rbegin(); byte != item.rend(); ++byte) {
        text.append(kUpperHex[*byte >> 4]);
        text.append(kUpperHex[*byte & 0x0F]);
    }
}

} // namespace

QByteArray CLIP_InitializerList(
    std::span<const std::uint8_t> bytes, std::uint64_t itemBytes, std::uint64_t itemsPerRow)
{
    QByteArray text;
    if (itemBytes == 0)
        return text;
    const std::uint64_t count = bytes.size() / itemBytes;
    text.reserve(static_cast<qsizetype>(count * (2 * itemBytes + 4)));
    for (std::uint64_t i = 1; i <= count; ++i) {
        AppendItem(text, bytes.subspan((i - 1) * itemBytes, itemBytes));
        // Deliberate: the line break stands instead of the separator, not behind it, and a full
        // last row ends in one. Scripts that read such lists split them at white space.
        if (itemsPerRow != 0 && i % itemsPerRow == 0)
            text.append('\n');
        else if (i < count)
            text.append(", ");
    }
    return text;
}

std::unique_ptr<QMimeData> CLIP_TextData(const QString &text)
{
    auto contents = std::make_unique<QMimeData>();
    contents->setText(text);
    return contents;
}

std::unique_ptr<QMimeData> CLIP_RawTextData(const QByteArray &text)
{
    auto contents = std::make_unique<QMimeData>();
    contents->setData(kMimeText, text);
    return contents;
}

std::unique_ptr<QMimeData> CLIP_BinaryData(const QByteArray &bytes)
{
    auto contents = std::make_unique<QMimeData>();
    contents->setData(kMimeBinary, bytes);
    return contents;
}

std::optional<QByteArray> CLIP_PasteBytes(const QMimeData &contents)
{
    for (const char *format : {kMimeText, kMimeBinary}) {
        if (contents.hasFormat(format))
            return contents.data(format);
    }
    return std::nullopt;
}
