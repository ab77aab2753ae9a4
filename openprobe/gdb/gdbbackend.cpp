#include "gdbbackend.h"

#include "accessunits.h"
#include "cancelsignal.h"
#include "coreid.h"
#include "hextext.h"
#include "openerrors.h"
#include "targetdescription.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace OpenProbe {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kBytesPerLimit = 0x10000; // a transfer's time limit is for this many bytes
constexpr auto kFarewellLimit = 50ms;
constexpr std::size_t kSliceBytes = 0x4000; // after each slice a halted target runs for a moment
constexpr std::size_t kSmallest = TransferTime::kSmallestRequest;

std::string MemoryRequest(char kind, std::uint32_t address, std::size_t count)
{
    return kind + HexNumber(address) + ',' + HexNumber(count);
}

bool IsErrorReply(std::string_view reply)
{
    return reply.starts_with("E.")
        || (reply.size() == 3 && reply[0] == 'E' && HexDigit(reply[1]) >= 0
            && HexDigit(reply[2]) >= 0);
}

} // namespace

/// One transfer's requests, with its access width.
class GdbBackend::Reader final : public PieceReader {
public:
    Reader(GdbBackend &backend, std::uint32_t width)
        : m_backend(backend)
        , m_width(width)
    {
    }

    PieceResult Read(std::uint32_t address, std::span<std::uint8_t> data) override
    {
        m_backend.m_time.Ask(data.size());
        return m_backend.ReadPiece(address, data, m_width);
    }

    PieceResult ReadAny(std::span<const Sample> samples) override
    {
        std::array<std::uint8_t, 4> bytes{};
        std::vector<ReadRequest> requests;
        for (const Sample &sample : samples)
            requests.push_back({sample.address, std::span(bytes).first(sample.bytes)});
        m_backend.m_time.Ask(samples.size() * kSmallest);
        return m_backend.ReadAll(requests, PieceResult::Read);
    }

    /// Whether all of a range can be read.
    [[nodiscard]] bool Answers(std::uint32_t address, std::size_t size)
    {
        std::vector<std::uint8_t> there(PieceBytes());
        for (std::size_t at = 0; at < size; at += there.size()) {
            const auto piece = std::span(there).first(std::min(there.size(), size - at));
            if (Read(static_cast<std::uint32_t>(address + at), piece) != PieceResult::Read)
                return false;
        }
        return true;
    }

    /// The bytes read in one stop, or by one request where each request is sent alone.
    [[nodiscard]] std::uint32_t PieceBytes() const
    {
        if (!m_backend.AsksInOneStop())
            return m_backend.m_stub.maxRead;
        const bool narrow = m_width == 1 || m_width == 2;
        return static_cast<std::uint32_t>(narrow ? kSliceBytes / kSmallest * m_width : kSliceBytes);
    }

private:
    GdbBackend &m_backend;
    std::uint32_t m_width;
};

GdbBackend::GdbBackend(TargetChoice choice)
    : m_choice(std::move(choice))
    , m_time(kBytesPerLimit)
{
}

bool GdbBackend::Lose()
{
    m_lost = true;
    return false;
}

bool GdbBackend::Alive() const noexcept
{
    return !m_lost && !m_link.HungUp();
}

std::string GdbBackend::Open(const CancelSignal &cancel)
{
    m_cancel = &cancel;
    const auto failure
        = m_link.Connect(m_choice.host, m_choice.port, Deadline::ForPeer(kConnectLimit), cancel);
    if (failure != TcpLink::Failure::None)
        return ConnectError(m_choice, failure, m_link,
            "Start the target, e.g. qemu-system-arm ... -gdb tcp::" + std::to_string(m_choice.port)
                + ".");
    return Greet();
}

std::string GdbBackend::OpenOver(int descriptor, const CancelSignal &cancel)
{
    m_cancel = &cancel;
    m_link.Take(descriptor, cancel);
    return Greet();
}

std::string GdbBackend::Greet()
{
    const bool understood = ShakeHands(m_session, m_stub, Deadline::ForPeer(kHandshakeLimit));
    if (understood) {
        RememberTarget(m_choice, m_stub);
        m_time.Begin();
        FindCoreId();
    }
    if (!understood || m_lost) {
        const std::string where = HostAndPort(m_choice);
        if (m_stub.ended)
            return "The target at " + where + " has ended. Start it again.";
        return where
            + " accepted the connection but does not answer as a debug stub"
              " (another debugger may hold it).";
    }
    m_session.BeginTransfers();
    return {};
}

// Of a stub's description of its core only this is used; fetching it also tests the link.
void GdbBackend::FindCoreId()
{
    if (!BeginAccess())
        return;
    const auto reader = [this](const std::string &name) { return ReadDocument(name); };
    std::array<std::uint8_t, 4> bytes{};
    const ReadRequest request{kCpuIdAddress, bytes};
    if (m_stub.describesTarget && ReadTargetDescription(reader).isArmM
        && ReadAll({&request, 1}) == PieceResult::Read)
        m_coreId = MCoreId(bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16
            | std::uint32_t{bytes[3]} << 24);
    EndAccess();
}

