#include "tclbackend.h"

#include "coreid.h"
#include "openerrors.h"
#include "tclprotocol.h"

#include <algorithm>
#include <array>
#include <vector>

namespace OpenProbe {
namespace {

constexpr std::size_t kBytesPerLimit = 0x4000;   // a slow adapter needs long
constexpr std::uint32_t kMaxRequestBytes = 4096; // one answer stays far below the progress limit
constexpr std::size_t kMaxReply = 0x10000;       // eleven characters for each word, and room

struct Items {
    std::uint32_t width;
    std::uint32_t count;
    [[nodiscard]] std::uint32_t Bytes() const { return width * count; }
};

// The items of the next command: of the wanted width (words when any will do), narrower ones at an
// unaligned start and for a short rest.
Items NextItems(std::uint32_t address, std::size_t remaining, std::uint32_t wanted)
{
    const auto most
        = static_cast<std::uint32_t>(std::min<std::size_t>(remaining, kMaxRequestBytes));
    const std::uint32_t widest = wanted == 0 ? 4 : wanted;
    std::uint32_t width = widest;
    while (address % width != 0 || width > most)
        width /= 2;
    return {width, width == widest ? most / width : 1};
}

} // namespace

/// One transfer's requests, with its access width.
class TclBackend::Reader final : public PieceReader {
public:
    Reader(TclBackend &backend, std::uint32_t width)
        : m_backend(backend)
        , m_width(width)
    {
    }

