#include "rspsession.h"

#include <utility>

namespace OpenProbe {
namespace {

constexpr int kMaxBadPackets = 3;
constexpr int kMaxWaitingBlocks = 16; // a peer that never stops talking is none of ours
constexpr std::string_view kStopNotification = "Stop:";

} // namespace

void RspSession::OweAck(char ack)
{
    if (m_acks)
        m_owed += ack;
}

// An end is final, whatever the stub says after it.
void RspSession::KeepStop(std::string_view payload)
{
    const auto stop = ParseStop(payload);
    if (stop && !(m_stop && m_stop->ended))
        m_stop = stop;
}

// Takes bytes that have arrived through the parser, up to the next packet.
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
            if (++m_badPackets > kMaxBadPackets || !m_acks)
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
            return Got::Packet;
        }
    }
    return Got::Nothing;
}

bool RspSession::Fill(Deadline deadline)
{
    if (!m_owed.empty() && !Flush(deadline))
        return false;
    m_next = 0;
    m_end = m_link.Receive(m_buffer, deadline.OrEarlier(Deadline::ForPeer(m_progressLimit)));
    return m_end != 0;
}

bool RspSession::SendRaw(std::string_view bytes, Deadline deadline)
{
    const std::string all = std::exchange(m_owed, {}) + std::string(bytes);
    return m_link.Send(all, deadline.OrEarlier(Deadline::ForPeer(m_progressLimit)));
}

bool RspSession::Tell(std::string_view payload, Deadline deadline)
{
    return SendRaw(RspPacket(payload), deadline);
}

bool RspSession::Ask(
    std::string_view payload, std::string &reply, Deadline deadline, bool stopEndsWait)
{
    reply.clear();
    if (!Tell(payload, deadline))
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
            // What was asked for never looks like a stop, except the answer to "?" and vStopped.
            if (ParseStop(m_parser.Payload()) && payload != "?" && payload != "vStopped") {
                KeepStop(m_parser.Payload());
                if (stopEndsWait)
                    return true;
            } else if (!IsConsoleOutput(m_parser.Payload())) {
                reply = m_parser.Payload();
                return true;
            }
            break;
        }
    }
    return false;
}

bool RspSession::Await(std::string &packet, Deadline deadline)
{
    while (!deadline.Passed()) {
        const Got got = NextPacket();
        if (got == Got::Broken || (got == Got::Nothing && !Fill(deadline)))
            return false;
        if (got == Got::Packet && !IsConsoleOutput(m_parser.Payload())) {
            packet = m_parser.Payload();
            return true;
        }
    }
    return false;
}

bool RspSession::LookAtWaiting()
{
    for (int blocks = 0; blocks < kMaxWaitingBlocks;) {
        const Got got = NextPacket();
        if (got == Got::Broken)
            return false;
        if (got == Got::Packet)
            KeepStop(m_parser.Payload());
        if (got != Got::Nothing)
            continue;
        m_next = 0;
        m_end = m_link.TakeWaiting(m_buffer);
        if (m_end == 0)
            return true;
        ++blocks;
    }
    return false;
}

std::optional<RspStop> RspSession::TakeStop()
{
    return std::exchange(m_stop, std::nullopt);
}

} // namespace OpenProbe