// Empty when there is no such document. A document comes in parts: "m" and a part with more to
// follow, or "l" and the last one.
std::string GdbBackend::ReadDocument(const std::string &name)
{
    std::string text;
    bool more = name.find_first_of("$#}*:") == std::string::npos && name.size() < 64;
    while (more && text.size() <= kMaxDescriptionBytes) {
        const std::string request = "qXfer:features:read:" + name + ':' + HexNumber(text.size())
            + ',' + HexNumber(m_stub.maxRead);
        std::string part;
        const auto keep = [&part](std::string_view reply) {
            part = reply;
            return true;
        };
        if (!AskAll({&request, 1}, keep))
            return {};
        more = part.size() > 1 && part[0] == 'm';
        if (!more && !part.starts_with('l'))
            return {};
        text += part.substr(1);
    }
    return text;
}

bool GdbBackend::Connect(const TargetSetup &)
{
    return Alive();
}

// Reads what has arrived since the last request: another debugger may have stopped the target.
bool GdbBackend::NoteUnasked()
{
    if (!m_session.TakeUnasked(m_time.End()))
        return Lose();
    const auto stop = m_session.TakeStop();
    if (!stop)
        return true;
    if (stop->ended)
        return Lose();
    if (m_stub.state == GdbRunState::Running)
        m_stub.state = GdbRunState::Halted;
    return !m_stub.nonStop || CollectStops(m_session, m_time.End()) || Lose();
}

bool GdbBackend::AsksInOneStop() const
{
    return m_stub.inOneStop && m_stub.state == GdbRunState::Running;
}

// Requests can be sent to the target from here until EndAccess.
bool GdbBackend::BeginAccess()
{
    m_sliceBytes = 0;
    if (!NoteUnasked())
        return false;
    const bool ready = m_stub.state != GdbRunState::Running || AsksInOneStop() || HaltTarget();
    RememberTarget(m_choice, m_stub);
    return ready;
}

bool GdbBackend::HaltTarget()
{
    if (!m_session.SendRaw(kInterrupt, m_time.End()))
        return Lose();
    m_stub.state = GdbRunState::HaltedByUs; // from now on it may have stopped
    std::string packet;
    const bool answered = m_session.Await(packet, m_time.End());
    const auto stop = answered ? ParseStop(packet) : std::nullopt;
    if (!stop || stop->ended)
        return Lose();
    if (m_stub.interruptSignal < 0)
        m_stub.interruptSignal = stop->signal;
    if (stop->signal != m_stub.interruptSignal)
        m_stub.state = GdbRunState::Halted; // a breakpoint came before our interrupt
    return true;
}

// Only after the fence is it certain that the replies belong to the requests; so the link may turn
// out to be lost here.
void GdbBackend::EndAccess()
{
    if (m_lost || AsksInOneStop())
        return;
    if (!m_session.Fence(m_time.End()))
        Lose();
    else if (m_stub.state == GdbRunState::HaltedByUs) {
        if (m_session.Tell("c", m_time.End()))
            m_stub.state = GdbRunState::Running;
        else
            Lose();
    }
}

// Lets the target run between the slices of a long transfer.
bool GdbBackend::LetItRunForAMoment()
{
    if (m_sliceBytes < kSliceBytes || (m_stub.state != GdbRunState::HaltedByUs && !AsksInOneStop()))
        return !m_lost;
    EndAccess();
    if (m_cancel->WaitFor(1))
        Lose();
    return !m_lost && BeginAccess();
}

// Sends a request to a target that is halted, or that answers while it runs.
bool GdbBackend::Ask(std::string_view request, std::string &reply)
{
    const bool halted = m_stub.state == GdbRunState::Halted;
    if (!m_session.Ask(request, reply, m_time.End(), halted))
        return Lose();
    return !halted || !reply.empty() || AskOnceMore(request, reply);
}

// A stop instead of the reply means that another debugger had let the target run: the first byte of
// the request stopped it and was lost. If it was not lost, the reply comes before the answer to the
// fence; otherwise the request is sent again.
bool GdbBackend::AskOnceMore(std::string_view request, std::string &reply)
{
    const auto stop = m_session.TakeStop();
    if (!stop)
        return true; // the reply is really empty
    if (stop->ended)
        return Lose();
    m_stub.state = GdbRunState::HaltedByUs;
    if (!m_session.Tell(RspSession::kFence, m_time.End()) || !m_session.Await(reply, m_time.End()))
        return Lose();
    if (reply.empty())
        return m_session.Ask(request, reply, m_time.End()) || Lose();
    std::string answerToFence;
    return (m_session.Await(answerToFence, m_time.End()) && answerToFence.empty()) || Lose();
}

