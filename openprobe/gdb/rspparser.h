#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace OpenProbe {

/// Splits the byte stream of a GDB remote protocol peer into packets. Whatever the peer sends, this
/// needs no more memory than one packet of kMaxPayload bytes.
class RspParser {
public:
    static constexpr std::size_t kMaxPayload = 0x8000; // raw, and again after expansion
    static constexpr std::size_t kMaxStray = 1024;     // bytes outside any packet

    enum class Event {
        None,         // more bytes are needed
        Packet,       // Payload() holds a packet
        Notification, // Payload() holds a notification, which is never acknowledged
        Ack,
        Nak,
        BadChecksum, // a packet that must be requested again
        Broken       // this is no such protocol; stays so
    };

    [[nodiscard]] Event Feed(char byte);

    /// Whether a packet has begun and not ended yet.
    [[nodiscard]] bool IsInside() const
    {
        return m_state != State::Outside && m_state != State::Broken;
    }

    /// Unescaped and with its runs expanded. Valid until the next Feed.
    [[nodiscard]] const std::string &Payload() const { return m_payload; }

private:
    enum class State { Outside, Inside, FirstDigit, SecondDigit, Broken };

    Event FeedOutside(char byte);
    Event FeedInside(char byte);
    Event Finish(char byte);
    Event Break();
    [[nodiscard]] bool Expand();

    State m_state = State::Outside;
    bool m_notification = false;
    char m_firstDigit = 0;
    std::size_t m_stray = 0;
    std::string m_raw;
    std::string m_payload;
};

} // namespace OpenProbe
