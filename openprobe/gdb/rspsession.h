#pragma once

#include "peerlimits.h"
#include "rspparser.h"
#include "rsptext.h"
#include "tcplink.h"

#include <array>
#include <optional>
#include <span>
#include <string>

namespace OpenProbe {

/// Requests and replies with one stub over a connected link: acknowledgements, retransmission, and
/// the packets that come unasked.
///
/// Replies do not tell which request they answer; only their order does. So an unrequested packet
/// (stops, notifications and printed text apart) is a reply too many, and the link counts as lost.
/// And every transfer ends with Fence, whose answer no other request has: a reply that came twice
/// would arrive in its place and be noticed.
///
/// An acknowledgement is sent with the next request or by Flush, never later than that: one that
/// reached an emulator after "continue" would stop it again.
class RspSession {
public:
    explicit RspSession(TcpLink &link)
        : m_link(link)
    {
    }

    /// Sends a request and waits for its reply. False when the link is lost: closed, silent, not
    /// this protocol, out of step, cancelled, or past the deadline.
    /// A stop packet that comes first is kept for TakeStop; with stopEndsWait it ends the wait,
    /// with an empty reply.
    [[nodiscard]] bool Ask(
        std::string_view payload, std::string &reply, Deadline deadline, bool stopEndsWait = false);

    /// Sends requests to a running target in one piece that stops it first and lets it run on last,
    /// and waits for their replies. As the bytes arrive together, the target runs on even if this
    /// process ends. A fence behind each request keeps their replies apart. Only for a
    /// stub that keeps what arrives while it is at work, and that takes a new request for the
    /// acknowledgement of its last packet.
    /// @param replies  as many as there are requests
    [[nodiscard]] bool AskInOneStop(
        std::span<const std::string> requests, std::span<std::string> replies, Deadline deadline);

    /// Makes sure that no reply has been taken for another request's. False as for Ask.
    [[nodiscard]] bool Fence(Deadline deadline);

    /// Waits for any packet that is no printed text, without having asked. False as for Ask.
    [[nodiscard]] bool Await(std::string &packet, Deadline deadline);

    /// Sends a request that has no reply, with the acknowledgements owed in front of it.
    [[nodiscard]] bool Tell(std::string_view payload, Deadline deadline);

    /// Sends bytes outside the protocol's packets, acknowledgements owed first.
    [[nodiscard]] bool SendRaw(std::string_view bytes, Deadline deadline);

    /// Sends the acknowledgements owed.
    [[nodiscard]] bool Flush(Deadline deadline) { return SendRaw({}, deadline); }

    /// Reads what has arrived without a request, to the end of a packet that has begun; waits for
    /// nothing else. Drops printed text and notifications, keeps stops. False when there is a reply
    /// without a request, when it is not this protocol, or when the peer is still sending at the
    /// deadline.
    [[nodiscard]] bool TakeUnasked(Deadline deadline);

    /// Takes the last unrequested stop.
    [[nodiscard]] std::optional<RspStop> TakeStop();

    /// The rest that AskInOneStop could not send; a target must still get it at the end.
    [[nodiscard]] std::string_view Unsent() const { return m_unsent; }

    void LeaveAckMode() { m_acks = false; }

    /// The handshake is over, for which a busy peer may need longer: kProgressLimit applies from
    /// now on.
    void BeginTransfers() { m_progressLimit = kProgressLimit; }

    /// A request that every stub answers by an empty packet, which is no reply to any other one.
    static constexpr std::string_view kFence = "vMustReplyEmpty";

private:
    enum class Got { Packet, Nothing, Resend, Broken };
    [[nodiscard]] Got NextPacket();
    [[nodiscard]] bool NextAnswer(Deadline deadline);
    [[nodiscard]] bool Fill(Deadline deadline);
    [[nodiscard]] Deadline Soon(Deadline deadline) const;
    void OweAck(char ack);
    void KeepStop(std::string_view payload);

    TcpLink &m_link;
    RspParser m_parser;
    std::array<char, 4096> m_buffer{};
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    std::string m_owed;
    std::string m_unsent;
    std::optional<RspStop> m_stop;
    std::chrono::milliseconds m_progressLimit = kHandshakeLimit;
    int m_badPackets = 0; // since the last good one
    bool m_acks = true;
    bool m_inOneStop = false; // nothing can be repeated then
};

} // namespace OpenProbe
