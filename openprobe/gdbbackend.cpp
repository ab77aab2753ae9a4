#include "gdbbackend.h"

#include "accessunits.h"
#include "cancelsignal.h"
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
constexpr std::size_t kSliceBytes = 0x4000;       // then a halted target runs for a moment
constexpr std::size_t kBytesPerRequest = 32;      // what a small request counts for a slice
constexpr std::uint32_t kMaxRequestBytes = 2048;  // an emulator refuses more than that
constexpr std::uint32_t kDefaultPacketSize = 256; // small stubs tell none and overrun above that
constexpr std::uint32_t kWriteOverhead = 32;      // "M", address, length and their separators
constexpr const char *kInterrupt = "\x03";
constexpr const char *kContinuePacket = "$c#63";

std::uint32_t PacketBytes(std::uint32_t packetSize, std::uint32_t overhead)
{
    const std::uint32_t room = packetSize > overhead ? packetSize - overhead : 0;
    return std::clamp(room / 2 & ~3U, 4U, kMaxRequestBytes);
}

std::string MemoryRequest(char kind, std::uint32_t address, std::size_t count)
{
    return kind + HexNumber(address) + ',' + HexNumber(count);
}

/// Whether the target of the last handshake that came to an end ran when it was last seen and may
/// be told to run on. Only ever used by the one back end that is open; leaked, as all that outlives
/// it.
struct LastSeen {
    std::string where;
    bool ran = false;
};

LastSeen &LastTarget()
{
    static auto *const last = new LastSeen;
    return *last;
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
    const auto failure = m_link.Connect(
        m_selection.host, m_selection.port, Deadline::ForPeer(kConnectLimit), cancel);
    if (failure != TcpLink::Failure::None)
        return ConnectError(m_selection, failure, m_link,
            "Start the target, e.g. qemu-system-arm ... -gdb tcp::"
                + std::to_string(m_selection.port) + ".");
    m_deadline = Deadline::ForPeer(kHandshakeLimit);
    if (!NegotiateModes() || !FindRunState()) {
        const std::string where = HostAndPort(m_selection);
        if (m_ended)
            return "The target at " + where + " has ended. Start it again.";
        return where
            + " accepted the connection but does not answer as a debug stub"
              " (another debugger may hold it).";
    }
    m_session.BeginTransfers();
    return {};
}

bool GdbBackend::NegotiateModes()
{
    std::string reply;
    if (!m_session.SendRaw("+", m_deadline) || !m_session.Ask("qSupported", reply, m_deadline))
        return false;
    const RspFeatures features = ParseFeatures(reply);
    m_maxRead = PacketBytes(features.packetSize, 0);
    if (features.packetSize == 0)
        m_maxRead = PacketBytes(kDefaultPacketSize, 0);
    m_maxWrite = PacketBytes(
        features.packetSize != 0 ? features.packetSize : kDefaultPacketSize, kWriteOverhead);
    m_isDebugServer = features.knowsMemoryMap;
    if (features.noAckMode) {
        if (!m_session.Ask("QStartNoAckMode", reply, m_deadline) || !m_session.Flush(m_deadline))
            return false;
        if (reply == "OK")
            m_session.LeaveAckMode();
    }
    if (features.nonStop) {
        if (!m_session.Ask("QNonStop:1", reply, m_deadline))
            return false;
        m_nonStop = reply == "OK";
    }
    return true;
}

// Connecting stops an emulator that ran; it says so with a stop that nobody asked for, before its
// first reply.
bool GdbBackend::FindRunState()
{
    constexpr int kSigInt = 2;
    if (const auto stop = m_session.TakeStop()) {
        m_interruptSignal = stop->signal;
        m_state = RunState::HaltedByUs;
    }
    std::string reply;
    if (!m_session.Ask("?", reply, m_deadline))
        return false;
    const auto stop = ParseStop(reply);
    m_ended = stop && stop->ended;
    if (m_ended || (!stop && !(m_nonStop && reply == "OK")))
        return false;
    m_decided = true;
    if (m_nonStop && !EnterNonStop())
        return false;
    if (!m_nonStop && m_state == RunState::Halted && stop->signal == 0) {
        m_state = RunState::AnswersInRun; // "stopped by no signal" is how a debug server says: runs
    } else if (!m_nonStop && m_state == RunState::Halted && m_isDebugServer
        && stop->signal == kSigInt) {
        // A debug server that halts the core for each new client, and answers while it runs.
        if (!m_session.Tell("c", m_deadline))
            return false;
        m_state = RunState::AnswersInRun;
    }
    NoteState();
    FindCoreId();
    EndAccess();
    return !m_lost;
}

