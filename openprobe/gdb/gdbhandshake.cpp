#include "gdbhandshake.h"

#include "openerrors.h"

#include <algorithm>
#include <string>

namespace OpenProbe {
namespace {

constexpr std::uint32_t kMaxRequestBytes = 2048;  // an emulator refuses more than that
constexpr std::uint32_t kDefaultPacketSize = 256; // small stubs announce none, and overflow above
constexpr std::uint32_t kWriteOverhead = 32;      // "M", address, length and their separators

std::uint32_t PacketBytes(std::uint32_t packetSize, std::uint32_t overhead)
{
    const std::uint32_t room = packetSize > overhead ? packetSize - overhead : 0;
    return std::clamp(room / 2 & ~3U, 4U, kMaxRequestBytes);
}

/// Whether the target of the last completed handshake ran when it was last seen and may be told to
/// run on. Only used by the one back end that is open; never freed, like all that outlives the back
/// end.
struct LastSeen {
    std::string where;
    bool ran = false;
};

LastSeen &LastTarget()
{
    static auto *const last = new LastSeen;
    return *last;
}

// Connecting stops an emulator that ran; it reports that with an unrequested stop before its first
// reply. One that does not cannot be told from one that was halted before.
bool NoteGreeting(RspSession &session, GdbStub &stub)
{
    const auto stop = session.TakeStop();
    if (!stop)
        return true;
    stub.ended = stop->ended;
    stub.interruptSignal = stop->signal;
    stub.state = GdbRunState::HaltedByUs;
    return !stop->ended;
}

// A machine that we have stopped by connecting is let run as soon as that is known; all other
// questions come after that. Only one emulator is known to take several requests in one piece, and
// only it answers this question. Where its list of features shows already what it is, the question
// and "continue" go out together.
bool LetMachineRunOn(RspSession &session, GdbStub &stub, bool looksLikeEmulator, Deadline deadline)
{
    const std::string request = "qqemu.sstepbits";
    const bool greeted = stub.state == GdbRunState::HaltedByUs;
    std::string reply;
    bool answered = false;
    if (greeted && looksLikeEmulator) {
        answered = session.AskInOneStop({&request, 1}, {&reply, 1}, deadline);
        stub.decided = session.Unsent().empty(); // "continue" has been sent, whatever the reply
    } else {
        answered = session.Ask(request, reply, deadline);
        stub.decided
            = answered && greeted && reply.starts_with("ENABLE=") && session.Tell("c", deadline);
    }
    stub.inOneStop = reply.starts_with("ENABLE=");
    if (stub.decided)
        stub.state = GdbRunState::Running;
    return answered && (stub.decided || !greeted || !stub.inOneStop);
}

bool NegotiateModes(RspSession &session, GdbStub &stub, Deadline deadline)
{
    std::string reply;
    if (!session.SendRaw("+", deadline) || !session.Ask("qSupported", reply, deadline))
        return false;
    const RspFeatures features = ParseFeatures(reply);
    const std::uint32_t size = features.packetSize != 0 ? features.packetSize : kDefaultPacketSize;
    stub.maxRead = PacketBytes(size, 0);
    stub.maxWrite = PacketBytes(size, kWriteOverhead);
    stub.isDebugServer = features.knowsMemoryMap;
    stub.describesTarget = features.describesTarget;
    if (!NoteGreeting(session, stub))
        return false;
    if (features.noAckMode) {
        if (!session.Ask("QStartNoAckMode", reply, deadline) || !session.Flush(deadline))
            return false;
        if (reply == "OK")
            session.LeaveAckMode();
    }
    if (features.nonStop) {
        if (!session.Ask("QNonStop:1", reply, deadline))
            return false;
        stub.nonStop = reply == "OK";
    }
    return stub.nonStop || LetMachineRunOn(session, stub, features.looksLikeEmulator, deadline);
}

// A process that the stub has attached to ran before that, so it runs on; one that the stub has
// started stays where it is.
bool EnterNonStop(RspSession &session, GdbStub &stub, Deadline deadline)
{
    std::string reply;
    if (!CollectStops(session, deadline) || !session.Ask("qC", reply, deadline))
        return false;
    if (reply.starts_with("QC") && !session.Ask("Hg" + reply.substr(2), reply, deadline))
        return false;
    if (!session.Ask("qAttached", reply, deadline))
        return false;
    if (reply.starts_with('1')) {
        if (!session.Ask("vCont;c", reply, deadline) || reply != "OK")
            return false;
        stub.state = GdbRunState::AnswersInRun;
    }
    return true;
}

bool FindRunState(RspSession &session, GdbStub &stub, Deadline deadline)
{
    constexpr int kSigInt = 2;
    std::string reply;
    stub.asked = true;
    if (!session.Ask("?", reply, deadline))
        return false;
    const auto stop = ParseStop(reply);
    stub.ended = stop && stop->ended;
    if (stub.ended || (!stop && !(stub.nonStop && reply == "OK")))
        return false;
    stub.decided = true;
    if (stub.nonStop)
        return EnterNonStop(session, stub, deadline);
    if (stub.state != GdbRunState::Halted)
        return true;
    if (stop->signal == 0) {
        stub.state = GdbRunState::AnswersInRun; // a debug server reports signal 0 for "running"
    } else if (stub.isDebugServer && stop->signal == kSigInt) {
        // A debug server that halts the core for each new client, and answers while it runs.
        if (!session.Tell("c", deadline))
            return false;
        stub.state = GdbRunState::AnswersInRun;
    }
    return true;
}

} // namespace

bool ShakeHands(RspSession &session, GdbStub &stub, Deadline deadline)
{
    return NegotiateModes(session, stub, deadline)
        && (stub.decided || FindRunState(session, stub, deadline));
}

bool CollectStops(RspSession &session, Deadline deadline)
{
    std::string reply;
    do {
        if (!session.Ask("vStopped", reply, deadline))
            return false;
        const auto stop = ParseStop(reply);
        if (stop && stop->ended)
            return false;
    } while (!reply.empty() && reply != "OK" && reply[0] != 'E');
    return true;
}

void RememberTarget(const TargetChoice &choice, const GdbStub &stub)
{
    // A server in non-stop mode must not be sent "c".
    LastTarget() = {HostAndPort(choice), stub.state != GdbRunState::Halted && !stub.nonStop};
}

// Connecting alone stops an emulator, or a process behind its server. A stub that answers is asked
// for the state of its target, so that one which ran runs on. A silent one will notice the
// connection only later; for it, the state known from before must do. A target that may have been
// halted already is never set running.
void FinishAbandonedHandshake(RspSession &session, const TargetChoice &choice, GdbStub &stub,
    Deadline deadline, bool cancelled)
{
    std::string packet;
    const bool spoke = session.Await(packet, deadline); // an answer still due, or a stop
    if (session.TakeStop() || (spoke && !stub.asked && ParseStop(packet)))
        stub.state = GdbRunState::HaltedByUs;
    else if (spoke && cancelled)
        (void)ShakeHands(session, stub, deadline);
    else if (const LastSeen &last = LastTarget();
             !spoke && last.ran && last.where == HostAndPort(choice))
        stub.state = GdbRunState::HaltedByUs;
}

} // namespace OpenProbe
