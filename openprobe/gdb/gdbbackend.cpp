#include "gdbbackend.h"

#include "accessunits.h"
#include "cancelsignal.h"
#include "hextext.h"
#include "openerrors.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace OpenProbe {
namespace {

using namespace std::chrono_literals;

constexpr auto kConnectLimit = 2000ms;
constexpr auto kHandshakeLimit = 1500ms;
constexpr auto kTransferLimit = 1500ms; // for each kTransferBytes
constexpr std::size_t kTransferBytes = 0x10000;
constexpr auto kFarewellLimit = 50ms;
constexpr std::size_t kSliceBytes = 0x4000;  // then a halted target runs for a moment
constexpr std::size_t kBytesPerRequest = 32; // what a small request counts for a slice
constexpr const char *kInterrupt = "\x03";
constexpr const char *kContinuePacket = "$c#63";

std::string MemoryRequest(char kind, std::uint32_t address, std::size_t count)
{
    return kind + HexNumber(address) + ',' + HexNumber(count);
}

} // namespace

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
    m_deadline = Deadline::ForPeer(kHandshakeLimit);
    const bool understood = ShakeHands(m_session, m_stub, m_deadline);
    if (understood) {
        RememberTarget(m_choice, m_stub);
        FindCoreId();
        EndAccess();
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

// The core's identification word, where there is one at the place that all M cores have it.
void GdbBackend::FindCoreId()
{
    constexpr std::uint32_t kCpuIdAddress = 0xE000ED00;
    std::array<std::uint8_t, 4> bytes{};
    if (!BeginAccess() || ReadRequest(kCpuIdAddress, bytes) != PieceResult::Read)
        return;
    const std::uint32_t word = bytes[0] | std::uint32_t{bytes[1]} << 8
        | std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 24;
    if ((word & 0xFF0C0000) == 0x410C0000)
        m_coreId = word;
}

bool GdbBackend::Connect(const TargetSetup &)
{
    return Alive();
}

void GdbBackend::NoteUnaskedStop()
{
    const auto stop = m_session.TakeStop();
    if (!stop)
        return;
    if (stop->ended)
        Lose();
    else if (m_stub.state == GdbRunState::Running)
        m_stub.state = GdbRunState::Halted;
    else if (m_stub.nonStop && !CollectStops(m_session, m_deadline))
        Lose();
}

bool GdbBackend::BeginAccess()
{
    m_sliceBytes = 0;
    if (!m_session.LookAtWaiting())
        return Lose();
    NoteUnaskedStop();
    if (m_lost)
        return false;
    const bool ready = m_stub.state != GdbRunState::Running || HaltTarget();
    RememberTarget(m_choice, m_stub);
    return ready;
}

bool GdbBackend::HaltTarget()
{
    if (!m_session.SendRaw(kInterrupt, m_deadline))
        return Lose();
    m_stub.state = GdbRunState::HaltedByUs; // from now on it may have stopped
    std::string packet;
    std::optional<RspStop> stop;
    while (!stop) {
        if (!m_session.Await(packet, m_deadline))
            return Lose();
        stop = ParseStop(packet);
    }
    if (stop->ended)
        return Lose();
    if (m_stub.interruptSignal < 0)
        m_stub.interruptSignal = stop->signal;
    if (stop->signal != m_stub.interruptSignal)
        m_stub.state = GdbRunState::Halted; // a breakpoint was faster
    return true;
}

void GdbBackend::EndAccess()
{
    if (m_stub.state != GdbRunState::HaltedByUs || m_lost)
        return;
    if (m_session.Tell("c", Deadline::ForPeer(RspSession::kProgressLimit)))
        m_stub.state = GdbRunState::Running;
    else
        Lose();
}

// A long transfer is no reason to keep the target from its work all the time.
void GdbBackend::LetItRunForAMoment()
{
    if (m_stub.state != GdbRunState::HaltedByUs)
        return;
    EndAccess();
    if (m_cancel->WaitFor(1))
        Lose();
    else if (!m_lost)
        (void)BeginAccess();
}

// A stop instead of the reply means that somebody else had let the target run: the first byte of
// the request stopped it and was swallowed. If it was not, the reply comes before the answer to a
// "?", which looks like no reply; else the request is repeated.
bool GdbBackend::Ask(std::string_view request, std::string &reply)
{
    if (!m_session.Ask(request, reply, m_deadline, m_stub.state == GdbRunState::Halted))
        return Lose();
    if (m_stub.state != GdbRunState::Halted || !reply.empty())
        return true;
    const auto stop = m_session.TakeStop();
    if (!stop)
        return true; // an empty reply: not supported
    if (stop->ended)
        return Lose();
    m_stub.state = GdbRunState::HaltedByUs;
    if (!m_session.Ask("?", reply, m_deadline))
        return Lose();
    if (ParseStop(reply))
        return m_session.Ask(request, reply, m_deadline) || Lose();
    std::string answerToStop;
    return m_session.Await(answerToStop, m_deadline) || Lose();
}

PieceResult GdbBackend::ReadRequest(std::uint32_t address, std::span<std::uint8_t> data)
{
    std::string reply;
    if (!Ask(MemoryRequest('m', address, data.size()), reply))
        return PieceResult::LinkLost;
    m_sliceBytes += std::max(data.size(), kBytesPerRequest);
    if (!DecodeHex(reply, data))
        return PieceResult::Unreadable;
    m_known.Add(address, static_cast<std::uint32_t>(address + data.size() - 1));
    return PieceResult::Read;
}

PieceResult GdbBackend::ReadPiece(
    std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width)
{
    while (!data.empty()) {
        if (m_sliceBytes >= kSliceBytes)
            LetItRunForAMoment();
        if (m_lost)
            return PieceResult::LinkLost;
        const std::uint32_t count = NextRequestBytes(address, data.size(), width, m_stub.maxRead);
        const PieceResult result = ReadRequest(address, data.first(count));
        if (result != PieceResult::Read)
            return result;
        data = data.subspan(count);
        address += count;
    }
    return PieceResult::Read;
}

int GdbBackend::Read(std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width)
{
    std::size_t asked = kTransferBytes; // so that the first piece starts the clock
    const auto reader = [&](std::uint32_t at, std::span<std::uint8_t> piece) {
        if (asked >= kTransferBytes) {
            m_deadline = Deadline::ForPeer(kTransferLimit);
            asked = 0;
        }
        asked += std::max(piece.size(), kBytesPerRequest);
        return ReadPiece(at, piece, width);
    };
    m_deadline = Deadline::ForPeer(kTransferLimit);
    if (!BeginAccess())
        return kTransferFailed;
    const int result = ReadRange(address, data, m_stub.maxRead, reader);
    EndAccess();
    return m_lost ? kTransferFailed : result;
}

bool GdbBackend::WriteRequests(
    std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width)
{
    std::string reply;
    while (!data.empty()) {
        if (m_sliceBytes >= kSliceBytes)
            LetItRunForAMoment();
        if (m_lost)
            return false;
        const std::uint32_t count = NextRequestBytes(address, data.size(), width, m_stub.maxWrite);
        std::string request = MemoryRequest('M', address, count) + ':';
        AppendHex(request, data.first(count));
        if (!Ask(request, reply) || reply != "OK")
            return false;
        m_sliceBytes += std::max<std::size_t>(count, kBytesPerRequest);
        data = data.subspan(count);
        address += count;
    }
    return true;
}

int GdbBackend::Write(
    std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width)
{
    if (data.empty())
        return 0;
    m_deadline = Deadline::ForPeer(kTransferLimit * (1 + data.size() / kTransferBytes));
    if (!BeginAccess())
        return kTransferFailed;
    bool written = m_known.Contain(address, static_cast<std::uint32_t>(address + data.size() - 1));
    if (!written) {
        std::vector<std::uint8_t> there(data.size());
        written = ReadPiece(address, there, width) == PieceResult::Read;
    }
    written = written && WriteRequests(address, data, width);
    EndAccess();
    return written && !m_lost ? static_cast<int>(data.size()) : kTransferFailed;
}

// A target that runs is left to itself. One that we have halted is told to run on, whatever its
// stub still has to say to us: it takes the bytes in order, a stub that was frozen when it goes on.
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
    if (m_stub.state == GdbRunState::HaltedByUs) {
        const Deadline deadline = Deadline::After(kFarewellLimit);
        if (m_link.Send(kContinuePacket, deadline) && !frozen)
            m_link.AwaitFarewell(deadline);
    }
    m_link.Close();
}

} // namespace OpenProbe
