#include "rspsession.h"

#include <utility>

namespace OpenProbe {
namespace {

constexpr int kMaxBadPackets = 3;
constexpr std::size_t kMaxOwed = 64;
constexpr std::string_view kStopNotification = "Stop:";

} // namespace

Deadline RspSession::Soon(Deadline deadline) const
{
    return deadline.OrEarlier(Deadline::ForPeer(m_progressLimit));
}

void RspSession::OweAck(char ack)
{
    if (m_acks)
        m_owed += ack;
}

// The end of a target is final, whatever the stub sends after it.
void RspSession::KeepStop(std::string_view payload)
{
    const auto stop = ParseStop(payload);
    if (stop && !(m_stop && m_stop->ended))
        m_stop = stop;
}

// Feeds arrived bytes to the parser, up to the next packet that is no printed text.
RspSession::Got RspSession::NextPacket()
{
    while (m_next < m_end) {
        switch (m_parser.Feed(m_buffer[m_next++])) {
        case RspParser::Event::None:
        case RspParser::Event::Ack:
            break;
        case RspParser::Event::Nak:
            if (++m_badPackets > kMaxBadPackets)
                return Got::Broken;
            return Got::Resend;
        case RspParser::Event::Broken:
            return Got::Broken;
        case RspParser::Event::BadChecksum:
            if (++m_badPackets > kMaxBadPackets || !m_acks || m_inOneStop)
                return Got::Broken;
            OweAck('-');
            break;
        case RspParser::Event::Notification:
            if (m_parser.Payload().starts_with(kStopNotification))
                KeepStop(m_parser.Payload().substr(kStopNotification.size()));
            break;
        case RspParser::Event::Packet:
            m_badPackets = 0;
            OweAck('+');
            if (!IsConsoleOutput(m_parser.Payload()))
                return Got::Packet;
            break;
        }
    }
    return Got::Nothing;
}

bool RspSession::Fill(Deadline deadline)
{
    if (!m_owed.empty() && !Flush(deadline))
        return false;
    m_next = 0;
    m_end = m_link.Receive(m_buffer, Soon(deadline));
    return m_end != 0;
}

bool RspSession::SendRaw(std::string_view bytes, Deadline deadline)
{
    const std::string all = std::exchange(m_owed, {}) + std::string(bytes);
    return m_link.Send(all, Soon(deadline)).empty();
}

bool RspSession::Tell(std::string_view payload, Deadline deadline)
{
    return SendRaw(RspPacket(payload), deadline);
}

bool RspSession::Ask(
    std::string_view payload, std::string &reply, Deadline deadline, bool stopEndsWait)
{
    reply.clear();
    if (!TakeUnasked(deadline) || !Tell(payload, deadline))
        return false;
    while (!deadline.Passed()) {
        switch (NextPacket()) {
        case Got::Nothing:
            if (!Fill(deadline))
                return false;
            break;
        case Got::Resend:
            if (!Tell(payload, deadline))
                return false;
            break;
        case Got::Broken:
            return false;
        case Got::Packet:
            // No reply looks like a stop, except those to "?" and vStopped.
            if (ParseStop(m_parser.Payload()) && payload != "?" && payload != "vStopped") {
                KeepStop(m_parser.Payload());
                if (stopEndsWait)
                    return true;
            } else {
                reply = m_parser.Payload();
                return true;
            }
            break;
        }
    }
    return false;
}

bool RspSession::AskInOneStop(
    std::span<const std::string> requests, std::span<std::string> replies, Deadline deadline)
{
    std::string bytes(kInterrupt);
    for (const std::string &request : requests)
        bytes += RspPacket(request) + RspPacket(kFence);
    bytes += kContinuePacket;
    m_owed.clear(); // the interrupt must come first, and the next "$" acknowledges as well
    m_unsent = m_link.Send(bytes, Soon(deadline));
    m_inOneStop = true;
    bool inStep = m_unsent.empty();
    for (std::size_t i = 0; inStep && i < replies.size(); ++i) {
        inStep = NextAnswer(deadline);
        replies[i] = m_parser.Payload();
        inStep = inStep && NextAnswer(deadline) && m_parser.Payload().empty();
    }
    m_inOneStop = false;
    if (m_stop && !m_stop->ended)
        m_stop.reset(); // the one that the interrupt made
    return inStep && TakeUnasked(deadline);
}

// The next packet that is no stop, without acknowledging anything.
bool RspSession::NextAnswer(Deadline deadline)
{
    while (!deadline.Passed()) {
        const Got got = NextPacket();
        m_owed.clear();
        if (got == Got::Packet && !ParseStop(m_parser.Payload()))
            return true;
        if (got == Got::Packet)
            KeepStop(m_parser.Payload());
        else if (got != Got::Nothing || (m_stop && m_stop->ended) || !Fill(deadline))
            return false;
    }
    return false;
}

bool RspSession::Fence(Deadline deadline)
{
    std::string reply;
    return Ask(kFence, reply, deadline) && reply.empty() && TakeUnasked(deadline);
}

bool RspSession::Await(std::string &packet, Deadline deadline)
{
    while (!deadline.Passed()) {
        const Got got = NextPacket();
        if (got == Got::Broken || (got == Got::Nothing && !Fill(deadline)))
            return false;
        if (got == Got::Packet) {
            packet = m_parser.Payload();
            return true;
        }
    }
    return false;
}

bool RspSession::TakeUnasked(Deadline deadline)
{
    const Deadline end = Soon(deadline);
    for (;;) {
        const Got got = NextPacket();
        const bool isStop = got == Got::Packet && ParseStop(m_parser.Payload());
        if (got != Got::Nothing && !isStop)
            return false;
        if (isStop) {
            KeepStop(m_parser.Payload());
            continue;
        }
        // A peer that prints endlessly gets its acknowledgements in between.
        if (m_owed.size() > kMaxOwed && !Flush(end))
            return false;
        m_next = 0;
        m_end = m_link.TakeWaiting(m_buffer);
        if (m_end == 0 && !m_parser.IsInside())
            return true;
        if (end.Passed() || (m_end == 0 && !Fill(end)))
            return false;
    }
}

std::optional<RspStop> RspSession::TakeStop()
{
    return std::exchange(m_stop, std::nullopt);
}

} // namespace OpenProbe
