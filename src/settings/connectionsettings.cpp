#include "connectionsettings.h"

#include "presethost.h"
#include "ranvoapi.h"
#include "settingsstore.h"
#include "utiltext.h"

#include <cstddef>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>

namespace {

enum class KeyKind { Decimal, Hex, Text };

/// One saved field of the record.
struct RecordKey {
    const char *section;
    const char *name;
    KeyKind kind;
    std::size_t offset;
    std::int32_t defaultValue;
};

constexpr std::size_t kTextSize = std::tuple_size_v<decltype(ConnectionRecord::Device)>;
static_assert(kTextSize == std::tuple_size_v<decltype(ConnectionRecord::HostName)>);

// Read and saved in this order; saving puts each key in front of the earlier ones of its section.
#define RECORD_KEY(section, field, kind, defaultValue)                                             \
    RecordKey                                                                                      \
    {                                                                                              \
        section, #field, kind, offsetof(ConnectionRecord, field), defaultValue                     \
    }
constexpr std::array kRecordKeys = {
    RECORD_KEY("GENERAL", ConnectMode, KeyKind::Decimal, kConnectModeUsb),
    RECORD_KEY("GENERAL", UseSerialNo, KeyKind::Decimal, 0),
    RECORD_KEY("GENERAL", USBSerialNo, KeyKind::Hex, 0),
    RECORD_KEY("GENERAL", HostName, KeyKind::Text, 0),
    RECORD_KEY("CPU", Device, KeyKind::Text, 0),
    RECORD_KEY("CPU", EndianMode, KeyKind::Decimal, 0),
    RECORD_KEY("TIF", TargetIF, KeyKind::Decimal, kTargetIfSwd),
    RECORD_KEY("TIF", UseMaxSpeed, KeyKind::Decimal, 1),
    RECORD_KEY("TIF", UseAdaptive, KeyKind::Decimal, 0),
    RECORD_KEY("TIF", Speed, KeyKind::Decimal, kDefaultSpeedKHz),
    RECORD_KEY("TIF", MultipleTargets, KeyKind::Decimal, 0),
    RECORD_KEY("TIF", DRPre, KeyKind::Decimal, 0),
    RECORD_KEY("TIF", IRPre, KeyKind::Decimal, 0),
};
#undef RECORD_KEY

/// The global record. It is never destroyed: a worker may still read it while the process ends.
struct GlobalRecord {
    std::mutex mutex; // guards the record, for the time of a copy
    ConnectionRecord record;
};
static_assert(std::is_trivially_destructible_v<GlobalRecord>);

GlobalRecord &TheGlobalRecord()
{
    static constinit GlobalRecord global{{}, {}};
    return global;
}

void SetGlobalRecord(const ConnectionRecord &record)
{
    GlobalRecord &global = TheGlobalRecord();
    const std::lock_guard lock(global.mutex);
    global.record = record;
}

void ReadKey(const RecordKey &key, ConnectionRecord &record)
{
    auto *const field = reinterpret_cast<char *>(&record) + key.offset;
    std::int32_t number = key.defaultValue;
    std::uint32_t word = 0;
    switch (key.kind) {
    case KeyKind::Decimal:
        if (SETTINGS_ReadDecimal(key.section, key.name, number) != SETTINGS_OK)
            number = key.defaultValue;
        std::memcpy(field, &number, sizeof number);
        break;
    case KeyKind::Hex:
        if (SETTINGS_ReadHex(key.section, key.name, word) != SETTINGS_OK)
            word = static_cast<std::uint32_t>(key.defaultValue);
        std::memcpy(field, &word, sizeof word);
        break;
    case KeyKind::Text:
        if (SETTINGS_ReadText(key.section, key.name, {field, kTextSize}) != SETTINGS_OK)
            field[0] = '\0';
        break;
    }
}

void WriteKey(const RecordKey &key, const ConnectionRecord &record)
{
    const auto *const field = reinterpret_cast<const char *>(&record) + key.offset;
    std::int32_t number = 0;
    std::uint32_t word = 0;
    std::array<char, kTextSize> text{};
    switch (key.kind) {
    case KeyKind::Decimal:
        std::memcpy(&number, field, sizeof number);
        SETTINGS_WriteDecimal(key.section, key.name, number);
        break;
    case KeyKind::Hex:
        std::memcpy(&word, field, sizeof word);
        SETTINGS_WriteHex(key.section, key.name, word);
        break;
    case KeyKind::Text:
        std::memcpy(text.data(), field, kTextSize - 1); // terminated, whatever the record holds
        SETTINGS_WriteText(key.section, key.name, text.data());
        break;
    }
}

/// Whether the key is one of those that a preset target stands in for.
bool NamesTarget(const RecordKey &key)
{
    return key.offset == offsetof(ConnectionRecord, ConnectMode)
        || key.offset == offsetof(ConnectionRecord, HostName);
}

/// The probe library's first device. Usually the first probe call of a run.
void TakeFirstDevice(ConnectionRecord &record)
{
    RanvoDeviceInfo info{};
    info.sizeOfStruct = RANVO_DEVICE_INFO_SIZE;
    if (RANVOARM_DEVICE_GetInfo(0, &info) == 0)
        UTIL_CopyText(record.Device, info.name); // does nothing when the library gives no name
}

/// Removes the blanks around a host name, which can only be a mistake.
void TrimHostName(ConnectionRecord &record)
{
    const std::string_view stored(record.HostName.data());
    const std::size_t first = stored.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        record.HostName = {};
        return;
    }
    const std::string trimmed(stored.substr(first, stored.find_last_not_of(" \t") - first + 1));
    record.HostName = {};
    UTIL_CopyText(record.HostName, trimmed.c_str());
}

void ApplyRules(ConnectionRecord &record)
{
    TrimHostName(record);
    if (record.Speed < 0)
        record.Speed = kDefaultSpeedKHz;
    if (record.TargetIF != kTargetIfJtag)
        record.UseAdaptive = 0;
    else if (record.UseAdaptive != 0 && record.UseMaxSpeed != 0)
        record.UseMaxSpeed = 0; // adaptive clocking wins
}

} // namespace

void SETTINGS_Load(ConnectionRecord *record)
{
    // All zero first: records are compared byte for byte, also behind the ends of their texts.
    ConnectionRecord loaded{};
    for (const RecordKey &key : kRecordKeys)
        ReadKey(key, loaded);
    if (loaded.Device[0] == '\0')
        TakeFirstDevice(loaded);
    PRESET_Take(loaded);
    ApplyRules(loaded);
    SetGlobalRecord(loaded);
    *record = loaded;
}

bool SETTINGS_Apply(const ConnectionRecord *record)
{
    const ConnectionRecord present = SETTINGS_Snapshot();
    if (std::memcmp(record, &present, sizeof present) == 0)
        return false;
    {
        const SettingsBatch oneSave;
        const bool preset = PRESET_Holds(*record);
        for (const RecordKey &key : kRecordKeys) {
            if (!preset || !NamesTarget(key))
                WriteKey(key, *record);
        }
    }
    SetGlobalRecord(*record);
    if (SETTINGS_Host().Reconnect)
        SETTINGS_Host().Reconnect();
    return true;
}

ConnectionRecord SETTINGS_Snapshot()
{
    GlobalRecord &global = TheGlobalRecord();
    const std::lock_guard lock(global.mutex);
    return global.record;
}

void SETTINGS_Release()
{
    SETTINGS_CloseStore();
}
