#pragma once

#include "targetchoice.h"
#include "tcplink.h"

#include <string>

namespace OpenProbe {

/// The result of an Open that was ended by a Close.
inline constexpr const char *kCanceledText = "Operation canceled";

/// "HOST:PORT" for people, an IPv6 address in brackets.
[[nodiscard]] std::string HostAndPort(const TargetChoice &choice);

/// The text for the user when a connection could not be made. Failure::None gives no text.
/// @param hint  a sentence for the case that no program listens there
[[nodiscard]] std::string ConnectError(const TargetChoice &choice, TcpLink::Failure failure,
    const TcpLink &link, const std::string &hint);

} // namespace OpenProbe