    PieceResult Read(std::uint32_t address, std::span<std::uint8_t> data) override
    {
        return m_backend.ReadPiece(address, data, m_width);
    }

private:
    TclBackend &m_backend;
    std::uint32_t m_width;
};

TclBackend::TclBackend(TargetChoice choice)
    : m_choice(std::move(choice))
    , m_time(kBytesPerLimit)
{
}

std::string TclBackend::Open(const CancelSignal &cancel)
{
    const auto failure
        = m_link.Connect(m_choice.host, m_choice.port, Deadline::ForPeer(kConnectLimit), cancel);
    if (failure != TcpLink::Failure::None)
        return ConnectError(m_choice, failure, m_link,
            "Start OpenOCD for your board, e.g. openocd -f board.cfg; its Tcl server is at port "
            "6666.");
    return Greet();
}

std::string TclBackend::OpenOver(int descriptor, const CancelSignal &cancel)
{
    m_link.Take(descriptor, cancel);
    return Greet();
}

std::string TclBackend::Greet()
{
    const std::string where = HostAndPort(m_choice);
    m_time.Begin();
    std::string reply;
    if (!Ask("version", reply) || !reply.starts_with("Open On-Chip Debugger"))
        return where
            + " accepted the connection but does not answer as OpenOCD's Tcl server. For a debug "
              "stub use gdb:HOST:PORT.";
    std::string names;
    const bool hasTarget = Ask("target names", names) && !names.empty();
    m_isArmM = hasTarget && Ask("[target current] cget -type", reply)
        && (reply == "cortex_m" || reply == "hla_target");
    const bool answers = hasTarget && !m_lost && TargetAnswers();
    m_bigEndian = answers && Ask("[target current] cget -endian", reply) && reply == "big";
    m_progressLimit = kProgressLimit;
    if (answers)
        FindCoreId();
    if (m_lost)
        return where + " gave up while its target was asked. See OpenOCD's messages there.";
    if (!hasTarget)
        return "OpenOCD at " + where + " has no target. Start it with your chip's file, e.g. -f "
            + "target/stm32f4x.cfg.";
    return answers ? std::string()
                   : "OpenOCD at " + where + " does not reach its target (" + names
            + "). Is the board powered and connected?";
}

void TclBackend::FindCoreId()
{
    std::array<std::uint8_t, 4> id{};
    if (!m_isArmM || ReadPiece(kCpuIdAddress, id, 4) != PieceResult::Read)
        return;
    std::uint32_t word = 0;
    for (std::uint32_t i = 0; i < id.size(); ++i)
        word |= std::uint32_t{id[i]} << 8 * (m_bigEndian ? 3 - i : i);
    m_coreId = MCoreId(word);
}

// False when the link is lost or the command failed; the reply then holds the words of the failure.
// A reply that does not belong to this request ends the link: the following ones could be wrong
// too.
bool TclBackend::Ask(std::string_view command, std::string &reply)
{
    std::array<char, 1> early{};
    reply.clear();
    const std::string request = TclRequest(++m_number, command);
    const Deadline soon = m_time.End().OrEarlier(Deadline::ForPeer(m_progressLimit));
    std::optional<TclReply> answer;
    if (!m_lost && m_link.TakeWaiting(early) == 0 && m_link.Send(request, soon).empty()
        && Receive(reply))
        answer = ParseTclReply(reply, m_number);
    if (!answer) {
        m_lost = true;
        return false;
    }
    const bool failed = answer->failed;
    reply = std::string(answer->text);
    return !failed;
}

// Takes exactly one reply, up to its end mark.
bool TclBackend::Receive(std::string &reply)
{
    std::array<char, 4096> block{};
    while (reply.size() < kMaxReply && !m_time.End().Passed()) {
        const Deadline soon = m_time.End().OrEarlier(Deadline::ForPeer(m_progressLimit));
        const std::size_t got = m_link.Receive(block, soon);
        const std::string_view bytes(block.data(), got);
        const std::size_t end = bytes.find(kTclEnd);
        reply += bytes.substr(0, end);
        if (got == 0 || end != std::string_view::npos)
            return got != 0 && end + 1 == got;
    }
    return false;
}

// A core without power fails every read, as a hole does; the state that OpenOCD reports tells the
// two apart. Just after its start it reports none yet; then a core of a known kind is read instead.
bool TclBackend::TargetAnswers()
{
    static constexpr std::array<std::string_view, 4> kAnswering
        = {"running", "halted", "reset", "debug-running"};
    std::string state;
    if (!Ask("[target current] curstate", state))
        return false;
    std::array<std::uint8_t, 4> id{};
    return std::ranges::find(kAnswering, state) != kAnswering.end()
        || (m_isArmM && ReadPiece(kCpuIdAddress, id, 4) == PieceResult::Read);
}

PieceResult TclBackend::ReadPiece(
    std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width)
{
    const std::uint32_t first = address;
    const std::size_t all = data.size();
    std::string reply;
    while (!data.empty()) {
        const Items items = NextItems(address, data.size(), width);
        m_time.Ask(items.Bytes());
        const bool answered = Ask(TclReadCommand(address, items.width, items.count), reply);
        if (m_lost)
            return PieceResult::LinkLost;
        if (!answered
            || !ParseTclNumbers(reply, items.width, data.first(items.Bytes()), m_bigEndian))
            return PieceResult::Unreadable;
        data = data.subspan(items.Bytes());
        address += items.Bytes();
    }
    m_known.Add(first, static_cast<std::uint32_t>(first + all - 1));
    return PieceResult::Read;
}

int TclBackend::Read(std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width)
{
    m_time.Begin();
    Reader reader(*this, width);
    const int result = ReadRange(address, data, kMaxRequestBytes, reader);
    if (result == 0 && !data.empty() && !TargetAnswers())
        m_lost = true;
    return m_lost ? kTransferFailed : result;
}

bool TclBackend::WritePieces(
    std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width)
{
    std::string reply;
    while (!data.empty()) {
        const Items items = NextItems(address, data.size(), width);
        m_time.Ask(items.Bytes());
        if (!Ask(TclWriteCommand(address, items.width, data.first(items.Bytes()), m_bigEndian),
                reply)
            || !reply.empty())
            return false;
        data = data.subspan(items.Bytes());
        address += items.Bytes();
    }
    return true;
}

int TclBackend::Write(
    std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width)
{
    if (data.empty())
        return 0;
    m_time.Begin();
    // One access fails wholly; a longer range is tried by a read, so that no part of it is written
    // when its end does not exist. Where it was read before, that is known.
    const auto last = static_cast<std::uint32_t>(address + data.size() - 1);
    if (data.size() > 4 && !m_known.Contain(address, last)) {
        std::vector<std::uint8_t> there(data.size());
        if (ReadPiece(address, there, width) != PieceResult::Read)
            return kTransferFailed;
    }
    return WritePieces(address, data, width) ? static_cast<int>(data.size()) : kTransferFailed;
}

// The adapter's speed is set by OpenOCD's configuration, which fits the board; here it is only
// read.
std::uint32_t TclBackend::SetSpeed(std::uint32_t)
{
    m_time.Begin();
    std::string reply;
    return Ask("adapter speed", reply) ? FirstNumber(reply).value_or(0) : 0;
}

} // namespace OpenProbe
