#include "devicerow.h"

#include "configstate.h"
#include "corenames.h"
#include "devicefilter.h"
#include "naturalorder.h"

#include <QHash>
#include <QStringList>

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>

namespace {

/// Reads a text of the library, which may be null or lack its end.
QString BoundedText(const char *text)
{
    if (text == nullptr)
        return {};
    const std::string_view bounded(text, strnlen(text, kMaxDeviceNameBytes + 1));
    const std::size_t length = FittingBytes(bounded, kMaxDeviceNameBytes);
    return QString::fromUtf8(text, static_cast<qsizetype>(length));
}

/// A text shared by all cells that show it, with its folded form.
struct SharedText {
    QString text;
    QString folded;
};

/// Makes each text once: thousands of devices share few core names and sizes.
template <typename MakeText> class TextPool {
public:
    explicit TextPool(MakeText makeText)
        : m_makeText(makeText)
    {
    }

    void Put(DeviceRow &row, int column, std::uint32_t value)
    {
        auto entry = m_texts.find(value);
        if (entry == m_texts.end()) {
            const QString text = m_makeText(value);
            entry = m_texts.insert(value, {text, FoldForMatch(text)});
        }
        row.texts[static_cast<std::size_t>(column)] = entry->text;
        row.folded[static_cast<std::size_t>(column)] = entry->folded;
    }

private:
    MakeText m_makeText;
    QHash<std::uint32_t, SharedText> m_texts;
};

void PutName(DeviceRow &row, int column, const char *name)
{
    const auto cell = static_cast<std::size_t>(column);
    row.texts[cell] = BoundedText(name);
    row.folded[cell] = FoldForMatch(row.texts[cell]);
}

int CompareValues(std::uint32_t left, std::uint32_t right)
{
    return left < right ? -1 : static_cast<int>(left > right);
}

} // namespace

QString SizeText(std::int64_t sizeBytes)
{
    const std::int64_t kilobytes = sizeBytes / 1024;
    if (kilobytes >= -999 && kilobytes <= 999)
        return QString::number(kilobytes) + QLatin1String(" KB");
    // Deliberate: 1000 after 1024, so that the usual 1024 KB read "1 MB" and 2048 KB "2 MB".
    return QString::number(kilobytes / 1000) + QLatin1String(" MB");
}

std::vector<DeviceRow> MakeDeviceRows(const RanvoDeviceInfo *records, int count)
{
    TextPool cores([](std::uint32_t id) { return QString::fromLatin1(CoreName(id)); });
    TextPool counts([](std::uint32_t value) { return QString::number(value); });
    TextPool sizes([](std::uint32_t bytes) { return SizeText(bytes); });
    std::vector<DeviceRow> rows;
    if (records == nullptr || count <= 0)
        return rows;
    rows.reserve(static_cast<std::size_t>(count));
    for (const RanvoDeviceInfo &record : std::span(records, static_cast<std::size_t>(count))) {
        DeviceRow &row = rows.emplace_back();
        PutName(row, kManufacturerColumn, record.manufacturer);
        PutName(row, kDeviceColumn, record.name);
        cores.Put(row, kCoreColumn, record.coreId);
        counts.Put(row, kNumCoresColumn, record.numCores);
        sizes.Put(row, kFlashSizeColumn, record.flashSize);
        sizes.Put(row, kRamSizeColumn, record.ramSize);
        row.numCores = record.numCores;
        row.flashBytes = record.flashSize;
        row.ramBytes = record.ramSize;
        row.bigEndian = record.byteOrder == 1;
    }
    return rows;
}

int CompareDevices(const DeviceRow &left, const DeviceRow &right, int column)
{
    switch (column) {
    case kNumCoresColumn:
        return CompareValues(left.numCores, right.numCores);
    case kFlashSizeColumn:
        return CompareValues(left.flashBytes, right.flashBytes);
    case kRamSizeColumn:
        return CompareValues(left.ramBytes, right.ramBytes);
    default: {
        const auto cell = static_cast<std::size_t>(column);
        return CompareNaturally(left.texts[cell], right.texts[cell]);
    }
    }
}

QStringList DistinctTexts(const std::vector<DeviceRow> &rows, int column)
{
    const auto cell = static_cast<std::size_t>(column);
    QHash<QString, const DeviceRow *> firstWith;
    for (const DeviceRow &row : rows) {
        if (!row.texts[cell].isEmpty() && !firstWith.contains(row.texts[cell]))
            firstWith.insert(row.texts[cell], &row);
    }
    QList<const DeviceRow *> distinct = firstWith.values();
    std::sort(
        distinct.begin(), distinct.end(), [column](const DeviceRow *left, const DeviceRow *right) {
            return CompareDevices(*left, *right, column) < 0;
        });
    QStringList texts;
    texts.reserve(distinct.size());
    for (const DeviceRow *row : distinct)
        texts.append(row->texts[cell]);
    return texts;
}
