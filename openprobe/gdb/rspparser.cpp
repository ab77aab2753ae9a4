#include "rspparser.h"

#include "hextext.h"
#include "rsptext.h"

namespace OpenProbe {

RspParser::Event RspParser::Feed(char byte)
{
    switch (m_state) {
    case State::Outside:
        return FeedOutside(byte);
    case State::Inside:
        return FeedInside(byte);
    case State::FirstDigit:
        m_firstDigit = byte;
        m_state = State::SecondDigit;
        return Event::None;
    case State::SecondDigit:
        return Finish(byte);
    case State::Broken:
        break;
    }
    return Event::Broken;
}

RspParser::Event RspParser::FeedOutside(char byte)
{
    switch (byte) {
    case '+':
        return Event::Ack;
    case '-':
        return Event::Nak;
    case '$':
    case '%':
        m_notification = byte == '%';
        m_raw.clear();
        m_state = State::Inside;
        return Event::None;
    default:
        return ++m_stray > kMaxStray ? Break() : Event::None;
    }
}

RspParser::Event RspParser::FeedInside(char byte)
{
    if (byte == '#')
        m_state = State::FirstDigit;
    else if (byte == '$') { // the packet before was cut off; a new one begins
        m_notification = false;
        m_raw.clear();
    } else if (m_raw.size() >= kMaxPayload)
        return Break();
    else
        m_raw.push_back(byte);
    return Event::None;
}

RspParser::Event RspParser::Finish(char byte)
{
    m_state = State::Outside;
    const int high = HexDigit(m_firstDigit);
    const int low = HexDigit(byte);
    if (high < 0 || low < 0 || RspChecksum(m_raw) != high * 16 + low)
        return m_notification ? Event::None : Event::BadChecksum;
    if (!Expand())
        return Break();
    m_stray = 0;
    return m_notification ? Event::Notification : Event::Packet;
}

RspParser::Event RspParser::Break()
{
    m_state = State::Broken;
    return Event::Broken;
}

// "}" takes the next byte with bit 5 turned over; "*" repeats the byte before it, the count being
// the next byte less 29.
bool RspParser::Expand()
{
    constexpr char kEscape = '}';
    constexpr char kRun = '*';
    m_payload.clear();
    for (std::size_t i = 0; i < m_raw.size(); ++i) {
        const char byte = m_raw[i];
        if (byte != kEscape && byte != kRun) {
            m_payload.push_back(byte);
            continue;
        }
        if (++i >= m_raw.size())
            return false;
        if (byte == kEscape) {
            m_payload.push_back(static_cast<char>(m_raw[i] ^ 0x20));
            continue;
        }
        const int count = static_cast<unsigned char>(m_raw[i]) - 29;
        if (count < 3 || m_payload.empty() || m_payload.size() + 256 > kMaxPayload)
            return false;
        m_payload.append(static_cast<std::size_t>(count), m_payload.back());
    }
    return true;
}

} // namespace OpenProbe
