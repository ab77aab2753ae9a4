#pragma once

#include "rspparser.h"
#include "rsptext.h"
#include "tcplink.h"

#include <array>
#include <chrono>
#include <optional>
#include <string>

namespace OpenProbe {

/// Requests and replies with one stub over a connected link: acknowledgements, retransmission, and
/// the packets that come unasked. Strictly one request at a time.
///
/// An acknowledgement is sent with the next request or by Flush, never later than that: one that
/// reached an emulator after "continue" would stop it again.
class RspSession {
public:
    /// Nothing arrives for that long in the middle of a transfer: the link is dead.
    static constexpr std::chrono::milliseconds kProgressLimit{500};

    explicit RspSession(TcpLink &link)
        : m_link(link)
    {
    }

    /// Sends a request and waits for its reply. False when the link is lost: closed, silent, not
    /// this protocol, cancelled, or past the deadline.
    /// A stop packet that comes first is kept for TakeStop; with stopEndsWait it ends the wait,
    /// with an empty reply.
    [[nodiscard]] bool Ask(
        std::string_view payload, std::string &reply, Deadline deadline, bool stopEndsWait = false);

    /// Waits for any packet that is no console output, without having asked. False as for Ask.
    [[nodiscard]] bool Await(std::string &packet, Deadline deadline);

    /// Sends a request that has no reply, with the acknowledgements owed in front of it.
    [[nodiscard]] bool Tell(std::string_view payload, Deadline deadline);

    /// Sends bytes outside the protocol's packets, acknowledgements owed first.
    [[nodiscard]] bool SendRaw(std::string_view bytes, Deadline deadline);

    /// Sends what is owed.
    [[nodiscard]] bool Flush(Deadline deadline) { return SendRaw({}, deadline); }

    /// Looks at what has come unasked, without waiting. False when it is not this protocol.
    [[nodiscard]] bool LookAtWaiting();

    /// The last stop that came unasked, once.
    [[nodiscard]] std::optional<RspStop> TakeStop();

    void LeaveAckMode() { m_acks = false; }

    /// After the handshake, which a busy peer may take its time for: kProgressLimit holds from now
    /// on.
    void BeginTransfers() { m_progressLimit = kProgressLimit; }

private:
    enum class Got { Packet, Nothing, Resend, Broken };
    [[nodiscard]] Got NextPacket();
    [[nodiscard]] bool Fill(Deadline deadline);
    void OweAck(char ack);
    void KeepStop(std::string_view payload);

    TcpLink &m_link;
    RspParser m_parser;
    std::array<char, 4096> m_buffer{};
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    std::string m_owed;
    std::optional<RspStop> m_stop;
    std::chrono::milliseconds m_progressLimit{1500};
    int m_badPackets = 0; // since the last good one
    bool m_acks = true;
};

} // namespace OpenProbe
