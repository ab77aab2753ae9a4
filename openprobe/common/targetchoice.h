#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace OpenProbe {

/// The only serial number that the simulated probe answers to.
inline constexpr std::uint32_t kSimSerialNumber = 28100001;

enum class TargetKind { Sim, Gdb, Tcl, Pid };

/// Which target the next Open is to reach.
struct TargetChoice {
    TargetKind kind = TargetKind::Sim;
    int simIndex = 0; // Sim: 0 healthy, 1 big-endian data, 2 slow, 3 unplugs itself
    std::string host; // Gdb, Tcl: name or address, without brackets
    std::uint16_t port = 0;
    std::string process; // Pid: a number or a process name
    std::string error;   // not empty: the text that Open returns instead of opening anything
};

/// Reads a selector as typed into the host field. Never fails: for any other text the choice has an
/// error that says so.
///   blank, localhost        gdb localhost:1234
///   HOST, HOST:PORT         gdb, except port 6666: tcl
///   gdb:HOST[:PORT]         GDB remote protocol, port 1234 unless given
///   tcl:HOST[:PORT]         OpenOCD's TCL server, port 6666 unless given
///   pid:N, pid:NAME         a running process of this machine
///   sim, sim:0 .. sim:3     the simulated target
///   digits alone            the serial number of a simulated probe
/// An IPv6 address stands in brackets.
/// @param defaultPort  port of a HOST without one; 0: the back end's usual port
[[nodiscard]] TargetChoice ParseSelector(std::string_view text, int defaultPort);

} // namespace OpenProbe
