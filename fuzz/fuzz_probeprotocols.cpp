// What peers and users send to the probe library, piece by piece: debug stubs, Tcl servers,
// selectors. The first byte chooses what the rest is taken for.

#include "hextext.h"
#include "knownranges.h"
#include "rspparser.h"
#include "rsptext.h"
#include "targetchoice.h"
#include "tclprotocol.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <vector>

using namespace OpenProbe;

namespace {

void Require(bool holds)
{
    if (!holds)
        std::abort();
}

void CheckPayload(const std::string &payload)
{
    Require(payload.size() <= RspParser::kMaxPayload);
    const RspFeatures features = ParseFeatures(payload);
    Require(features.packetSize == 0 || payload.find("PacketSize=") != std::string::npos);
    (void)ParseStop(payload);
    (void)IsConsoleOutput(payload);
    std::vector<std::uint8_t> bytes(payload.size() / 2);
    if (DecodeHex(payload, bytes)) {
        std::string again;
        AppendHex(again, bytes);
        std::string lower = payload;
        std::ranges::transform(lower, lower.begin(),
            [](char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c; });
        Require(again == lower);
    }
}

void FuzzStream(std::string_view text)
{
    RspParser parser;
    bool broken = false;
    for (const char byte : text) {
        const RspParser::Event event = parser.Feed(byte);
        Require(!broken || event == RspParser::Event::Broken);
        broken = event == RspParser::Event::Broken;
        if (event == RspParser::Event::Packet || event == RspParser::Event::Notification)
            CheckPayload(parser.Payload());
    }
}

void FuzzStub(std::string_view text)
{
    FuzzStream(text);
    FuzzStream(RspPacket(text)); // with the right checksum nearly every text is a packet
    CheckPayload("PacketSize=" + std::string(text));
}

// What is sent comes out of a parser as it went in, behind whatever noise.
void FuzzPacket(std::string_view text)
{
    std::string payload;
    for (const char c : text) {
        if (std::string_view("$#}*").find(c) == std::string_view::npos)
            payload += c;
    }
    RspParser parser;
    RspParser::Event last = RspParser::Event::None;
    for (const char byte : RspPacket(payload))
        last = parser.Feed(byte);
    if (payload.size() <= RspParser::kMaxPayload)
        Require(last == RspParser::Event::Packet && parser.Payload() == payload);
}

void FuzzTcl(std::string_view text)
{
    for (const std::uint32_t width : {1U, 2U, 4U}) {
        std::array<std::uint8_t, 8> bytes{};
        for (const bool big : {false, true}) {
            if (!ParseTclNumbers(text, width, bytes, big))
                continue;
            // The values written back are the values read.
            const std::string command = TclWriteCommand(0, width, bytes, big);
            const std::size_t open = command.find('{') + 1;
            std::array<std::uint8_t, 8> again{};
            Require(
                ParseTclNumbers(std::string_view(command).substr(open, command.size() - open - 1),
                    width, again, big));
            Require(again == bytes);
        }
    }
    (void)FirstNumber(text);
}

void FuzzSelector(std::string_view text)
{
    const TargetChoice choice = ParseSelector(text, 0);
    if (!choice.error.empty())
        return;
    Require(choice.simIndex >= 0 && choice.simIndex <= 3);
    if (choice.kind == TargetKind::Gdb || choice.kind == TargetKind::Tcl)
        Require(choice.port != 0 && !choice.host.empty() && choice.host.size() <= 253);
}

void FuzzKnownRanges(std::string_view text)
{
    KnownRanges known;
    std::array<bool, 256> read{};
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        const auto first = static_cast<unsigned char>(text[i]);
        const unsigned last = std::min(255U, first + static_cast<unsigned char>(text[i + 1]) % 32U);
        known.Add(first, last);
        for (unsigned at = first; at <= last; ++at)
            read[at] = true;
        Require(known.Contain(first, last));
        for (unsigned at = 0; at < 256; ++at)
            Require(!known.Contain(at, at) || read[at]);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string_view text(reinterpret_cast<const char *>(data) + 1, size - 1);
    constexpr std::array kTargets = {FuzzStub, FuzzPacket, FuzzTcl, FuzzSelector, FuzzKnownRanges};
    kTargets[data[0] % kTargets.size()](text);
    return 0;
}
