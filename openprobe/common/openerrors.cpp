#include "openerrors.h"

namespace OpenProbe {

std::string HostAndPort(const TargetChoice &choice)
{
    const bool bracketed = choice.host.find(':') != std::string::npos;
    const std::string host = bracketed ? '[' + choice.host + ']' : choice.host;
    return host + ':' + std::to_string(choice.port);
}

std::string ConnectError(const TargetChoice &choice, TcpLink::Failure failure, const TcpLink &link,
    const std::string &hint)
{
    const std::string where = HostAndPort(choice);
    switch (failure) {
    case TcpLink::Failure::None:
        return {};
    case TcpLink::Failure::NoAddress:
        return "No address for host \"" + choice.host
            + "\". Check its spelling or type its number, e.g. 192.168.0.10.";
    case TcpLink::Failure::Refused:
        return "Nothing accepts a connection at " + where + " (refused). " + hint;
    case TcpLink::Failure::TimedOut:
        return where + " does not answer within " + std::to_string(2 * Patience())
            + " s. Check the address, and whether the machine is on and lets the port through.";
    case TcpLink::Failure::Cancelled:
        return kCanceledText;
    case TcpLink::Failure::Other:
        break;
    }
    return where + " cannot be reached (" + link.ErrorText()
        + "). Check the address and this machine's network.";
}

} // namespace OpenProbe
