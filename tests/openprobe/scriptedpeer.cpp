#include "scriptedpeer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

ScriptedPeer::ScriptedPeer(std::function<void(ScriptedPeer &)> serve)
    : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    , m_stop(eventfd(0, EFD_CLOEXEC))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (bind(m_listener, generic, size) != 0 || listen(m_listener, 8) != 0
        || getsockname(m_listener, generic, &size) != 0)
        qFatal("no port of the loopback address is free");
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this, serve = std::move(serve)] { Run(serve); });
}

ScriptedPeer::~ScriptedPeer()
{
    const quint64 one = 1;
    (void)!write(m_stop, &one, sizeof one);
    m_thread.join();
    close(m_listener);
    close(m_stop);
}

static bool Await(int descriptor, int stop)
{
    pollfd entries[] = {{descriptor, POLLIN, 0}, {stop, POLLIN, 0}};
    return poll(entries, 2, -1) > 0 && entries[1].revents == 0;
}

void ScriptedPeer::Run(const std::function<void(ScriptedPeer &)> &serve)
{
    while (Await(m_listener, m_stop)) {
        m_client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        const int on = 1;
        setsockopt(m_client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        serve(*this);
        close(m_client);
    }
}

bool ScriptedPeer::Send(const QByteArray &bytes) const
{
    // In pieces, so that an endless sender notices that it is to end.
    pollfd entries[] = {{m_client, POLLOUT, 0}, {m_stop, POLLIN, 0}};
    if (poll(entries, 2, -1) <= 0 || entries[1].revents != 0)
        return false;
    return send(m_client, bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL) == bytes.size();
}

QByteArray ScriptedPeer::Receive() const
{
    char block[8192];
    if (!Await(m_client, m_stop))
        return {};
    const ssize_t got = recv(m_client, block, sizeof block, 0);
    return got > 0 ? QByteArray(block, int(got)) : QByteArray();
}

bool ScriptedPeer::MoreWaits() const
{
    pollfd entry{m_client, POLLIN, 0};
    return poll(&entry, 1, 0) > 0;
}

void ScriptedPeer::AwaitClient() const
{
    while (!Receive().isEmpty()) { }
}
