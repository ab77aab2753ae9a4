#include "targetchoice.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace OpenProbe {
namespace {

constexpr std::uint16_t kGdbPort = 1234;
constexpr std::uint16_t kTclPort = 6666;
constexpr std::size_t kMaxHostChars = 253; // the longest name that a resolver takes

struct HostPort {
    std::string host;
    std::uint16_t port = 0; // 0: none given
};

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

char LowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b)
{
    return std::ranges::equal(a, b, {}, LowerCase, LowerCase);
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool AllDigits(std::string_view text)
{
    return !text.empty() && std::ranges::all_of(text, IsDigit);
}

std::optional<std::uint32_t> Number(std::string_view text, std::uint32_t max)
{
    std::uint32_t value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (!AllDigits(text) || failure != std::errc{} || value > max)
        return std::nullopt;
    return value;
}

bool IsHostChar(char c)
{
    const char lower = LowerCase(c);
    return (lower >= 'a' && lower <= 'z') || IsDigit(c) || c == '.' || c == '-' || c == '_';
}

bool IsAddressChar(char c)
{
    return IsHostChar(c) || c == ':' || c == '%';
}

std::optional<HostPort> SplitHostPort(std::string_view text)
{
    HostPort result;
    std::string_view host = text.substr(0, text.find(':'));
    std::string_view rest = text.substr(host.size());
    const bool bracketed = text.starts_with('[');
    if (bracketed) {
        const std::size_t close = text.find(']');
        if (close == std::string_view::npos)
            return std::nullopt;
        host = text.substr(1, close - 1);
        rest = text.substr(close + 1);
    }
    if (host.empty() || host.size() > kMaxHostChars
        || !std::ranges::all_of(host, bracketed ? IsAddressChar : IsHostChar))
        return std::nullopt;
    result.host = host;
    if (rest.empty())
        return result;
    const auto port = rest.starts_with(':') ? Number(rest.substr(1), 65535) : std::nullopt;
    if (!port || *port == 0)
        return std::nullopt;
    result.port = static_cast<std::uint16_t>(*port);
    return result;
}

TargetChoice Refused(std::string_view text)
{
    TargetChoice result;
    result.error
        = '"' + std::string(text) + "\" is not a selector: use HOST[:PORT], gdb:, tcl:, pid:, sim.";
    return result;
}

TargetChoice SerialNumber(std::string_view digits)
{
    TargetChoice result;
    if (Number(digits, UINT32_MAX) != kSimSerialNumber)
        result.error = "No probe has the serial number " + std::string(digits)
            + ". The simulated one has " + std::to_string(kSimSerialNumber) + ".";
    return result;
}

std::optional<TargetChoice> SimNumber(std::string_view digits)
{
    const auto index = Number(digits, 3);
    if (!index)
        return std::nullopt;
    TargetChoice result;
    result.simIndex = static_cast<int>(*index);
    return result;
}

std::optional<TargetChoice> Remote(
    std::string_view text, std::optional<TargetKind> wanted, int defaultPort)
{
    const auto split = text.empty() ? HostPort{"localhost", 0} : SplitHostPort(text);
    if (!split)
        return std::nullopt;
    TargetChoice result;
    result.host = split->host;
    result.port = split->port;
    if (result.port == 0 && defaultPort > 0 && defaultPort <= 65535)
        result.port = static_cast<std::uint16_t>(defaultPort);
    result.kind = wanted.value_or(result.port == kTclPort ? TargetKind::Tcl : TargetKind::Gdb);
    if (result.port == 0)
        result.port = result.kind == TargetKind::Tcl ? kTclPort : kGdbPort;
    return result;
}

std::optional<TargetChoice> Process(std::string_view text)
{
    if (text.empty())
        return std::nullopt;
    TargetChoice result;
    result.kind = TargetKind::Pid;
    result.process = text;
    return result;
}

} // namespace

TargetChoice ParseSelector(std::string_view text, int defaultPort)
{
    const std::string_view trimmed = Trimmed(text);
    if (AllDigits(trimmed))
        return SerialNumber(trimmed);
    if (EqualsIgnoringCase(trimmed, "sim"))
        return {};
    const std::size_t colon = trimmed.find(':');
    const std::string_view scheme = trimmed.substr(0, colon);
    const std::string_view rest
        = colon == std::string_view::npos ? std::string_view{} : Trimmed(trimmed.substr(colon + 1));
    std::optional<TargetChoice> result;
    if (colon == std::string_view::npos)
        result = Remote(trimmed, std::nullopt, defaultPort);
    else if (EqualsIgnoringCase(scheme, "sim"))
        result = SimNumber(rest);
    else if (EqualsIgnoringCase(scheme, "gdb"))
        result = Remote(rest, TargetKind::Gdb, defaultPort);
    else if (EqualsIgnoringCase(scheme, "tcl"))
        result = Remote(rest, TargetKind::Tcl, defaultPort);
    else if (EqualsIgnoringCase(scheme, "pid"))
        result = Process(rest);
    else
        result = Remote(trimmed, std::nullopt, defaultPort);
    return result ? *result : Refused(trimmed);
}

} // namespace OpenProbe
