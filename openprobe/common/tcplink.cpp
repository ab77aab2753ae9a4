#include "tcplink.h"

#include "cancelsignal.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace OpenProbe {
namespace {

using AddressList = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

AddressList LookUp(const std::string &host, std::uint16_t port)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo *found = nullptr;
    if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0)
        found = nullptr;
    return {found, &freeaddrinfo};
}

int Count(const addrinfo *list)
{
    int count = 0;
    for (; list != nullptr; list = list->ai_next)
        ++count;
    return count;
}

} // namespace

TcpLink::Failure TcpLink::Connect(
    const std::string &host, std::uint16_t port, Deadline deadline, const CancelSignal &cancel)
{
    Close();
    m_cancel = &cancel;
    const AddressList list = LookUp(host, port);
    if (list == nullptr)
        return Failure::NoAddress;
    Failure failure = Failure::TimedOut;
    for (const addrinfo *entry = list.get(); entry != nullptr; entry = entry->ai_next) {
        // A silent address must leave time to try the next ones.
        const int shareMs = deadline.LeftMs() / Count(entry);
        const Deadline share = Deadline::After(std::chrono::milliseconds(shareMs));
        failure = ConnectTo(entry->ai_addr, entry->ai_addrlen, entry->ai_family, share);
        if (failure == Failure::None || failure == Failure::Cancelled)
            break;
    }
    return failure;
}

void TcpLink::Take(int descriptor, const CancelSignal &cancel) noexcept
{
    Close();
    m_cancel = &cancel;
    m_descriptor = descriptor;
}

TcpLink::Failure TcpLink::ConnectTo(
    const sockaddr *address, unsigned size, int family, Deadline deadline)
{
    const int descriptor = socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    int error = descriptor < 0 ? errno : 0;
    Wait waited = Wait::Ready;
    // An interrupted connect goes on in the background, like one that would block.
    if (error == 0 && connect(descriptor, address, size) < 0)
        error = errno;
    if (error == EINPROGRESS || error == EINTR) {
        waited = WaitFor(descriptor, POLLOUT, deadline);
        // A connection that succeeded all the same exists for the peer too, so it is not just
        // dropped: the user of the link ends it as the protocol demands.
        pollfd entry{descriptor, POLLOUT, 0};
        if (waited != Wait::Ready && poll(&entry, 1, 0) > 0)
            waited = Wait::Ready;
        socklen_t length = sizeof error;
        getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length);
    }
    if (waited == Wait::Ready && error == 0) {
        const int on = 1;
        setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        m_descriptor = descriptor;
        return Failure::None;
    }
    if (descriptor >= 0)
        close(descriptor);
    if (waited != Wait::Ready)
        return waited == Wait::Cancelled ? Failure::Cancelled : Failure::TimedOut;
    m_errorText = std::generic_category().message(error);
    return error == ECONNREFUSED ? Failure::Refused : Failure::Other;
}

TcpLink::Wait TcpLink::WaitFor(int descriptor, short events, Deadline deadline) const
{
    const int cancel = m_cancel != nullptr ? m_cancel->Descriptor() : -1; // poll() skips -1
    std::array<pollfd, 2> entries{{{descriptor, events, 0}, {cancel, POLLIN, 0}}};
    for (;;) {
        const int ready = poll(entries.data(), entries.size(), deadline.LeftMs());
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return Wait::TimedOut;
        return entries[1].revents != 0 ? Wait::Cancelled : Wait::Ready;
    }
}

std::string_view TcpLink::Send(std::string_view bytes, Deadline deadline)
{
    while (!bytes.empty()) {
        const ssize_t sent = send(m_descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent > 0)
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        else if (sent < 0 && errno == EINTR)
            continue;
        else if ((sent < 0 && errno != EAGAIN)
            || WaitFor(m_descriptor, POLLOUT, deadline) != Wait::Ready)
            break;
    }
    return bytes;
}

std::size_t TcpLink::Receive(std::span<char> buffer, Deadline deadline)
{
    for (;;) {
        if (WaitFor(m_descriptor, POLLIN, deadline) != Wait::Ready)
            return 0;
        const ssize_t got = recv(m_descriptor, buffer.data(), buffer.size(), 0);
        if (got >= 0)
            return static_cast<std::size_t>(got);
        if (errno != EINTR && errno != EAGAIN)
            return 0;
    }
}

std::size_t TcpLink::TakeWaiting(std::span<char> buffer)
{
    const ssize_t got = recv(m_descriptor, buffer.data(), buffer.size(), MSG_DONTWAIT);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

bool TcpLink::HungUp() const noexcept
{
    pollfd entry{m_descriptor, POLLRDHUP, 0};
    return poll(&entry, 1, 0) > 0;
}

void TcpLink::AwaitFarewell(Deadline deadline) noexcept
{
    shutdown(m_descriptor, SHUT_WR);
    std::array<char, 4096> rest{};
    while (!deadline.Passed()) {
        pollfd entry{m_descriptor, POLLIN, 0};
        const int ready = poll(&entry, 1, deadline.LeftMs());
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0 || recv(m_descriptor, rest.data(), rest.size(), MSG_DONTWAIT) <= 0)
            return;
    }
}

void TcpLink::Close() noexcept
{
    if (m_descriptor >= 0)
        close(m_descriptor);
    m_descriptor = -1;
}

} // namespace OpenProbe
