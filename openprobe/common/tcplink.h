#pragma once

#include "deadline.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

struct sockaddr;

namespace OpenProbe {

class CancelSignal;

/// One TCP connection whose every wait has a deadline and ends at once on a cancel.
///
/// Not for two threads at a time, except HungUp. The descriptor stays open until Close, also after
/// the peer is gone, so that HungUp never polls another file's.
class TcpLink {
public:
    enum class Failure { None, NoAddress, Refused, TimedOut, Cancelled, Other };

    TcpLink() = default;
    TcpLink(const TcpLink &) = delete;
    TcpLink &operator=(const TcpLink &) = delete;
    ~TcpLink() { Close(); }

    /// Connects to the first address of the host that accepts. A peer that accepted before the
    /// deadline or the cancel took effect counts as connected: it may have stopped its target. Name
    /// lookup alone ignores deadline and cancel: the system offers no way to end it.
    [[nodiscard]] Failure Connect(
        const std::string &host, std::uint16_t port, Deadline deadline, const CancelSignal &cancel);

    /// Uses a connection that is there already, and closes it in the end.
    void Take(int descriptor, const CancelSignal &cancel) noexcept;

    /// Sends the bytes.
    /// @return the rest that a deadline, a cancel or a broken connection kept from being sent; else
    ///         empty
    [[nodiscard]] std::string_view Send(std::string_view bytes, Deadline deadline);

    /// Waits for bytes and reads what has arrived. 0: deadline, cancel or the end of the
    /// connection.
    [[nodiscard]] std::size_t Receive(std::span<char> buffer, Deadline deadline);

    /// Reads what has arrived, without waiting. 0: nothing.
    [[nodiscard]] std::size_t TakeWaiting(std::span<char> buffer);

    /// Whether the peer has closed the connection or it broke. Any thread; never waits.
    [[nodiscard]] bool HungUp() const noexcept;

    /// The system's text for the last Failure::Other.
    [[nodiscard]] const std::string &ErrorText() const { return m_errorText; }

    /// From now on a cancel ends no wait: for the final messages to the peer.
    void IgnoreCancel() noexcept { m_cancel = nullptr; }

    /// Tells the peer that no more bytes follow and waits until it has closed too, so that it has
    /// certainly read what was sent before. Not ended by a cancel.
    void AwaitFarewell(Deadline deadline) noexcept;

    [[nodiscard]] bool IsOpen() const { return m_descriptor >= 0; }
    void Close() noexcept;

private:
    enum class Wait { Ready, TimedOut, Cancelled };
    [[nodiscard]] Wait WaitFor(int descriptor, short events, Deadline deadline) const;
    [[nodiscard]] Failure ConnectTo(
        const ::sockaddr *address, unsigned size, int family, Deadline deadline);

    int m_descriptor = -1;
    const CancelSignal *m_cancel = nullptr;
    std::string m_errorText;
};

} // namespace OpenProbe
