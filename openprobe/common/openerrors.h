#pragma once

#include "targetchoice.h"
#include "tcplink.h"

#include <string>

namespace OpenProbe {

/// What Open answers when it was ended by a Close.
inline constexpr const char *kCanceledText = "Operation canceled";

/// "HOST:PORT" for people, an IPv6 address in brackets.
[[nodiscard]] std::string HostAndPort(const TargetChoice &choice);

/// What the user is told when a connection could not be made. Failure::None gives no text.
/// @param hint  a sentence for the case that nobody listens there
[[nodiscard]] std::string ConnectError(const TargetChoice &choice, TcpLink::Failure failure,
    const TcpLink &link, const std::string &hint);

} // namespace OpenProbe
