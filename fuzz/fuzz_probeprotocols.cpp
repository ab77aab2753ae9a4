// What peers and users send to the probe library: debug stubs, Tcl servers, selectors, and memory
// with any pattern of holes. The first byte chooses what the rest is taken for.

#include "backend.h"
#include "hextext.h"
#include "knownranges.h"
#include "rangescan.h"
#include "rspparser.h"
#include "rsptext.h"
#include "targetchoice.h"
#include "tclprotocol.h"

#include <array>
#include <cstdlib>
#include <functional>
#include <string_view>

using namespace OpenProbe;

namespace {

void Require(bool holds)
{
    if (!holds)
        std::abort();
}

void FuzzStub(std::string_view text)
{
    RspParser parser;
    bool broken = false;
    for (const char byte : text) {
        const RspParser::Event event = parser.Feed(byte);
        Require(!broken || event == RspParser::Event::Broken);
        broken = event == RspParser::Event::Broken;
        if (event != RspParser::Event::Packet && event != RspParser::Event::Notification)
            continue;
        const std::string &payload = parser.Payload();
        Require(payload.size() <= RspParser::kMaxPayload);
        (void)ParseFeatures(payload);
        (void)ParseStop(payload);
        (void)IsConsoleOutput(payload);
        std::array<std::uint8_t, 16> bytes{};
        if (DecodeHex(payload, bytes)) {
            std::string again;
            AppendHex(again, bytes);
            Require(again.size() == payload.size());
        }
    }
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

// Each bit of the input is one byte of memory that answers or not; compared with the plain rule.
void FuzzRange(std::string_view text)
{
    if (text.size() < 2)
        return;
    const auto maxPiece = static_cast<std::uint32_t>(4 + static_cast<unsigned char>(text[0]) % 64);
    text.remove_prefix(1);
    const std::size_t count = std::min<std::size_t>(text.size() * 8, 1024);
    const auto answers = [&](std::size_t at) { return (text[at / 8] >> at % 8 & 1) != 0; };
    std::array<std::uint8_t, 1024> data{};
    constexpr std::uint32_t kStart = 0xFFFFFC00;
    class Reader final : public PieceReader {
    public:
        std::function<PieceResult(std::uint32_t, std::span<std::uint8_t>)> read;
        PieceResult Read(std::uint32_t address, std::span<std::uint8_t> piece) override
        {
            return read(address, piece);
        }
    } reader;
    reader.read = [&](std::uint32_t address, std::span<std::uint8_t> piece) {
        Require(
            !piece.empty() && piece.size() <= maxPiece && address - kStart + piece.size() <= count);
        for (std::size_t i = 0; i < piece.size(); ++i) {
            if (!answers(address - kStart + i))
                return PieceResult::Unreadable;
        }
        return PieceResult::Read;
    };
    const int result = ReadRange(kStart, std::span(data).first(count), maxPiece, reader);
    std::size_t prefix = 0;
    while (prefix < count && answers(prefix))
        ++prefix;
    bool behind = false;
    for (std::size_t i = prefix; i < count; ++i)
        behind = behind || answers(i);
    Require(result == static_cast<int>(prefix) || (result == kTransferFailed && behind));
    Require(count > 4 || (result == kTransferFailed) == behind);
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
    constexpr std::array kTargets
        = {FuzzStub, FuzzPacket, FuzzTcl, FuzzSelector, FuzzRange, FuzzKnownRanges};
    kTargets[data[0] % kTargets.size()](text);
    return 0;
}
