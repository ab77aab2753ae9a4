#include "configstate.h"

#include "configtables.h"
#include "utilformat.h"
#include "utilparser.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <string>

namespace {

/// Deliberate: stored speeds are looked for in these rows only. Any other stored speed is shown as
/// the custom first entry, even one that is listed as well.
constexpr std::uint32_t kSearchedFrequencies = 4;
/// ARM7 and ARM9 cores have instruction registers of this length.
constexpr std::int32_t kArmInstructionBits = 4;

/// The first row whose member has a value, or a fallback.
template <typename Rows, typename Member>
std::uint32_t FindRow(const Rows &rows, Member member, std::int32_t value, std::uint32_t fallback)
{
    const auto row = std::find_if(rows.begin(), rows.end(),
        [&](const auto &candidate) { return candidate.*member == value; });
    return row != rows.end() ? static_cast<std::uint32_t>(row - rows.begin()) : fallback;
}

std::uint32_t PositionOf(std::int32_t drPrefix)
{
    const auto row = std::find(kPositions.begin(), kPositions.end(), drPrefix);
    return row != kPositions.end() ? static_cast<std::uint32_t>(row - kPositions.begin()) : 0;
}

std::uint32_t FrequencyOf(std::int32_t speedKHz)
{
    if (speedKHz == 0)
        return kDefaultFrequency;
    for (std::uint32_t row = 0; row < kSearchedFrequencies; ++row) {
        if (kFrequenciesKHz[row] == speedKHz)
            return row;
    }
    UTIL_Format(CustomSpeedText(), "%d", speedKHz);
    return kCustomFrequency;
}

/// Leaves the speed alone when the custom row has no text.
void ReadCustomSpeed(std::int32_t *speedKHz)
{
    std::array<char, 64> error{};
    const char *cursor = CustomSpeedText().data();
    UTIL_ReadDecimal(error, cursor, 0, std::numeric_limits<std::int32_t>::max(), *speedKHz);
}

void StoreSpeed(const ConfigState &state, ConnectionRecord *record)
{
    record->UseMaxSpeed = state.speedMode == kAutoSpeed ? 1 : 0;
    record->UseAdaptive = state.speedMode == kAdaptiveSpeed ? 1 : 0;
    if (state.speedMode != kFixedSpeed)
        return;
    if (state.frequencyIndex != kCustomFrequency)
        record->Speed = kFrequenciesKHz[state.frequencyIndex];
    else
        ReadCustomSpeed(&record->Speed);
}

bool IsNameByte(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 && byte != 0x7F && byte != '"';
}

} // namespace

std::array<char, 32> &CustomSpeedText()
{
    static std::array<char, 32> text{};
    return text;
}

ConfigState LoadConfigState(const ConnectionRecord &record)
{
    ConfigState state{};
    state.deviceName = record.Device;
    state.hostName = record.HostName;
    state.deviceName.back() = '\0';
    state.hostName.back() = '\0';
    // Flags are bytes here: only the lowest byte of the stored word counts.
    state.multipleTargets = static_cast<std::uint8_t>(record.MultipleTargets) != 0;
    state.initRegs = static_cast<std::uint8_t>(record.InitRegs) != 0;
    state.localhostOnly = static_cast<std::uint8_t>(record.LocalhostOnly) != 0;
    state.useSerialNo = static_cast<std::uint8_t>(record.UseSerialNo) != 0;
    state.usbSerialNo = record.USBSerialNo;
    state.irPrefix = record.IRPre;
    state.drPrefixIndex = PositionOf(record.DRPre);
    state.endianIndex = FindRow(kEndians, &EndianRow::endianMode, record.EndianMode, 0);
    state.interfaceIndex
        = FindRow(kInterfaces, &InterfaceRow::targetInterface, record.TargetIF, kDefaultInterface);
    state.connectionIndex
        = FindRow(kConnections, &ConnectionRow::connectMode, record.ConnectMode, kUsbConnection);
    state.frequencyIndex = kDefaultFrequency;
    if (record.UseAdaptive != 0) {
        state.speedMode = kAdaptiveSpeed;
    } else if (record.UseMaxSpeed != 0) {
        state.speedMode = kAutoSpeed;
    } else {
        state.speedMode = kFixedSpeed;
        state.frequencyIndex = FrequencyOf(record.Speed);
    }
    return state;
}

void StoreConfigState(const ConfigState &state, ConnectionRecord *record)
{
    record->Device = state.deviceName;
    record->HostName = state.hostName;
    record->MultipleTargets = state.multipleTargets ? 1 : 0;
    record->LocalhostOnly = state.localhostOnly ? 1 : 0;
    record->UseSerialNo = state.useSerialNo ? 1 : 0;
    record->USBSerialNo = state.usbSerialNo;
    record->IRPre = state.irPrefix;
    record->EndianMode = kEndians[state.endianIndex].endianMode;
    record->TargetIF = kInterfaces[state.interfaceIndex].targetInterface;
    record->DRPre = kPositions[state.drPrefixIndex];
    record->ConnectMode = kConnections[state.connectionIndex].connectMode;
    StoreSpeed(state, record);
    // Deliberate: InitRegs stays. That box only changes the option string.
}

std::uint32_t FrequencyOfListRow(int listRow)
{
    const int row = CustomSpeedText().front() == '\0' ? listRow + 1 : listRow;
    return static_cast<std::uint32_t>(
        std::clamp(row, 0, static_cast<int>(kFrequenciesKHz.size()) - 1));
}

int ListRowOfFrequency(std::uint32_t frequencyIndex)
{
    const int row = static_cast<int>(frequencyIndex);
    return CustomSpeedText().front() == '\0' ? row - 1 : row;
}

void ChooseInterface(ConfigState *state, std::uint32_t interfaceIndex)
{
    if (interfaceIndex >= kInterfaces.size())
        return;
    state->interfaceIndex = interfaceIndex;
    if (state->speedMode == kAdaptiveSpeed && !UsesScanChain(*state))
        state->speedMode = kAutoSpeed;
}

void ChoosePosition(ConfigState *state, std::uint32_t position)
{
    if (position >= kPositions.size())
        return;
    state->drPrefixIndex = position;
    // Deliberate guess: the devices in front are ARM7 or ARM9 cores. The user may correct it.
    state->irPrefix = kArmInstructionBits * kPositions[position];
}

bool UsesScanChain(const ConfigState &state)
{
    return kInterfaces[state.interfaceIndex].targetInterface == kTargetIfJtag;
}

void SetName(std::array<char, 128> *name, std::string_view text)
{
    std::string kept;
    std::copy_if(text.begin(), text.end(), std::back_inserter(kept), IsNameByte);
    kept.resize(FittingBytes(kept, name->size() - 1));
    name->fill('\0'); // records are compared byte for byte: no old bytes may follow the name
    std::copy(kept.begin(), kept.end(), name->begin());
}

std::size_t FittingBytes(std::string_view text, std::size_t maxBytes)
{
    if (text.size() <= maxBytes)
        return text.size();
    std::size_t length = maxBytes;
    // Step back over the continuation bytes of a character that crosses the limit.
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U)
        --length;
    return length;
}

std::int64_t ReadNumber(std::string_view text, std::int64_t min, std::int64_t max)
{
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return 0;
    text = text.substr(first, text.find_last_not_of(" \t") - first + 1);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber && value >= min && value <= max ? value : 0;
}
