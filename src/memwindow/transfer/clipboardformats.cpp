#include "clipboardformats.h"

#include "linecomposer.h"

#include <QMimeData>

#include <algorithm>
#include <array>
#include <vector>

namespace {

constexpr std::array kUpperHex
    = {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F'};

/// Appends one item, most significant byte first. Written by hand: there may be millions of items,
/// for which the formatter is too slow.
void AppendItem(QByteArray &text, std::span<const std::uint8_t> item)
{
    text.append("0x");
    for (std::size_t i = item.size(); i-- > 0;) {
        text.append(kUpperHex[item[i] >> 4]);
        text.append(kUpperHex[item[i] & 0x0F]);
    }
}

/// One row after the other as the view would show it, read afresh.
class RowSource {
public:
    RowSource(const RowLayout &layout, const RowReader &read)
        : m_composer(layout.geometry.BytesPerItem(), layout.bigEndian)
        , m_read(read)
        , m_data(layout.geometry.BytesPerRow())
        , m_status(m_data.size())
        , m_line(ViewGeometry::kHexColumnStart + kCharsPerByte * m_data.size() + kLineEndChars)
    {
    }

    /// @return the composed row, empty when the reader gave up
    QLatin1String Row(std::uint64_t rowStart)
    {
        std::fill(m_data.begin(), m_data.end(), std::uint8_t{0});
        std::fill(m_status.begin(), m_status.end(), ByteStatus::NotLoaded);
        // The first and the last row of the space may begin before it or end behind it; the start
        // of such a first row has wrapped around.
        const std::uint64_t first = rowStart < kAddressSpaceEnd ? rowStart : 0;
        const std::uint64_t end = std::min(rowStart + m_data.size(), kAddressSpaceEnd);
        const std::uint64_t skipped = first - rowStart;
        if (first < end
            && !m_read(first, std::span(m_data).subspan(skipped, end - first),
                std::span(m_status).subspan(skipped, end - first)))
            return {};
        const char *textEnd = m_composer.ComposeLine(m_line.data(), m_line.data() + m_line.size(),
            rowStart, static_cast<std::uint32_t>(m_data.size()), m_data.data(), m_status.data());
        return {m_line.data(), textEnd - m_line.data()};
    }

private:
    static constexpr std::size_t kCharsPerByte = 5; // three digits and blanks, gap, text
    static constexpr std::size_t kLineEndChars = 8;

    LineComposer m_composer;
    const RowReader &m_read;
    std::vector<std::uint8_t> m_data;
    std::vector<ByteStatus> m_status;
    std::vector<char> m_line; // wider than a painted line, which may end before the last byte
};

/// Character columns of a row, the last one not included.
struct Columns {
    int first;
    int end;
};

/// The given columns of all rows that hold lower .. upper: whole rows, but for the first from the
/// column of lower on, and for the last to the column behind upper.
std::optional<QString> CopyRows(const RowLayout &layout, std::uint64_t lower, std::uint64_t upper,
    const RowReader &read, Columns whole, int firstColumn, int endColumn, QLatin1String separator)
{
    QString text;
    const std::uint64_t bytesPerRow = layout.geometry.BytesPerRow();
    if (bytesPerRow == 0)
        return text;
    const CellMap cells(layout.geometry, layout.pageBase, layout.bigEndian);
    const std::uint64_t firstRow = cells.RowStart(lower);
    const std::uint64_t rowCount = (cells.RowStart(upper) - firstRow) / bytesPerRow + 1;
    text.reserve(static_cast<qsizetype>(rowCount) * (whole.end - whole.first + 1));
    RowSource source(layout, read);
    for (std::uint64_t row = 0; row < rowCount; ++row) {
        const QLatin1String line = source.Row(firstRow + row * bytesPerRow);
        if (line.isEmpty())
            return std::nullopt;
        const int first = row == 0 ? firstColumn : whole.first;
        const qsizetype end
            = std::min<qsizetype>(row + 1 == rowCount ? endColumn : whole.end, line.size());
        if (row != 0)
            text.append(separator);
        if (first < end)
            text.append(line.sliced(first, end - first));
    }
    return text;
}

} // namespace

std::optional<QString> CLIP_Rows(ClipColumn column, const RowLayout &layout, std::uint64_t lower,
    std::uint64_t upper, const RowReader &read)
{
    const ViewGeometry &geometry = layout.geometry;
    const CellMap cells(geometry, layout.pageBase, layout.bigEndian);
    if (column == ClipColumn::Hex) {
        const int start = ViewGeometry::kHexColumnStart;
        return CopyRows(layout, lower, upper, read, {start, start + geometry.HexColumnWidth()},
            cells.ItemColumn(lower), cells.ItemColumn(upper) + 2 * geometry.BytesPerItem(),
            QLatin1String("\n"));
    }
    const int start = geometry.TextColumnStart();
    return CopyRows(layout, lower, upper, read,
        {start, start + static_cast<int>(geometry.BytesPerRow())}, cells.TextColumn(lower),
        cells.TextColumn(upper) + 1, QLatin1String());
}

QByteArray CLIP_InitializerList(
    std::span<const std::uint8_t> bytes, std::uint64_t itemBytes, std::uint64_t itemsPerRow)
{
    QByteArray text;
    if (itemBytes == 0)
        return text;
    const std::uint64_t count = bytes.size() / itemBytes;
    text.reserve(static_cast<qsizetype>(count) * static_cast<qsizetype>(2 * itemBytes + 4));
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
