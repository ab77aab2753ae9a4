#include "targetlist.h"

#include "openerrors.h"
#include "targetchoice.h"

#include <array>
#include <cstdio>

namespace OpenProbe {
namespace {

struct SelectorForm {
    const char *form;
    const char *example;
};

constexpr std::array kForms = {
    SelectorForm{"HOST[:PORT]", "localhost"},
    SelectorForm{"gdb:HOST[:PORT]", "gdb:192.168.2.3:3333"},
    SelectorForm{"tcl:HOST[:PORT]", "tcl:[::1]"},
    SelectorForm{"pid:NUMBER", "pid:4711"},
    SelectorForm{"pid:NAME", "pid:blinky"},
    SelectorForm{"sim", "sim"},
    SelectorForm{"sim:1", "sim:1"},
    SelectorForm{"sim:2", "sim:2"},
    SelectorForm{"sim:3", "sim:3"},
    SelectorForm{"SERIAL-NUMBER", "28100001"},
};

/// What the parser makes of an example, so that the list cannot promise anything else.
std::string Reached(const TargetChoice &choice)
{
    constexpr std::array kVariants = {"", ", big-endian", ", slow", ", unplugs itself after 15 s"};
    if (!choice.error.empty())
        return choice.error;
    switch (choice.kind) {
    case TargetKind::Gdb:
        return "GDB remote protocol at " + HostAndPort(choice);
    case TargetKind::Tcl:
        return "OpenOCD's Tcl server at " + HostAndPort(choice);
    case TargetKind::Pid:
        return "memory of the process " + choice.process;
    case TargetKind::Sim:
        break;
    }
    return std::string("simulated target") + kVariants[static_cast<std::size_t>(choice.simIndex)];
}

std::string Line(const char *form, const char *example, const std::string &reached)
{
    std::array<char, 200> line{};
    std::snprintf(line.data(), line.size(), "%-18s%-23s%s\n", form, example, reached.c_str());
    return line.data();
}

} // namespace

std::string TargetList()
{
    std::string list = Line("SELECTOR", "EXAMPLE", "REACHES");
    for (const SelectorForm &row : kForms)
        list += Line(row.form, row.example, Reached(ParseSelector(row.example, 0)));
    return list;
}

} // namespace OpenProbe
