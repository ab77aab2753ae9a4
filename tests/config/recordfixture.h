#pragma once

#include "connectionrecord.h"

#include <algorithm>
#include <string_view>

/// A record as an empty settings file gives it.
inline ConnectionRecord MakeRecord()
{
    ConnectionRecord record{};
    record.ConnectMode = kConnectModeUsb;
    record.TargetIF = kTargetIfSwd;
    record.UseMaxSpeed = 1;
    record.Speed = kDefaultSpeedKHz;
    return record;
}

inline void SetText(std::array<char, 128> *field, std::string_view text)
{
    field->fill('\0');
    std::copy_n(text.begin(), std::min(text.size(), field->size() - 1), field->begin());
}