void GdbBackend::NoteState() const
{
    // "c" means nothing good to a server in non-stop mode.
    LastTarget() = {HostAndPort(m_selection), m_state != RunState::Halted && !m_nonStop};
}

// Every thread that is stopped is told of before it may be continued.
bool GdbBackend::CollectStops()
{
    std::string reply;
    do {
        if (!m_session.Ask("vStopped", reply, m_deadline))
            return Lose();
        const auto stop = ParseStop(reply);
        if (stop && stop->ended)
            return Lose();
    } while (!reply.empty() && reply != "OK" && reply[0] != 'E');
    return true;
}

// A process that the stub has attached to ran before that, so it runs on; one that the stub has
// started stays where it is.
bool GdbBackend::EnterNonStop()
{
    std::string reply;
    if (!CollectStops() || !m_session.Ask("qC", reply, m_deadline))
        return false;
    if (reply.starts_with("QC") && !m_session.Ask("Hg" + reply.substr(2), reply, m_deadline))
        return false;
    if (!m_session.Ask("qAttached", reply, m_deadline))
        return false;
    if (reply.starts_with('1')) {
        if (!m_session.Ask("vCont;c", reply, m_deadline) || reply != "OK")
            return false;
        m_state = RunState::AnswersInRun;
    }
    return true;
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
    else if (m_state == RunState::Running)
        m_state = RunState::Halted;
    else if (m_nonStop && !CollectStops())
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
    const bool ready = m_state != RunState::Running || HaltTarget();
    NoteState();
    return ready;
}

bool GdbBackend::HaltTarget()
{
    if (!m_session.SendRaw(kInterrupt, m_deadline))
        return Lose();
    m_state = RunState::HaltedByUs; // from now on it may have stopped
    std::string packet;
    std::optional<RspStop> stop;
    while (!stop) {
        if (!m_session.Await(packet, m_deadline))
            return Lose();
        stop = ParseStop(packet);
    }
    if (stop->ended)
        return Lose();
    if (m_interruptSignal < 0)
        m_interruptSignal = stop->signal;
    if (stop->signal != m_interruptSignal)
        m_state = RunState::Halted; // a breakpoint was faster
    return true;
}

void GdbBackend::EndAccess()
{
    if (m_state != RunState::HaltedByUs || m_lost)
        return;
    if (m_session.Tell("c", Deadline::ForPeer(RspSession::kProgressLimit)))
        m_state = RunState::Running;
    else
        Lose();
}

// A long transfer is no reason to keep the target from its work all the time.
void GdbBackend::LetItRunForAMoment()
{
    if (m_state != RunState::HaltedByUs)
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
    if (!m_session.Ask(request, reply, m_deadline, m_state == RunState::Halted))
        return Lose();
    if (m_state != RunState::Halted || !reply.empty())
        return true;
    const auto stop = m_session.TakeStop();
    if (!stop)
        return true; // an empty reply: not supported
    if (stop->ended)
        return Lose();
    m_state = RunState::HaltedByUs;
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
        const std::uint32_t count = NextRequestBytes(address, data.size(), width, m_maxRead);
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
    const int result = ReadRange(address, data, m_maxRead, reader);
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
        const std::uint32_t count = NextRequestBytes(address, data.size(), width, m_maxWrite);
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

// Connecting alone stops an emulator, or a process behind its server. A stub that answers is asked
// how its target stood, so that one which ran runs on; for a silent one, which will see the
// connection only later, what is known from before has to do. A target that may have been halted
// already is never set running.
void GdbBackend::SettleAbandonedHandshake()
{
    std::string packet;
    m_deadline = Deadline::After(kFarewellLimit);
    const bool spoke = m_session.Await(packet, m_deadline); // the answer on its way, or a stop
    if (m_session.TakeStop() || (spoke && ParseStop(packet)))
        m_state = RunState::HaltedByUs;
    else if (spoke && m_cancel->IsRaised())
        (void)(NegotiateModes() && FindRunState());
    else if (const LastSeen &last = LastTarget();
             !spoke && last.ran && last.where == HostAndPort(m_selection))
        m_state = RunState::HaltedByUs;
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
        if (!m_decided)
            SettleAbandonedHandshake();
    } catch (...) {
        m_lost = true; // no memory left for a packet: nothing more can be found out
    }
    if (m_state == RunState::HaltedByUs) {
        const Deadline deadline = Deadline::After(kFarewellLimit);
        if (m_link.Send(kContinuePacket, deadline) && !frozen)
            m_link.AwaitFarewell(deadline);
    }
    m_link.Close();
}

} // namespace OpenProbe
