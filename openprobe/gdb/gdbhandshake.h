#pragma once

#include "rspsession.h"
#include "targetchoice.h"

#include <cstdint>

namespace OpenProbe {

/// The state of the target behind a stub, and when the stub takes requests.
enum class GdbRunState {
    Halted,       // not by us
    Running,      // has to be stopped for each transfer
    HaltedByUs,   // runs again after the transfer
    AnswersInRun, // can be asked while it runs
};

/// What is known about a stub and its target.
struct GdbStub {
    GdbRunState state = GdbRunState::Halted;
    int interruptSignal = -1; // the signal that our interrupt causes; -1: not seen yet
    bool asked = false;       // whether "?" has been sent: a stop may be the answer to it
    bool decided = false;     // whether the target's state before the connection is known
    bool ended = false;       // there is no target any more
    bool nonStop = false;
    bool inOneStop = false;     // takes an interrupt, requests and "continue" in one piece
    bool isDebugServer = false; // in front of a core with a flash, not of a program
    bool describesTarget = false;
    std::uint32_t maxRead = 128; // bytes of one request
    std::uint32_t maxWrite = 64;
};

/// The first questions to a stub that has just been connected to. False when it does not answer as
/// one or its target has ended; the stub then holds what was found out until then.
[[nodiscard]] bool ShakeHands(RspSession &session, GdbStub &stub, Deadline deadline);

/// Fetches the report of every stopped thread, which a server in non-stop mode demands before any
/// of them may be continued. False when the link is lost or the target has ended.
[[nodiscard]] bool CollectStops(RspSession &session, Deadline deadline);

/// Stores the state of the open connection's target for FinishAbandonedHandshake.
void RememberTarget(const TargetChoice &choice, const GdbStub &stub);

/// After a handshake that was cut short: finds out whether the target is to be told to run on.
/// @param cancelled  the handshake was ended by us, so the peer may still answer
void FinishAbandonedHandshake(RspSession &session, const TargetChoice &choice, GdbStub &stub,
    Deadline deadline, bool cancelled);

} // namespace OpenProbe
