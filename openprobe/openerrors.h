#pragma once

#include "selection.h"
#include "tcplink.h"

#include <string>

namespace OpenProbe {

/// "HOST:PORT" for people, an IPv6 address in brackets.
[[nodiscard]] std::string HostAndPort(const Selection &selection);

/// What the user is told when a connection could not be made. Failure::None gives no text.
/// @param hint  a sentence for the case that nobody listens there
[[nodiscard]] std::string ConnectError(const Selection &selection, TcpLink::Failure failure,
    const TcpLink &link, const std::string &hint);

} // namespace OpenProbe
