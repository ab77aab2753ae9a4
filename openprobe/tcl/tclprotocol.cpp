#include "tclprotocol.h"

#include "hextext.h"

#include <charconv>

namespace OpenProbe {
namespace {

std::uint32_t ShiftOf(std::uint32_t byte, std::uint32_t width, bool bigEndian)
{
    return 8 * (bigEndian ? width - 1 - byte : byte);
}

std::string Head(const char *command, std::uint32_t address, std::uint32_t width)
{
    return std::string(command) + " 0x" + HexNumber(address) + ' ' + std::to_string(8 * width)
        + ' ';
}

// Removes the next word from the text and returns it; empty at its end.
std::string_view TakeWord(std::string_view &text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
    text.remove_prefix(first);
    const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
    text.remove_prefix(word.size());
    return word;
}

std::optional<std::uint32_t> HexWord(std::string_view word)
{
    return word.starts_with("0x") ? ParseHexNumber(word.substr(2)) : std::nullopt;
}

} // namespace

// In a procedure without a name, so that nothing remains defined in the server.
std::string TclRequest(std::uint32_t number, std::string_view command)
{
    return "apply {{} {return \"" + std::to_string(number) + " [catch {" + std::string(command)
        + "} result] $result\"}}" + kTclEnd;
}

std::optional<TclReply> ParseTclReply(std::string_view reply, std::uint32_t number)
{
    const std::string head = std::to_string(number) + ' ';
    if (!reply.starts_with(head))
        return std::nullopt;
    reply.remove_prefix(head.size());
    const std::size_t end = reply.find(' ');
    if (end == std::string_view::npos)
        return std::nullopt;
    return TclReply{reply.substr(0, end) != "0", reply.substr(end + 1)};
}

std::string TclReadCommand(std::uint32_t address, std::uint32_t width, std::size_t count)
{
    return Head("read_memory", address, width) + std::to_string(count);
}

std::string TclWriteCommand(
    std::uint32_t address, std::uint32_t width, std::span<const std::uint8_t> data, bool bigEndian)
{
    std::string command = Head("write_memory", address, width) + '{';
    for (std::size_t at = 0; at < data.size(); at += width) {
        std::uint32_t value = 0;
        for (std::uint32_t i = 0; i < width; ++i)
            value |= std::uint32_t{data[at + i]} << ShiftOf(i, width, bigEndian);
        command += (at == 0 ? "0x" : " 0x") + HexNumber(value);
    }
    return command + '}';
}

bool ParseTclNumbers(
    std::string_view reply, std::uint32_t width, std::span<std::uint8_t> data, bool bigEndian)
{
    for (std::size_t at = 0; at < data.size(); at += width) {
        const auto value = HexWord(TakeWord(reply));
        if (!value || (width < 4 && *value >> 8 * width != 0))
            return false;
        for (std::uint32_t i = 0; i < width; ++i)
            data[at + i] = static_cast<std::uint8_t>(*value >> ShiftOf(i, width, bigEndian));
    }
    return TakeWord(reply).empty();
}

std::optional<std::uint32_t> FirstNumber(std::string_view text)
{
    const std::size_t first = text.find_first_of("0123456789");
    if (first == std::string_view::npos)
        return std::nullopt;
    std::uint32_t value = 0;
    const auto [stop, failure]
        = std::from_chars(text.data() + first, text.data() + text.size(), value);
    return failure == std::errc{} ? std::optional(value) : std::nullopt;
}

} // namespace OpenProbe
