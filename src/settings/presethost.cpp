#include "presethost.h"

#include "utiltext.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kMaxChars = 63; // what the dialog's field takes

struct PresetState {
    std::array<char, kMaxChars + 1> host; // empty: no preset
};

PresetState &ThePreset()
{
    static constinit PresetState preset{};
    return preset;
}

bool IsControl(char c)
{
    return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
}

} // namespace

bool PRESET_IsUsable(std::string_view host)
{
    return !host.empty() && host.front() != ' ' && host.back() != ' ' && host.size() <= kMaxChars
        && std::ranges::none_of(host, IsControl);
}

void PRESET_Take(ConnectionRecord &record)
{
    PresetState &preset = ThePreset();
    preset.host = {};
    const char *const variable = secure_getenv(kPresetHostVariable);
    if (variable == nullptr || !PRESET_IsUsable(variable))
        return;
    UTIL_CopyText(preset.host, variable);
    record.ConnectMode = kConnectModeTcpIp;
    record.HostName = {};
    UTIL_CopyText(record.HostName, variable);
}

bool PRESET_Holds(const ConnectionRecord &record)
{
    PresetState &preset = ThePreset();
    if (record.ConnectMode != kConnectModeTcpIp
        || std::strcmp(record.HostName.data(), preset.host.data()) != 0)
        preset.host = {};
    return preset.host[0] != '\0';
}