// Sends one request after the other and passes each reply on, until the receiver wants no more. In
// one stop all of them are sent, whatever the replies. For no request no target is stopped.
template <typename IsLast>
bool GdbBackend::AskAll(std::span<const std::string> requests, IsLast isLast)
{
    if (requests.empty())
        return !m_lost;
    if (!LetItRunForAMoment() || (AsksInOneStop() && !NoteUnasked()))
        return false;
    std::vector<std::string> replies(requests.size());
    const bool inOneStop = AsksInOneStop();
    if (inOneStop && !m_session.AskInOneStop(requests, replies, m_time.End()))
        return Lose();
    for (std::size_t i = 0; i < requests.size(); ++i) {
        if (!inOneStop && (!LetItRunForAMoment() || !Ask(requests[i], replies[i])))
            return false;
        m_sliceBytes += std::max({replies[i].size() / 2, requests[i].size() / 2, kSmallest});
        if (isLast(replies[i]))
            break;
    }
    return !m_lost;
}

// A reply that is neither the bytes requested nor an error belongs to another request: the link is
// out of step.
PieceResult GdbBackend::TakeReadReply(const ReadRequest &request, std::string_view reply)
{
    if (DecodeHex(reply, request.data)) {
        m_known.Add(
            request.address, static_cast<std::uint32_t>(request.address + request.data.size() - 1));
        return PieceResult::Read;
    }
    if (IsErrorReply(reply))
        return PieceResult::Unreadable;
    Lose();
    return PieceResult::LinkLost;
}

// Reads until a result equals the given one. Returns the last result.
PieceResult GdbBackend::ReadAll(std::span<const ReadRequest> requests, PieceResult endsAt)
{
    std::vector<std::string> texts;
    for (const ReadRequest &request : requests)
        texts.push_back(MemoryRequest('m', request.address, request.data.size()));
    PieceResult result = PieceResult::Unreadable;
    std::size_t next = 0;
    const auto take = [&](std::string_view reply) {
        result = TakeReadReply(requests[next++], reply);
        return result == endsAt || result == PieceResult::LinkLost;
    };
    return AskAll(texts, take) ? result : PieceResult::LinkLost;
}

PieceResult GdbBackend::ReadPiece(
    std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width)
{
    std::vector<ReadRequest> requests;
    while (!data.empty()) {
        const std::uint32_t count = NextRequestBytes(address, data.size(), width, m_stub.maxRead);
        requests.push_back({address, data.first(count)});
        data = data.subspan(count);
        address += count;
    }
    return ReadAll(requests);
}

int GdbBackend::Read(std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width)
{
    m_time.Begin();
    if (!BeginAccess())
        return kTransferFailed;
    Reader reader(*this, width);
    const int result = ReadRange(address, data, reader.PieceBytes(), reader);
    EndAccess();
    return m_lost ? kTransferFailed : result;
}

bool GdbBackend::WritePieces(
    std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width)
{
    bool written = true;
    const auto take = [&](std::string_view reply) {
        written = reply == "OK";
        if (!written && !IsErrorReply(reply))
            Lose();
        return !written;
    };
    while (!data.empty() && written) {
        std::vector<std::string> requests;
        for (std::size_t bytes = 0; !data.empty() && bytes < kSliceBytes;) {
            const std::uint32_t count
                = NextRequestBytes(address, data.size(), width, m_stub.maxWrite);
            requests.push_back(MemoryRequest('M', address, count) + ':');
            AppendHex(requests.back(), data.first(count));
            bytes += std::max<std::size_t>(count, kSmallest);
            data = data.subspan(count);
            address += count;
        }
        m_time.Ask(kSliceBytes);
        if (!AskAll(requests, take))
            return false;
    }
    return written;
}

int GdbBackend::Write(
    std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width)
{
    if (data.empty())
        return 0;
    m_time.Begin();
    if (!BeginAccess())
        return kTransferFailed;
    // An emulator confirms writes to addresses that do not exist.
    bool written = m_known.Contain(address, static_cast<std::uint32_t>(address + data.size() - 1));
    written = written || Reader(*this, width).Answers(address, data.size());
    written = written && WritePieces(address, data, width);
    EndAccess();
    return written && !m_lost ? static_cast<int>(data.size()) : kTransferFailed;
}

// A running target is left alone. One that we have halted is told to run on without waiting for the
// replies still due: the stub takes the bytes in order, even one that is frozen now and goes on
// later.
void GdbBackend::Close() noexcept
{
    if (!m_link.IsOpen())
        return;
    const bool frozen = m_lost && !m_cancel->IsRaised();
    m_link.IgnoreCancel();
    try {
        if (!m_stub.decided)
            FinishAbandonedHandshake(
                m_session, m_choice, m_stub, Deadline::After(kFarewellLimit), m_cancel->IsRaised());
    } catch (...) {
        m_lost = true; // no memory left for a packet: nothing more can be found out
    }
    std::string_view farewell = m_session.Unsent(); // ends with "continue"
    if (farewell.empty() && m_stub.state == GdbRunState::HaltedByUs)
        farewell = kContinuePacket;
    if (!farewell.empty()) {
        const Deadline deadline = Deadline::After(kFarewellLimit);
        if (m_link.Send(farewell, deadline).empty() && !frozen)
            m_link.AwaitFarewell(deadline);
    }
    m_link.Close();
}

} // namespace OpenProbe
