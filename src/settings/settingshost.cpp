#include "settingshost.h"

namespace {

constinit SettingsHost hostInUse{};

} // namespace

void SETTINGS_SetHost(const SettingsHost &host)
{
    hostInUse = host;
}

const SettingsHost &SETTINGS_Host()
{
    return hostInUse;
}
